#include "WindowStates.h"

#include "KeyboardFocus.h"
#include "NSWindowNative.h"

#include <LumoKit/Platform/Foundation/NotificationCenter.h>

#include <utility>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

namespace LumoKit::detail {

WindowStates::WindowStates(NSWindow& of)
    : window(of)
    , connection(SignalConnection::connect<gboolean(GtkWidget*, GdkEventWindowState*)>(
          of.nativeWindow().window.get(), "window-state-event", [this](auto*, GdkEventWindowState* event) {
              changed(event->new_window_state);
              return FALSE;
          }))
{
}

bool WindowStates::isManaged() const
{
    return hasWindowManager(gtk_widget_get_display(GTK_WIDGET(window.nativeWindow().window.get())));
}

bool WindowStates::canBePlaced() const
{
#ifdef GDK_WINDOWING_X11
    GdkDisplay* display = gtk_widget_get_display(GTK_WIDGET(window.nativeWindow().window.get()));
    return GDK_IS_X11_DISPLAY(display) && !fullScreen && !(zoomed && isManaged());
#else
    return false;
#endif
}

void WindowStates::setFullScreen(bool full)
{
    GtkWindow* widget = window.nativeWindow().window.get();
    if (isManaged())
        return full ? gtk_window_fullscreen(widget) : gtk_window_unfullscreen(widget);
    if (full == fullScreen)
        return;
    fill(full);
    changedFullScreen(full);
}

void WindowStates::setZoomed(bool zoom)
{
    GtkWindow* widget = window.nativeWindow().window.get();
    if (isManaged())
        return zoom ? gtk_window_maximize(widget) : gtk_window_unmaximize(widget);
    if (zoom == zoomed)
        return;
    fill(zoom);
    zoomed = zoom;
    window.nativeWindow().showStyle(window);
}

void WindowStates::fill(bool screen)
{
    NSWindow::Native& native = window.nativeWindow();
    if (screen && !before)
        before = window.frame();
    const bool stays = zoomed && fullScreen; // as large as it was zoomed
    const CGRect frame = screen || stays ? native.screen() : before.value_or(window.frame());
    if (!screen && !stays)
        before.reset();
    native.resize(frame.size);
    native.move(frame);
}

void WindowStates::setMiniaturized(bool miniature) const
{
    GtkWindow* widget = window.nativeWindow().window.get();
    if (isManaged())
        miniature ? gtk_window_iconify(widget) : gtk_window_deiconify(widget);
}

void WindowStates::changed(GdkWindowState now)
{
    if (!isManaged())
        return;
    const auto alive = window.shared_from_this();
    miniaturized = now & GDK_WINDOW_STATE_ICONIFIED;
    const bool isZoomed = now & GDK_WINDOW_STATE_MAXIMIZED;
    if (std::exchange(zoomed, isZoomed) != isZoomed)
        window.nativeWindow().showStyle(window);
    if (const bool full = now & GDK_WINDOW_STATE_FULLSCREEN; full != fullScreen)
        changedFullScreen(full);
}

void WindowStates::changedFullScreen(bool full)
{
    fullScreen = full;
    window.nativeWindow().showStyle(window);
    // The desktop says it before or after the window gets its size, or leaves the size as it was.
    constexpr guint patience = 500;
    GSource* limit = g_timeout_source_new(patience);
    g_source_set_callback(
        limit,
        +[](gpointer states) -> gboolean {
            static_cast<WindowStates*>(states)->tellOfFullScreen();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(limit, nullptr);
    untold = Source::adopt(limit);
    resized();
}

bool WindowStates::fillsScreen() const
{
    GtkWidget* widget = GTK_WIDGET(window.nativeWindow().window.get());
    const CGSize screen = window.nativeWindow().screen().size;
    return gtk_widget_get_allocated_width(widget) == int(screen.width)
        && gtk_widget_get_allocated_height(widget) == int(screen.height);
}

void WindowStates::resized()
{
    if (untold && fillsScreen() == fullScreen)
        tellOfFullScreen();
}

void WindowStates::tellOfFullScreen()
{
    untold = {};
    NotificationCenter::defaultCenter().post(
        {fullScreen ? NSWindow::didEnterFullScreenNotification : NSWindow::didExitFullScreenNotification,
            window.shared_from_this(), {}});
}

} // namespace LumoKit::detail
