#include "ImageDecoder.h"

#include "ImageFormats.h"

#include <algorithm>
#include <array>

namespace LumoKit::detail {

namespace {

const ImageFormat* formatOf(std::string_view bytes)
{
    static constexpr std::array formats = {&jpegFormat, &pngFormat, &gifFormat, &webpFormat};
    if (bytes.size() > largestImageFile)
        return nullptr;
    const auto found =
        std::ranges::find_if(formats, [&](const auto* format) { return format->matches(bytes); });
    return found == formats.end() ? nullptr : *found;
}

std::optional<PixelSize> sizeIn(const ImageFormat& format, std::string_view bytes)
{
    const auto size = format.size(bytes);
    if (!size || size->width < 1 || size->height < 1 || size->area() > largestImageArea)
        return std::nullopt;
    return size;
}

} // namespace

std::optional<PixelSize> imageSize(std::string_view bytes)
{
    const auto* format = formatOf(bytes);
    return format ? sizeIn(*format, bytes) : std::nullopt;
}

PixelsPtr decodeImage(std::string_view bytes, const PixelSize& target)
{
    const auto* format = formatOf(bytes);
    if (!format)
        return nullptr;
    const auto own = sizeIn(*format, bytes);
    if (!own)
        return nullptr;
    return format->decode(
        bytes, *own, {std::clamp(target.width, 1, own->width), std::clamp(target.height, 1, own->height)});
}

} // namespace LumoKit::detail
