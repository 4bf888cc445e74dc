#include <LumoKit/Platform/ApplicationKit/NSEvent.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Utility/WindowDraggingView.h>

namespace LumoKit {

WindowDraggingView::WindowDraggingView(const CGRect& frame)
    : NSView(frame)
{
}

WindowDraggingView::WindowDraggingView(const NSCoder& coder)
    : NSView(coder)
{
}

void WindowDraggingView::mouseDragged(const NSEvent& with)
{
    const auto window = windowToDrag;
    if (!window)
        return;
    if (!window->movesItself())
        return window->performDrag(with);
    const CGPoint origin = window->frame().origin;
    window->setFrameOrigin({origin.x + with.deltaX, origin.y - with.deltaY}); // deltas grow downwards
}

} // namespace LumoKit
