#include "ApplicationKit/NSImageNative.h"
#include "Compare.h"
#include "Images/ImageFolder.h"

#include <LumoKit/Platform/Images/ImageManager.h>

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <jpeglib.h>
#include <png.h>
#include <stdlib.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace LumoKit::Bench {

namespace {

namespace fs = std::filesystem;

using detail::CairoContext;
using detail::CairoSurface;

constexpr int side = 512;

/// A photograph, more or less, as a file.
std::string photograph(const char* type)
{
    GdkPixbuf* picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, side, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const unsigned grain =
                (static_cast<unsigned>(x) * 2654435761U ^ static_cast<unsigned>(y) * 40503U) >> 13;
            guchar* pixel = gdk_pixbuf_get_pixels(picture) + y * gdk_pixbuf_get_rowstride(picture) + x * 3;
            pixel[0] = static_cast<guchar>(128 + 100 * std::sin(x / 40.0) + grain % 12);
            pixel[1] = static_cast<guchar>(128 + 90 * std::cos(y / 30.0) + grain % 10);
            pixel[2] = static_cast<guchar>((x + y) / 5 + static_cast<int>(grain % 8));
        }
    char* file = nullptr;
    gsize length = 0;
    gdk_pixbuf_save_to_buffer(picture, &file, &length, type, nullptr, nullptr);
    std::string bytes(file, length);
    g_free(file);
    g_object_unref(picture);
    return bytes;
}

const std::string& jpeg()
{
    static const std::string file = photograph("jpeg");
    return file;
}

const std::string& png()
{
    static const std::string file = photograph("png");
    return file;
}

Data dataOf(const std::string& bytes)
{
    const auto* begin = reinterpret_cast<const std::byte*>(bytes.data());
    return {begin, begin + bytes.size()};
}

/// Milliseconds from a file in memory to the pixels of a circle on a screen with two pixels a point.
double avatar(const std::string& file)
{
    const auto data = std::make_shared<const Data>(dataOf(file));
    constexpr int times = 20;
    return secondsOf([&] {
        for (int time = 0; time < times; ++time) {
            const auto rounded = image(*NSImage::create(data), 28, {56, 56});
            if (!rounded->nativeImage().pixels(2))
                std::abort();
        }
    }) * 1e3
        / times;
}

/// The whole JPEG, by the same library, and then made smaller and cut out by cairo.
double decodeAllThenScale()
{
    constexpr int times = 20;
    return secondsOf([&] {
        for (int time = 0; time < times; ++time) {
            jpeg_decompress_struct info{};
            jpeg_error_mgr errors{};
            info.err = jpeg_std_error(&errors);
            jpeg_create_decompress(&info);
            jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(jpeg().data()), jpeg().size());
            jpeg_read_header(&info, TRUE);
            info.out_color_space = JCS_EXT_BGRX; // as cairo has it
            jpeg_start_decompress(&info);
            const CairoSurface all(cairo_image_surface_create(CAIRO_FORMAT_RGB24, side, side));
            while (info.output_scanline < info.output_height) {
                unsigned char* row = cairo_image_surface_get_data(all.get())
                    + static_cast<std::ptrdiff_t>(info.output_scanline)
                        * cairo_image_surface_get_stride(all.get());
                jpeg_read_scanlines(&info, &row, 1);
            }
            jpeg_finish_decompress(&info);
            jpeg_destroy_decompress(&info);
            cairo_surface_mark_dirty(all.get());
            const CairoSurface rounded(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 112, 112));
            const CairoContext context(cairo_create(rounded.get()));
            cairo_arc(context.get(), 56, 56, 56, 0, 2 * G_PI);
            cairo_scale(context.get(), 112.0 / side, 112.0 / side);
            cairo_set_source_surface(context.get(), all.get(), 0, 0);
            cairo_fill(context.get());
        }
    }) * 1e3
        / times;
}

double decodePNG()
{
    constexpr int times = 20;
    return secondsOf([&] {
        for (int time = 0; time < times; ++time) {
            png_image head{};
            head.version = PNG_IMAGE_VERSION;
            png_image_begin_read_from_memory(&head, png().data(), png().size());
            head.format = PNG_FORMAT_RGB;
            const auto rows = std::make_unique_for_overwrite<unsigned char[]>(PNG_IMAGE_SIZE(head));
            if (png_image_finish_read(&head, nullptr, rows.get(), 0, nullptr) == 0)
                std::abort();
        }
    }) * 1e3
        / times;
}

const fs::path& folder()
{
    static const fs::path made = [] {
        std::string pattern = fs::temp_directory_path() / "bench-XXXXXX";
        return fs::path(::mkdtemp(pattern.data()));
    }();
    return made;
}

/// A manager with the photograph on disk.
ImageManager& manager()
{
    static ImageManager& made = *[] {
        detail::ImageFolder files(folder(), 1 << 30, std::chrono::days(1));
        if (!files.write("avatar", dataOf(jpeg())))
            std::abort();
        return new ImageManager(folder());
    }();
    return made;
}

const ImageResource& resource()
{
    static const ImageResource avatar{*URL::parse("http://nobody.example/"), "avatar"};
    return avatar;
}

std::shared_ptr<NSImage> retrieve()
{
    std::shared_ptr<NSImage> image;
    bool done = false;
    manager().retrieveImage(resource(), {.onlyFromCache = true}, nullptr, [&](auto retrieved) {
        done = true;
        if (retrieved)
            image = std::move(retrieved->image);
    });
    while (!done)
        g_main_context_iteration(nullptr, TRUE);
    if (!image)
        std::abort();
    return image;
}

/// Microseconds from asking to the completion on the main queue.
double hit(bool inMemory)
{
    constexpr int times = 200;
    static_cast<void>(retrieve());
    double seconds = 0;
    for (int time = 0; time < times; ++time) {
        if (!inMemory)
            manager().clearMemoryCache();
        seconds += secondsOf([] { static_cast<void>(retrieve()); });
    }
    return seconds * 1e6 / times;
}

/// Microseconds of the main thread for a circle that is not in memory: to ask, to take, and to make a surface for drawing.
/// What it waits for others is not counted.
double mainThread()
{
    constexpr int times = 50;
    const auto used = [] {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
    };
    double all = 0;
    for (int time = 0; time < times; ++time) {
        manager().clearMemoryCache(); // which gives pages back to the system: not what a picture costs
        bool done = false;
        const double before = used();
        manager().retrieveImage(resource(), {.onlyFromCache = true}, nullptr, [&](auto retrieved) {
            manager().image(std::move(retrieved->image), 28, {56, 56}, RectCorner::all, std::nullopt,
                [&](const std::shared_ptr<NSImage>& rounded) {
                    done = detail::drawableSurface(*rounded, 2) != nullptr;
                });
        });
        while (!done)
            g_main_context_iteration(nullptr, TRUE);
        all += used() - before;
    }
    return all / times;
}

} // namespace

std::vector<Row> imageRows()
{
    // Of those with a bound in time, the ratio is to that bound.
    return {
        {"remote/avatar-jpeg", "ms", "decode all, then scale", 0.5, 15, [] { return avatar(jpeg()); },
            decodeAllThenScale},
        {"remote/avatar-main-thread", "µs", "0.1 ms", 1, 15, mainThread, [] { return 100.0; }},
        {"remote/avatar-png", "ms", "libpng, decode alone", 1.05, 25, [] { return avatar(png()); },
            decodePNG},
        {"remote/image-memory-hit", "µs", "20 µs", 1, 15, [] { return hit(true); }, [] { return 20.0; }},
        {"remote/image-disk-hit", "µs", "1 ms", 1, 15, [] { return hit(false); }, [] { return 1000.0; }},
    };
}

} // namespace LumoKit::Bench
