#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>

#include <memory>

namespace LumoKit {

class NSCoder;
class NSWindow;

/// A view that shows nothing, and moves a window with the mouse that is pressed on it. Nothing behind it gets that press.
///
/// Where windows do not move themselves, the desktop moves this one.
/// Thread: the main thread.
class WindowDraggingView : public NSView {
public:
    explicit WindowDraggingView(const CGRect& frame = {});
    explicit WindowDraggingView(const NSCoder& coder);

    [[nodiscard]] bool takesMouse() const override { return true; }
    void mouseDragged(const NSEvent& with) override;

    /// Null for none.
    std::shared_ptr<NSWindow> windowToDrag;
    /// Not used yet.
    bool mouseDraggedSinceMouseDown = false;
};

} // namespace LumoKit
