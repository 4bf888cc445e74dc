#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

class CALayer;
class NSCoder;
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
    /// A view as an interface file describes it: "frame", "autoresizing" (a list of the names of parts), "identifier",
    /// "hidden".
    explicit NSView(const NSCoder& coder);
    ~NSView() override;

    [[nodiscard]] const CGRect& frame() const;
    virtual void setFrame(const CGRect& frame);
    /// The frame's size, from the origin.
    [[nodiscard]] CGRect bounds() const;

    [[nodiscard]] const NSAutoresizing& autoresizing() const;
    void setAutoresizing(const NSAutoresizing& parts);

    /// Puts `view` on top of the other subviews, taking it out of the superview that it was in.
    /// Errors: stops the process if `view` is this view or holds it.
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

    /// By which name whoever looks for the view finds it; empty at first.
    [[nodiscard]] const std::string& identifier() const;
    void setIdentifier(std::string identifier);
    /// This view, or the first one in it with that identifier, from the bottom to the top; null if there is none.
    [[nodiscard]] std::shared_ptr<NSView> view(std::string_view withIdentifier);

    /// Whether the view has a layer, which paints a background behind what the view shows; false at first.
    [[nodiscard]] bool wantsLayer() const { return layer() != nullptr; }
    /// Gives the view a layer without a background, or takes it away.
    void setWantsLayer(bool wants);
    /// Null for a view that wants none.
    [[nodiscard]] const std::shared_ptr<CALayer>& layer() const;

    /// Has a part of the view drawn again. The rectangle is in the view's own coordinates.
    void setNeedsDisplay(const CGRect& in);

    /// Offers a key that goes down to this view and those in it, before anything else in the window gets it; true if
    /// one of them took it. By itself a view only asks its subviews, from the bottom to the top, and not those that
    /// are hidden.
    virtual bool performKeyEquivalent(const NSEvent& with);

    /// Whether a press of the mouse on this view is the view's and not that of what is behind it. What follows the press
    /// then comes to the three operations below. Controls and pages take the mouse by themselves; other views do not,
    /// unless their class says so.
    [[nodiscard]] virtual bool takesMouse() const { return false; }
    virtual void mouseDown(const NSEvent& with);
    /// The mouse has moved since, on this view or off it.
    virtual void mouseDragged(const NSEvent& with);
    virtual void mouseUp(const NSEvent& with);

    struct Native;
    /// The platform's side of the view, for the platform layer itself.
    [[nodiscard]] Native& nativeView() const { return *native; }

protected:
    explicit NSView(std::unique_ptr<Native> native);
    /// Reads what an interface file says of every view, for classes with a native object of their own.
    void decode(const NSCoder& coder);

private:
    friend class NSWindow;
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
