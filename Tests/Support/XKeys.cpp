#include "XKeys.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <gdk/gdkx.h>

namespace LumoKit::Test {

namespace {

Display* display()
{
    return gdk_x11_get_default_xdisplay();
}

void pressSymbol(KeySym symbol)
{
    const KeyCode code = XKeysymToKeycode(display(), symbol);
    const bool shifted = XkbKeycodeToKeysym(display(), code, 0, 0) != symbol;
    const KeyCode shift = XKeysymToKeycode(display(), XK_Shift_L);
    if (shifted)
        XTestFakeKeyEvent(display(), shift, True, CurrentTime);
    XTestFakeKeyEvent(display(), code, True, CurrentTime);
    XTestFakeKeyEvent(display(), code, False, CurrentTime);
    if (shifted)
        XTestFakeKeyEvent(display(), shift, False, CurrentTime);
    XFlush(display());
}

} // namespace

void pressKey(const std::string& name)
{
    pressSymbol(XStringToKeysym(name.c_str()));
}

void typeText(const std::string& text)
{
    for (const char character : text)
        pressSymbol(gdk_unicode_to_keyval(static_cast<guchar>(character))); // the same numbers as X's
}

void clickOn(GtkWidget* widget)
{
    GtkWidget* top = gtk_widget_get_toplevel(widget);
    int x = 0;
    int y = 0;
    gtk_widget_translate_coordinates(widget, top, gtk_widget_get_allocated_width(widget) / 2,
        gtk_widget_get_allocated_height(widget) / 2, &x, &y);
    int left = 0;
    int above = 0;
    gdk_window_get_origin(gtk_widget_get_window(top), &left, &above);
    const int scale = gtk_widget_get_scale_factor(widget);
    XTestFakeMotionEvent(display(), -1, (left + x) * scale, (above + y) * scale, CurrentTime);
    XTestFakeButtonEvent(display(), 1, True, CurrentTime);
    XTestFakeButtonEvent(display(), 1, False, CurrentTime);
    XFlush(display());
}

void movePointer(int x, int y)
{
    const int scale = gdk_monitor_get_scale_factor(gdk_display_get_monitor(gdk_display_get_default(), 0));
    XTestFakeMotionEvent(display(), -1, x * scale, y * scale, CurrentTime);
    XFlush(display());
}

void movePointerBy(int x, int y)
{
    const int scale = gdk_monitor_get_scale_factor(gdk_display_get_monitor(gdk_display_get_default(), 0));
    XTestFakeRelativeMotionEvent(display(), x * scale, y * scale, CurrentTime);
    XFlush(display());
}

void pressPointer(unsigned button)
{
    XTestFakeButtonEvent(display(), button, True, CurrentTime);
    XFlush(display());
}

void releasePointer(unsigned button)
{
    XTestFakeButtonEvent(display(), button, False, CurrentTime);
    XFlush(display());
}

} // namespace LumoKit::Test
