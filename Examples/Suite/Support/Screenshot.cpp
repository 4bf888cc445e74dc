#include "Support/Screenshot.h"

#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Utility/DispatchQueue.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Picture = std::unique_ptr<GdkPixbuf, decltype([](GdkPixbuf* pixbuf) { g_object_unref(pixbuf); })>;

Picture pictureOf(const NSWindow& window)
{
    GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(gtkWindow(window)));
    if (!surface)
        return nullptr;
    return Picture(gdk_pixbuf_get_from_window(
        surface, 0, 0, gdk_window_get_width(surface), gdk_window_get_height(surface)));
}

std::vector<guchar> pixelsOf(const Picture& picture)
{
    guint length = 0;
    const guchar* pixels = gdk_pixbuf_get_pixels_with_length(picture.get(), &length);
    return {pixels, pixels + length};
}

/// Whether a picture shows something: rows of a window whose page is not there yet are alike all over.
bool isBlank(const Picture& picture)
{
    const auto pixels = pixelsOf(picture);
    const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(picture.get()));
    const auto height = static_cast<std::size_t>(gdk_pixbuf_get_height(picture.get()));
    std::size_t changes = 0;
    for (std::size_t row = 1; row < height; ++row)
        changes += std::memcmp(&pixels[row * stride], &pixels[(row - 1) * stride], stride - 3) != 0;
    return changes < 2;
}

struct Attempt {
    std::weak_ptr<NSWindow> window;
    std::filesystem::path file;
    std::function<void(bool)> saved;
    std::vector<guchar> last;
    int alike = 0;
    int left = 200;
};

void attempt(const std::shared_ptr<Attempt>& state)
{
    const auto window = state->window.lock();
    if (!window || state->left-- == 0)
        return state->saved(false);
    if (const Picture picture = pictureOf(*window)) {
        auto pixels = pixelsOf(picture);
        state->alike = pixels == state->last ? state->alike + 1 : 0;
        if (state->alike >= 8 && !isBlank(picture))
            return state->saved(gdk_pixbuf_save(picture.get(), state->file.c_str(), "png", nullptr, nullptr));
        state->last = std::move(pixels);
    }
    delay(0.05, DispatchQueue::main(), [state] { attempt(state); });
}

} // namespace

void saveScreenshot(const std::shared_ptr<NSWindow>& window, const std::filesystem::path& file,
    std::function<void(bool)> saved)
{
    attempt(std::make_shared<Attempt>(window, file, std::move(saved), std::vector<guchar>()));
}

} // namespace LumoSuite
