// Any bytes are an image or none, of a bounded size. One that is can be decoded at any size or not at all, and what is decoded
// has the size that was asked for, premultiplied; so has a rounded copy of it.

#include "ApplicationKit/ImageDecoder.h"
#include "ApplicationKit/NSImageNative.h"

#include <LumoKit/Platform/Images/RoundedImage.h>

#include <algorithm>
#include <cstdlib>

using namespace LumoKit;
using detail::PixelSize;

static void require(bool condition)
{
    if (!condition)
        std::abort();
}

static bool isPremultiplied(const detail::Pixels& pixels)
{
    return std::ranges::all_of(pixels.data, [](std::uint32_t pixel) {
        const std::uint32_t alpha = pixel >> 24;
        return (pixel >> 16 & 0xFF) <= alpha && (pixel >> 8 & 0xFF) <= alpha && (pixel & 0xFF) <= alpha;
    });
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto own = detail::imageSize(bytes);
    const auto* begin = reinterpret_cast<const std::byte*>(data);
    const auto whole = NSImage::create({begin, begin + size});
    require((whole != nullptr) == own.has_value());
    if (!own)
        return 0;
    require(own->width > 0 && own->height > 0 && own->area() <= detail::largestImageArea);
    if (own->area() > 1'000'000) // as fast as may be; the larger ones are the tests' business
        return 0;
    const PixelSize small{std::max(1, own->width / 3), std::max(1, own->height / 3)};
    for (const PixelSize& target : {small, *own})
        if (const auto pixels = detail::decodeImage(bytes, target))
            require(pixels->size == target && isPremultiplied(*pixels));
    if (const auto rounded = image(*whole, 28, {56, 56}))
        for (const int scale : {1, 3}) {
            const auto pixels = rounded->nativeImage().pixels(scale);
            require(pixels && pixels->size == PixelSize{56 * scale, 56 * scale} && isPremultiplied(*pixels));
        }
    return 0;
}
