#pragma once

#include "Support/TestImages.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace LumoKit::Test {

/// What a view draws, by itself: nothing that is behind it.
class Picture {
public:
    /// Shows the view in a window of its own first.
    explicit Picture(const std::shared_ptr<NSView>& view)
    {
        const auto window = NSWindow::create({{50, 50}, view->frame().size});
        window->setShowsMenuBar(false);
        view->setFrame(view->bounds());
        window->contentView()->addSubview(view);
        window->makeKeyAndOrderFront();
        GtkWidget* widget = gtkWidget(*view);
        const int width = static_cast<int>(view->frame().width());
        const int height = static_cast<int>(view->frame().height());
        isShown = waitUntil([&] {
            return gtk_widget_get_mapped(widget) && gtk_widget_get_allocated_width(widget) == width
                && gtk_widget_get_allocated_height(widget) == height;
        });
        surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
        cairo_t* onto = cairo_create(surface);
        gtk_widget_draw(widget, onto);
        cairo_destroy(onto);
        cairo_surface_flush(surface);
        view->removeFromSuperview();
        window->close();
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture() { cairo_surface_destroy(surface); }

    /// From the top left.
    [[nodiscard]] Colour at(int x, int y) const
    {
        const auto* row = cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
        const std::uint32_t pixel = reinterpret_cast<const std::uint32_t*>(row)[x];
        const auto part = [&](int shift) { return static_cast<std::uint8_t>(pixel >> shift); };
        return {part(16), part(8), part(0), part(24)}; // opaque or nothing, so that premultiplied is the same
    }

    bool isShown = false;

private:
    cairo_surface_t* surface = nullptr;
};

/// The image in a file.
inline std::shared_ptr<NSImage> imageOf(const std::string& file)
{
    const auto* bytes = reinterpret_cast<const std::byte*>(file.data());
    return NSImage::create(Data(bytes, bytes + file.size()));
}

} // namespace LumoKit::Test
