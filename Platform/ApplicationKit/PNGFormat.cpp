#include "ImageFormats.h"
#include "PixelReducer.h"

#include <png.h>

#include <memory>

namespace LumoKit::detail {

namespace {

struct Reader {
    explicit Reader(std::string_view bytes)
    {
        image.version = PNG_IMAGE_VERSION;
        isOpen = png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) != 0;
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_image_free(&image); }

    png_image image{};
    bool isOpen = false;
};

bool matches(std::string_view bytes)
{
    return bytes.starts_with("\x89PNG\r\n\x1A\n");
}

std::optional<PixelSize> size(std::string_view bytes)
{
    const Reader reader(bytes);
    if (!reader.isOpen || reader.image.width > PNG_UINT_31_MAX || reader.image.height > PNG_UINT_31_MAX)
        return std::nullopt;
    return PixelSize{static_cast<int>(reader.image.width), static_cast<int>(reader.image.height)};
}

PixelsPtr decode(std::string_view bytes, const PixelSize& own, const PixelSize& target)
{
    Reader reader(bytes);
    if (!reader.isOpen)
        return nullptr;
    const bool hasAlpha = (reader.image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    reader.image.format = hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    const std::size_t stride = static_cast<std::size_t>(own.width) * (hasAlpha ? 4 : 3);
    const auto rows =
        std::make_unique_for_overwrite<unsigned char[]>(stride * static_cast<std::size_t>(own.height));
    if (png_image_finish_read(&reader.image, nullptr, rows.get(), 0, nullptr) == 0)
        return nullptr;
    PixelReducer reducer(own, target, hasAlpha ? RowLayout::rgba : RowLayout::rgb);
    for (int y = 0; y < own.height; ++y)
        reducer.add(rows.get() + stride * static_cast<std::size_t>(y));
    return reducer.finish();
}

} // namespace

const ImageFormat pngFormat{matches, size, decode};

} // namespace LumoKit::detail
