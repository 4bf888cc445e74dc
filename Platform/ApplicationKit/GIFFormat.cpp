#include "ImageFormats.h"
#include "PixelReducer.h"

#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gdk-pixbuf/gdk-pixbuf.h>

namespace LumoKit::detail {

namespace {

bool matches(std::string_view bytes)
{
    return bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a");
}

int numberAt(std::string_view bytes, std::size_t at)
{
    return static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8;
}

/// Source: GIF89a, section 18, Logical Screen Descriptor.
std::optional<PixelSize> size(std::string_view bytes)
{
    if (bytes.size() < 13)
        return std::nullopt;
    return PixelSize{numberAt(bytes, 6), numberAt(bytes, 8)};
}

PixelsPtr decode(std::string_view bytes, const PixelSize& own, const PixelSize& target)
{
    const auto loader = ObjectPtr<GdkPixbufLoader>::adopt(gdk_pixbuf_loader_new_with_type("gif", nullptr));
    if (!loader)
        return nullptr; // the desktop has no reader for them
    const bool wasWritten = gdk_pixbuf_loader_write(loader.get(),
                                reinterpret_cast<const guchar*>(bytes.data()), bytes.size(), nullptr)
        == TRUE;
    const bool wasClosed =
        gdk_pixbuf_loader_close(loader.get(), nullptr) == TRUE; // always: it ends the loader
    GdkPixbuf* picture = wasWritten && wasClosed ? gdk_pixbuf_loader_get_pixbuf(loader.get()) : nullptr;
    if (!picture || PixelSize{gdk_pixbuf_get_width(picture), gdk_pixbuf_get_height(picture)} != own)
        return nullptr;
    const bool hasAlpha = gdk_pixbuf_get_has_alpha(picture) == TRUE;
    PixelReducer reducer(own, target, hasAlpha ? RowLayout::rgba : RowLayout::rgb);
    const guchar* row = gdk_pixbuf_read_pixels(picture);
    for (int y = 0; y < own.height; ++y, row += gdk_pixbuf_get_rowstride(picture))
        reducer.add(row);
    return reducer.finish();
}

} // namespace

const ImageFormat gifFormat{matches, size, decode};

} // namespace LumoKit::detail
