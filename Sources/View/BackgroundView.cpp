#include <LumoKit/Platform/ApplicationKit/CALayer.h>
#include <LumoKit/View/BackgroundView.h>

#include <utility>

namespace LumoKit {

BackgroundView::BackgroundView(const CGRect& frame)
    : NSView(frame)
{
    setWantsLayer(true);
}

BackgroundView::BackgroundView(const NSCoder& coder)
    : NSView(coder)
{
    setWantsLayer(true);
}

void BackgroundView::setBackgroundImage(std::shared_ptr<const NSImage> backgroundImage)
{
    image = std::move(backgroundImage);
    if (!layer())
        return;
    constexpr NSColor black{0, 0, 0, 1};
    layer()->setBackgroundColor(image ? CGColor(image) : CGColor(black));
}

void BackgroundView::setFrame(const CGRect& frame)
{
    NSView::setFrame(frame);
    setNeedsDisplay(bounds());
}

} // namespace LumoKit
