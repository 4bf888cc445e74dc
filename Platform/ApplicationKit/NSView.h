#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <vector>

namespace LumoKit {

class NSWindow;
struct NSEvent;

/// Which parts of a view's frame follow when its superview is resized; the rest stays as it is. Several parts
/// share the change evenly.
struct NSAutoresizing {
    bool minXMargin = false;
    bool width = false;
    bool maxXMargin = false;
    bool minYMargin = false;
    bool height = false;
    bool maxYMargin = false;

    /// A view that always fills its superview.
    [[nodiscard]] static constexpr NSAutoresizing sizable() { return {.width = true, .height = true}; }

    bool operator==(const NSAutoresizing&) const = default;
};

/// Where a frame goes when its superview changes from one size to another.
[[nodiscard]] CGRect autoresized(
    const CGRect& frame, const CGSize& oldSize, const CGSize& newSize, const NSAutoresizing& parts);

/// A rectangle in a window that holds other views.
///
/// Ownership: a superview keeps its subviews.
/// Thread: the main thread.
class NSView : public NSObject {
public:
    /// A view that shows nothing but its subviews. `frame` is in the coordinates of the superview to be.
    explicit NSView(const CGRect& frame = {});
    ~NSView() override;

    [[nodiscard]] const CGRect& frame() const;
    void setFrame(const CGRect& frame);
    /// The frame's size, from the origin.
    [[nodiscard]] CGRect bounds() const;

    [[nodiscard]] const NSAutoresizing& autoresizing() const;
    void setAutoresizing(const NSAutoresizing& parts);

    /// Puts `view` on top of the other subviews, taking it out of the superview that it was in.
    /// Errors: stops the process if `view` is this view or holds it, or if this view cannot hold others.
    void addSubview(std::shared_ptr<NSView> view);
    /// Takes this view out of its superview or window, if it is in one.
    void removeFromSuperview();
    /// From the bottom to the top.
    [[nodiscard]] const std::vector<std::shared_ptr<NSView>>& subviews() const;
    /// Null for a view that is in none, or that is a window's content view.
    [[nodiscard]] std::shared_ptr<NSView> superview() const;
    /// Null for a view that is in none.
    [[nodiscard]] std::shared_ptr<NSWindow> window() const;

    [[nodiscard]] bool isHidden() const;
    void setHidden(bool hidden);

    /// Offers a key that goes down to this view and those in it, before anything else in the window gets it; true if
    /// one of them took it. By itself a view only asks its subviews, from the bottom to the top, and not those that
    /// are hidden.
    virtual bool performKeyEquivalent(const NSEvent& with);

    struct Native;
    /// The platform's side of the view, for the platform layer itself.
    [[nodiscard]] Native& nativeView() const { return *native; }

protected:
    explicit NSView(std::unique_ptr<Native> native);

private:
    friend class NSWindow;
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
