#include "ImageDecoder.h"
#include "NSImageNative.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <string_view>
#include <utility>

namespace LumoKit {

namespace {

using detail::PixelSize;
using detail::PixelsPtr;

std::string_view bytesOf(const Data& data)
{
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

/// A picture that stays as it came until its pixels are asked for.
class EncodedImage final : public NSImage::Native {
public:
    EncodedImage(std::shared_ptr<const Data> contents, const PixelSize& pixels)
        : Native({static_cast<double>(pixels.width), static_cast<double>(pixels.height)})
        , file(std::move(contents))
        , own(pixels)
    {
    }

    [[nodiscard]] PixelsPtr pixels(double) const override { return pixelsCovering(own); }

    [[nodiscard]] PixelsPtr pixelsCovering(const PixelSize& needed) const override
    {
        const double scale = std::max(
            static_cast<double>(needed.width) / own.width, static_cast<double>(needed.height) / own.height);
        const auto target = [&](int length) {
            return static_cast<int>(std::clamp(std::round(length * scale), 1.0, static_cast<double>(length)));
        };
        const PixelSize size{target(own.width), target(own.height)};
        {
            const std::lock_guard lock(mutex);
            if (const auto shown = latest.lock(); shown && shown->size == size)
                return shown;
        }
        auto decoded = detail::decodeImage(bytesOf(*file), size);
        const std::lock_guard lock(mutex);
        latest = decoded;
        return decoded;
    }

    [[nodiscard]] std::size_t cost() const override { return file->size(); }

private:
    const std::shared_ptr<const Data> file;
    const PixelSize own;
    mutable std::mutex mutex;
    mutable std::weak_ptr<const detail::Pixels> latest; // guarded by mutex; alive while somebody shows them
};

} // namespace

NSImage::Native::Native(const CGSize& points)
    : size(points)
    , serial([] {
        static std::atomic<std::uint64_t> latest = 0;
        return ++latest;
    }())
{
}

std::shared_ptr<NSImage> NSImage::create(Data fileContents)
{
    return create(std::make_shared<const Data>(std::move(fileContents)));
}

std::shared_ptr<NSImage> NSImage::create(std::shared_ptr<const Data> fileContents)
{
    const auto size = detail::imageSize(bytesOf(*fileContents));
    if (!size)
        return nullptr;
    return std::make_shared<NSImage>(std::make_unique<EncodedImage>(std::move(fileContents), *size));
}

NSImage::NSImage(std::unique_ptr<const Native> made)
    : native(std::move(made))
{
}

NSImage::~NSImage() = default;

const CGSize& NSImage::size() const
{
    return native->size;
}

detail::CairoSurface detail::surfaceOf(PixelsPtr pixels)
{
    static const cairo_user_data_key_t owner{};
    const PixelSize size = pixels->size;
    // The library takes bytes that it may change; nobody draws on this surface.
    auto* bytes = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels->data.data()));
    CairoSurface surface(cairo_image_surface_create_for_data(
        bytes, CAIRO_FORMAT_ARGB32, size.width, size.height, 4 * size.width));
    auto keeper = std::make_unique<PixelsPtr>(std::move(pixels));
    if (cairo_surface_set_user_data(
            surface.get(), &owner, keeper.get(), [](void* kept) { delete static_cast<PixelsPtr*>(kept); })
        == CAIRO_STATUS_SUCCESS)
        keeper.release();
    return surface;
}

detail::CairoSurface detail::drawableSurface(const NSImage& image, double scale)
{
    const auto pixels = image.nativeImage().pixels(scale);
    if (!pixels)
        return nullptr;
    auto surface = surfaceOf(pixels);
    cairo_surface_set_device_scale(
        surface.get(), pixels->size.width / image.size().width, pixels->size.height / image.size().height);
    return surface;
}

} // namespace LumoKit
