#include "MouseDispatch.h"

#include "KeyEvents.h"
#include "NSViewNative.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/Native/Handles.h>

#include <string_view>
#include <utility>

namespace LumoKit::detail {

MouseDispatch::MouseDispatch(NSWindow& of)
    : window(of)
    , drag(ObjectPtr<GtkGesture>::adopt(gtk_gesture_drag_new(GTK_WIDGET(of.nativeWindow().window.get()))))
    , press(ObjectPtr<GtkGesture>::adopt(
          gtk_gesture_multi_press_new(GTK_WIDGET(of.nativeWindow().window.get()))))
{
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(drag.get()), GDK_BUTTON_PRIMARY);
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(press.get()), 0);
    gtk_gesture_group(press.get(), drag.get()); // else the one that takes a press would end the other
    for (GtkGesture* gesture : {drag.get(), press.get()})
        gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(gesture), GTK_PHASE_CAPTURE);
    using Step = void(GtkGesture*, GdkEventSequence*);
    connections.push_back(SignalConnection::connect<Step>(
        drag.get(), "begin", [this](auto*, auto* sequence) { began(sequence); }));
    connections.push_back(SignalConnection::connect<Step>(
        drag.get(), "update", [this](auto*, auto* sequence) { moved(sequence); }));
    connections.push_back(SignalConnection::connect<Step>(
        drag.get(), "end", [this](auto*, auto* sequence) { ended(sequence); }));
    connections.push_back(SignalConnection::connect<Step>(drag.get(), "cancel", [this](auto*, auto*) {
        taker.reset();
        movesWindow = false;
    }));
    connections.push_back(SignalConnection::connect<void(GtkGesture*, int, double, double)>(
        press.get(), "pressed", [this](auto*, int times, double x, double y) { pressed(times, x, y); }));
}

MouseDispatch::Place MouseDispatch::placeOf(double x, double y) const
{
    const NSWindow::Native& native = window.nativeWindow();
    Place place;
    const auto look = [&](const std::shared_ptr<NSView>& view) {
        NSView::Native& in = view->nativeView();
        int left = 0;
        int top = 0;
        if (!gtk_widget_translate_coordinates(
                GTK_WIDGET(native.window.get()), in.outer(), int(x), int(y), &left, &top))
            return false;
        const CGPoint at{double(left), in.frame.height() - 1 - top};
        if (at.x < 0 || at.y < 0 || at.x >= in.frame.width() || at.y >= in.frame.height())
            return false;
        place.isInside = true;
        if (NSView* taker = in.takerOfMouse(*view, at)) {
            place.view = std::static_pointer_cast<NSView>(taker->shared_from_this());
            place.isControl = !taker->takesMouse();
        }
        return true;
    };
    place.isInTitleBar = native.titleBar && look(native.titleBar);
    if (!place.view)
        look(native.contentView);
    return place;
}

bool MouseDispatch::isOnEdge(GtkGesture* gesture) const
{
    const auto& edges = window.nativeWindow().edges;
    const GdkEvent* event =
        gtk_gesture_get_last_event(gesture, gtk_gesture_get_last_updated_sequence(gesture));
    return edges && event && edges->has(gdk_event_get_window(event));
}

NSEvent MouseDispatch::eventOf(NSEvent::EventType type, GdkEventSequence* sequence)
{
    NSEvent event;
    event.type = type;
    event.windowNumber = window.windowNumber();
    const GdkEvent* native = gtk_gesture_get_last_event(drag.get(), sequence);
    double x = 0;
    double y = 0;
    if (gtk_gesture_get_point(drag.get(), sequence, &x, &y))
        event.locationInWindow = {x, window.frame().size.height - y};
    double screenX = lastX;
    double screenY = lastY;
    if (native) {
        gdk_event_get_root_coords(native, &screenX, &screenY);
        event.timestamp = gdk_event_get_time(native) / 1000.0;
        event.native = std::make_shared<NSEvent::Native>(GdkEventPtr(gdk_event_copy(native)));
    }
    if (type != NSEvent::EventType::leftMouseDown) {
        event.deltaX = screenX - lastX;
        event.deltaY = screenY - lastY;
    }
    lastX = screenX;
    lastY = screenY;
    return event;
}

void MouseDispatch::began(GdkEventSequence* sequence)
{
    taker.reset();
    movesWindow = false;
    double x = 0;
    double y = 0;
    const bool known = gtk_gesture_get_point(drag.get(), sequence, &x, &y);
    const Place place = known && !isOnEdge(drag.get()) ? placeOf(x, y) : Place{};
    if (place.isControl || (!place.view && !(place.isInside && window.isMovableByWindowBackground()))) {
        gtk_gesture_set_state(drag.get(), GTK_EVENT_SEQUENCE_DENIED);
        return;
    }
    const auto alive = window.shared_from_this();
    gtk_gesture_set_state(drag.get(), GTK_EVENT_SEQUENCE_CLAIMED);
    taker = place.view;
    movesWindow = !place.view;
    const NSEvent event = eventOf(NSEvent::EventType::leftMouseDown, sequence);
    if (place.view)
        place.view->mouseDown(event);
}

void MouseDispatch::moved(GdkEventSequence* sequence)
{
    const auto view = taker.lock();
    if (!view && !movesWindow)
        return;
    const auto alive = window.shared_from_this();
    const NSEvent event = eventOf(NSEvent::EventType::leftMouseDragged, sequence);
    if (view)
        view->mouseDragged(event);
    else
        dragBackground(event);
}

void MouseDispatch::ended(GdkEventSequence* sequence)
{
    movesWindow = false;
    const auto view = taker.lock();
    taker.reset();
    if (!view)
        return;
    const auto alive = window.shared_from_this();
    view->mouseUp(eventOf(NSEvent::EventType::leftMouseUp, sequence));
}

void MouseDispatch::dragBackground(const NSEvent& event) const
{
    if (!window.movesItself())
        return window.performDrag(event);
    const CGPoint origin = window.frame().origin;
    window.setFrameOrigin({origin.x + event.deltaX, origin.y - event.deltaY});
}

void MouseDispatch::handOver(const NSEvent& with) const
{
    GtkWindow* widget = window.nativeWindow().window.get();
    GdkSeat* seat = gdk_display_get_default_seat(gtk_widget_get_display(GTK_WIDGET(widget)));
    if (!with.native || !seat || window.isFullScreen() || !gtk_widget_get_realized(GTK_WIDGET(widget)))
        return;
    const GdkEvent* event = with.native->event.get();
    double x = 0;
    double y = 0;
    if (!gdk_event_get_root_coords(event, &x, &y))
        return; // of a key
    gtk_window_begin_move_drag(widget, GDK_BUTTON_PRIMARY, int(x), int(y), gdk_event_get_time(event));
    // From here on the desktop has the mouse, and nobody here is told of the button's release.
    gtk_event_controller_reset(GTK_EVENT_CONTROLLER(drag.get()));
}

void MouseDispatch::pressed(int times, double x, double y)
{
    const guint button = gtk_gesture_single_get_current_button(GTK_GESTURE_SINGLE(press.get()));
    const bool isDouble = button == GDK_BUTTON_PRIMARY && times == 2;
    const bool isOther = times == 1 && (button == GDK_BUTTON_MIDDLE || button == GDK_BUTTON_SECONDARY);
    if ((!isDouble && !isOther) || isOnEdge(press.get()))
        return;
    const Place place = placeOf(x, y);
    if (!place.isInTitleBar || place.isControl)
        return;
    const auto alive = window.shared_from_this();
    GtkWindow* widget = window.nativeWindow().window.get();
    const char* setting = isDouble    ? "gtk-titlebar-double-click"
        : button == GDK_BUTTON_MIDDLE ? "gtk-titlebar-middle-click"
                                      : "gtk-titlebar-right-click";
    char* text = nullptr;
    g_object_get(gtk_widget_get_settings(GTK_WIDGET(widget)), setting, &text, nullptr);
    const GText action(text);
    const std::string_view wanted = text ? text : "";
    const GdkEvent* event =
        gtk_gesture_get_last_event(press.get(), gtk_gesture_get_last_updated_sequence(press.get()));
    if (wanted == "toggle-maximize" && window.styleMask().resizable)
        window.zoom();
    else if (wanted == "minimize" && window.styleMask().miniaturizable)
        window.miniaturize();
    else if (wanted == "lower")
        gdk_window_lower(gtk_widget_get_window(GTK_WIDGET(widget)));
    else if (wanted == "menu" && event)
        gdk_window_show_window_menu(gtk_widget_get_window(GTK_WIDGET(widget)), const_cast<GdkEvent*>(event));
}

} // namespace LumoKit::detail
