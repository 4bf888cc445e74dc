#include "KeyboardFocus.h"

#include <LumoKit/Platform/Native/Handles.h>

#include <memory>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

namespace LumoKit::detail {

bool hasWindowManager([[maybe_unused]] GdkDisplay* display)
{
#ifdef GDK_WINDOWING_X11
    if (GDK_IS_X11_DISPLAY(display)) {
        const GdkAtom full = gdk_atom_intern_static_string("_NET_WM_STATE_FULLSCREEN");
        return gdk_x11_screen_supports_net_wm_hint(gdk_display_get_default_screen(display), full);
    }
#endif
    return true;
}

SignalConnection takeKeyboardWhenMapped(GtkWindow* window)
{
    return SignalConnection::connect<gboolean(GtkWidget*, GdkEvent*)>(
        window, "map-event", [](GtkWidget* mapped, auto*) {
            giveKeyboard(GTK_WINDOW(mapped));
            return FALSE;
        });
}

void giveKeyboard(GtkWindow* window)
{
    auto* widget = GTK_WIDGET(window);
    if (!hasWindowManager(gtk_widget_get_display(widget)) && gtk_widget_get_mapped(widget))
        gdk_window_focus(gtk_widget_get_window(widget), GDK_CURRENT_TIME);
}

GtkWindow* activeWindow()
{
    const std::unique_ptr<GList, FreedBy<g_list_free>> windows(gtk_window_list_toplevels());
    for (const GList* each = windows.get(); each; each = each->next) {
        auto* window = static_cast<GtkWindow*>(each->data);
        if (gtk_window_is_active(window) && gtk_widget_get_visible(GTK_WIDGET(window)))
            return window;
    }
    return nullptr;
}

} // namespace LumoKit::detail
