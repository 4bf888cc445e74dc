#include "ImageFormats.h"

#include <webp/decode.h>

#include <bit>

namespace LumoKit::detail {

namespace {

const unsigned char* begin(std::string_view bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

bool matches(std::string_view bytes)
{
    return bytes.starts_with("RIFF") && bytes.substr(0, 12).ends_with("WEBP");
}

std::optional<PixelSize> size(std::string_view bytes)
{
    WebPBitstreamFeatures features{};
    if (WebPGetFeatures(begin(bytes), bytes.size(), &features) != VP8_STATUS_OK
        || features.has_animation != 0)
        return std::nullopt;
    return PixelSize{features.width, features.height};
}

PixelsPtr decode(std::string_view bytes, const PixelSize& own, const PixelSize& target)
{
    const auto pixels = std::make_shared<Pixels>(target);
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0)
        return nullptr;
    config.options.use_scaling = target == own ? 0 : 1;
    config.options.scaled_width = target.width;
    config.options.scaled_height = target.height;
    config.output.colorspace = std::endian::native == std::endian::little ? MODE_bgrA : MODE_Argb;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = reinterpret_cast<unsigned char*>(pixels->data.data());
    config.output.u.RGBA.stride = 4 * target.width;
    config.output.u.RGBA.size = 4 * pixels->data.size();
    const bool done = WebPDecode(begin(bytes), bytes.size(), &config) == VP8_STATUS_OK;
    WebPFreeDecBuffer(&config.output);
    return done ? pixels : nullptr;
}

} // namespace

const ImageFormat webpFormat{matches, size, decode};

} // namespace LumoKit::detail
