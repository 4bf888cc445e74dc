#pragma once

#include <LumoKit/Platform/ApplicationKit/NSEvent.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <memory>
#include <vector>

namespace LumoKit {

class NSView;
class NSWindow;

namespace detail {

/// The way of a press of the mouse, or of a finger, through a window: to the topmost view at that place that takes the
/// mouse, be it the view of a control, a page, or one that says so; else it moves the window, where its background does
/// that. What belongs to the toolkit goes on to it untouched.
///
/// A press on the title bar that is nobody's does what the desktop's settings want of title bars: a double one, and one
/// of the other buttons.
///
/// Lifetime: as long as the window.
class MouseDispatch {
public:
    explicit MouseDispatch(NSWindow& window);

    /// Has the desktop move the window as long as the button is down.
    void handOver(const NSEvent& with) const;

private:
    struct Place {
        std::shared_ptr<NSView> view; // null for none
        bool isControl = false; // of the toolkit
        bool isInTitleBar = false;
        bool isInside = false; // in the content or the title bar
    };
    [[nodiscard]] Place placeOf(double x, double y) const;
    [[nodiscard]] bool isOnEdge(GtkGesture* gesture) const;
    [[nodiscard]] NSEvent eventOf(NSEvent::EventType type, GdkEventSequence* sequence);

    void began(GdkEventSequence* sequence);
    void moved(GdkEventSequence* sequence);
    void ended(GdkEventSequence* sequence);
    void pressed(int times, double x, double y);
    void dragBackground(const NSEvent& event) const;

    NSWindow& window;
    ObjectPtr<GtkGesture> drag; // of the first button
    ObjectPtr<GtkGesture> press; // of any
    std::weak_ptr<NSView> taker; // of the press that is going on
    bool movesWindow = false; // that press does, by itself
    double lastX = 0; // of that press, on the screen
    double lastY = 0;
    std::vector<SignalConnection> connections;
};

} // namespace detail
} // namespace LumoKit
