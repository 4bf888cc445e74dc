#include "ModalSession.h"

#include "PressGate.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <memory>
#include <vector>

namespace LumoKit::detail {

namespace {

/// The innermost at the end.
std::vector<ModalSession*>& sessions()
{
    static std::vector<ModalSession*> all;
    return all;
}

PressGate& gate()
{
    static PressGate presses;
    return presses;
}

} // namespace

ModalSession::ModalSession(GtkWindow* shown)
    : window(ObjectPtr<GtkWindow>::retain(shown))
    , hidden(SignalConnection::connect<void(GtkWidget*)>(
          shown, "hide", [this](auto*) { stop(NSModalResponseAbort); }))
{
    assertMainThread();
    if (sessions().empty())
        gdk_event_handler_set(
            +[](GdkEvent* event, gpointer) {
                if (letsThrough(event))
                    gtk_main_do_event(event);
            },
            nullptr, nullptr);
    sessions().push_back(this);
}

ModalSession::~ModalSession()
{
    std::erase(sessions(), this);
    if (sessions().empty())
        gdk_event_handler_set(+[](GdkEvent* event, gpointer) { gtk_main_do_event(event); }, nullptr, nullptr);
}

NSModalResponse ModalSession::run()
{
    const std::unique_ptr<GMainLoop, FreedBy<g_main_loop_unref>> nested(g_main_loop_new(nullptr, FALSE));
    loop = nested.get();
    if (!ended)
        g_main_loop_run(loop);
    loop = nullptr;
    return ended.value_or(NSModalResponseAbort);
}

void ModalSession::stop(NSModalResponse response)
{
    if (!ended)
        ended = response;
    if (loop)
        g_main_loop_quit(loop);
}

ModalSession* ModalSession::current()
{
    return sessions().empty() ? nullptr : sessions().back();
}

void ModalSession::abortAll()
{
    for (ModalSession* session : sessions())
        session->stop(NSModalResponseAbort);
}

bool ModalSession::allows(GtkWidget* target) const
{
    GtkWidget* top = target ? gtk_widget_get_toplevel(target) : nullptr;
    if (!top || !GTK_IS_WINDOW(top) || gtk_window_get_window_type(GTK_WINDOW(top)) == GTK_WINDOW_POPUP)
        return true; // menus and the like belong to the window that opened them
    for (GtkWindow* above = GTK_WINDOW(top); above; above = gtk_window_get_transient_for(above))
        if (above == window.get())
            return true;
    return false;
}

bool ModalSession::letsThrough(GdkEvent* event)
{
    const ModalSession* session = current();
    const bool allowed = !session || session->allows(gtk_get_event_widget(event));
    using Device = PressGate::Device;
    switch (event->type) {
    case GDK_BUTTON_PRESS:
        if (!allowed) // the window that waits for an answer may lie below the one that was clicked
            gtk_window_present_with_time(session->window.get(), event->button.time);
        return gate().press(Device::button, GUINT_TO_POINTER(event->button.button), allowed);
    case GDK_BUTTON_RELEASE:
        return gate().release(Device::button, GUINT_TO_POINTER(event->button.button));
    case GDK_KEY_PRESS:
        return gate().press(Device::key, GUINT_TO_POINTER(event->key.hardware_keycode), allowed);
    case GDK_KEY_RELEASE:
        return gate().release(Device::key, GUINT_TO_POINTER(event->key.hardware_keycode));
    case GDK_TOUCH_BEGIN:
        return gate().press(Device::touch, event->touch.sequence, allowed);
    case GDK_TOUCH_END:
    case GDK_TOUCH_CANCEL:
        return gate().release(Device::touch, event->touch.sequence);
    case GDK_2BUTTON_PRESS:
    case GDK_3BUTTON_PRESS:
    case GDK_MOTION_NOTIFY:
    case GDK_TOUCH_UPDATE:
    case GDK_SCROLL:
    case GDK_TOUCHPAD_SWIPE:
    case GDK_TOUCHPAD_PINCH:
    case GDK_DELETE:
        return allowed;
    default:
        return true; // what windows must know: exposure, focus, sizes, the pointer's leaving
    }
}

} // namespace LumoKit::detail
