#include "ResizeEdges.h"

#include "KeyboardFocus.h"
#include "NSWindowNative.h"

#include <algorithm>

namespace LumoKit::detail {

namespace {

constexpr int thickness = 4;

constexpr std::array<const char*, 8> cursors{
    "nw-resize", "n-resize", "ne-resize", "w-resize", "e-resize", "sw-resize", "s-resize", "se-resize"};

} // namespace

ResizeEdges::ResizeEdges(NSWindow& of)
    : window(of)
{
    GtkWidget* widget = GTK_WIDGET(window.nativeWindow().window.get());
    connections.push_back(
        SignalConnection::connect<void(GtkWidget*)>(widget, "realize", [this](auto*) { make(); }));
    connections.push_back(
        SignalConnection::connect<void(GtkWidget*)>(widget, "unrealize", [this](auto*) { forget(); }));
    connections.push_back(SignalConnection::connect<void(GtkWidget*, GdkRectangle*)>(
        widget, "size-allocate", [this](auto*, auto*) { lay(); }));
    connections.push_back(SignalConnection::connect<gboolean(GtkWidget*, GdkEventButton*)>(
        widget, "button-press-event", [this](auto*, GdkEventButton* event) { return pressed(*event); }));
    if (gtk_widget_get_realized(widget)) {
        make();
        lay();
    }
}

ResizeEdges::~ResizeEdges()
{
    forget();
}

void ResizeEdges::make()
{
    GtkWidget* widget = GTK_WIDGET(window.nativeWindow().window.get());
    for (std::size_t edge = 0; edge < surfaces.size(); ++edge) {
        GdkWindowAttr attributes{};
        attributes.event_mask = GDK_BUTTON_PRESS_MASK;
        attributes.width = attributes.height = 1;
        attributes.wclass = GDK_INPUT_ONLY;
        attributes.window_type = GDK_WINDOW_CHILD;
        surfaces[edge] = gdk_window_new(gtk_widget_get_window(widget), &attributes, GDK_WA_X | GDK_WA_Y);
        const auto cursor = ObjectPtr<GdkCursor>::adopt(
            gdk_cursor_new_from_name(gtk_widget_get_display(widget), cursors[edge]));
        gdk_window_set_cursor(surfaces[edge], cursor.get());
        gtk_widget_register_window(widget, surfaces[edge]);
    }
}

void ResizeEdges::forget()
{
    for (GdkWindow*& surface : surfaces) {
        if (!surface)
            continue;
        gtk_widget_unregister_window(GTK_WIDGET(window.nativeWindow().window.get()), surface);
        gdk_window_destroy(surface);
        surface = nullptr;
    }
}

bool ResizeEdges::has(const GdkWindow* surface) const
{
    return surface && std::ranges::find(surfaces, surface) != surfaces.end();
}

bool ResizeEdges::areUseful() const
{
    GdkDisplay* display = gtk_widget_get_display(GTK_WIDGET(window.nativeWindow().window.get()));
    return window.styleMask().resizable && !window.isFullScreen() && !window.isZoomed()
        && hasWindowManager(display) && gdk_display_get_default_seat(display);
}

void ResizeEdges::lay() const
{
    if (!surfaces.front())
        return;
    GtkWidget* widget = GTK_WIDGET(window.nativeWindow().window.get());
    const int width = gtk_widget_get_allocated_width(widget);
    const int height = gtk_widget_get_allocated_height(widget);
    const bool useful = areUseful() && width > 4 * thickness && height > 4 * thickness;
    for (std::size_t edge = 0; edge < surfaces.size(); ++edge) {
        if (!useful) {
            gdk_window_hide(surfaces[edge]);
            continue;
        }
        // The corners are squares of twice the thickness.
        const std::size_t place = edge < 4 ? edge : edge + 1; // in a field of three by three
        const auto column = place % 3;
        const auto row = place / 3;
        const bool isCorner = column != 1 && row != 1;
        const int across = isCorner ? thickness * 2 : thickness;
        const int x = column == 0 ? 0 : column == 1 ? thickness * 2 : width - across;
        const int y = row == 0 ? 0 : row == 1 ? thickness * 2 : height - across;
        gdk_window_move_resize(surfaces[edge], x, y, column == 1 ? width - 4 * thickness : across,
            row == 1 ? height - 4 * thickness : across);
        gdk_window_show(surfaces[edge]);
        gdk_window_raise(surfaces[edge]);
    }
}

gboolean ResizeEdges::pressed(const GdkEventButton& event) const
{
    if (event.button != GDK_BUTTON_PRIMARY || !has(event.window))
        return FALSE;
    const auto edge = std::ranges::find(surfaces, event.window) - surfaces.begin();
    gtk_window_begin_resize_drag(window.nativeWindow().window.get(), static_cast<GdkWindowEdge>(edge),
        GDK_BUTTON_PRIMARY, int(event.x_root), int(event.y_root), event.time);
    return TRUE;
}

} // namespace LumoKit::detail
