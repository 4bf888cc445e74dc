#include <LumoKit/View/ImageButton.h>

namespace LumoKit {

ImageButton::ImageButton(const CGRect& frame)
    : NSButton("", frame)
{
    setBordered(false);
    setImagePosition(NSCellImagePosition::imageOnly);
}

ImageButton::ImageButton(const NSCoder& coder)
    : NSButton(coder)
{
    setBordered(false);
    setImagePosition(NSCellImagePosition::imageOnly);
}

} // namespace LumoKit
