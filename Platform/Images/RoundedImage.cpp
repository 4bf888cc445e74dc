#include "../ApplicationKit/NSImageNative.h"
#include "../ApplicationKit/PixelReducer.h"

#include <LumoKit/Platform/Images/RoundedImage.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace LumoKit {

namespace {

using detail::CairoContext;
using detail::CairoSurface;
using detail::Pixels;
using detail::PixelSize;
using detail::PixelsPtr;

constexpr double largestSize = 4096; // points
constexpr double contentScale = 2; // pixels a point that the picture is kept with
constexpr std::size_t largestAhead = 512 * 512; // pixels that are drawn before anybody asks for them

PixelSize pixelSize(const CGSize& points, double scale)
{
    const auto length = [&](double value) {
        return std::max(1, static_cast<int>(std::lround(value * scale)));
    };
    return {length(points.width), length(points.height)};
}

/// The middle of a picture, in the shape of a size.
PixelsPtr cut(const PixelsPtr& pixels, const CGSize& shape)
{
    const PixelSize& from = pixels->size;
    const double scale = std::min(from.width / shape.width, from.height / shape.height);
    const PixelSize to{std::clamp(static_cast<int>(std::lround(shape.width * scale)), 1, from.width),
        std::clamp(static_cast<int>(std::lround(shape.height * scale)), 1, from.height)};
    if (to == from)
        return pixels;
    const auto middle = std::make_shared<Pixels>(to);
    const int left = (from.width - to.width) / 2;
    const int top = (from.height - to.height) / 2;
    for (int y = 0; y < to.height; ++y)
        std::copy_n(pixels->row(top + y) + left, to.width, middle->row(y));
    return middle;
}

void addRoundedRectangle(cairo_t* context, const CGSize& size, double radius, const RectCorner& corners)
{
    using std::numbers::pi;
    const auto corner = [&](bool isRound, double x, double y, double towardsX, double towardsY,
                            double angle) {
        const double length = isRound ? radius : 0;
        if (length > 0)
            cairo_arc(context, x + towardsX * length, y + towardsY * length, length, angle, angle + pi / 2);
        else
            cairo_line_to(context, x, y);
    };
    cairo_new_path(context);
    corner(corners.topLeft, 0, 0, 1, 1, pi);
    corner(corners.topRight, size.width, 0, -1, 1, -pi / 2);
    corner(corners.bottomRight, size.width, size.height, -1, -1, 0);
    corner(corners.bottomLeft, 0, size.height, 1, -1, pi / 2);
    cairo_close_path(context);
}

/// A picture, and the shape that it is drawn in at any scale. A small one is drawn at once, at the scale that it is kept with, by
/// the thread that makes it: the one that shows it has better things to do.
class RoundedImage final : public NSImage::Native {
public:
    RoundedImage(PixelsPtr picture, const CGSize& points, double cornerRadius, const RectCorner& roundCorners,
        const std::optional<NSColor>& backgroundColor)
        : Native(points)
        , content(std::move(picture))
        , radius(std::clamp(cornerRadius, 0.0, std::min(points.width, points.height) / 2))
        , corners(roundCorners)
        , background(backgroundColor)
        , ahead(drawAhead())
    {
    }

    [[nodiscard]] PixelsPtr pixels(double scale) const override { return at(pixelSize(size, scale)); }

    [[nodiscard]] PixelsPtr pixelsCovering(const PixelSize& needed) const override
    {
        const double scale = std::max(needed.width / size.width, needed.height / size.height);
        return at(pixelSize(size, std::min(scale, std::max(1.0, content->size.width / size.width))));
    }

    [[nodiscard]] std::size_t cost() const override
    {
        return (content->data.size() + (ahead ? ahead->data.size() : 0)) * sizeof(std::uint32_t);
    }

private:
    [[nodiscard]] PixelsPtr at(const PixelSize& wanted) const
    {
        return ahead && wanted == ahead->size ? ahead : draw(wanted);
    }

    [[nodiscard]] PixelsPtr drawAhead() const
    {
        const auto wanted = pixelSize(size, contentScale);
        return wanted.area() <= largestAhead ? draw(wanted) : nullptr;
    }

    [[nodiscard]] PixelsPtr draw(const PixelSize& wanted) const
    {
        const bool isSmaller = wanted.width <= content->size.width && wanted.height <= content->size.height;
        const auto source =
            isSmaller && wanted != content->size ? detail::reduced(*content, wanted) : content;

        auto drawn = std::make_shared<Pixels>(wanted);
        const CairoSurface target(
            cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(drawn->data.data()),
                CAIRO_FORMAT_ARGB32, wanted.width, wanted.height, 4 * wanted.width));
        const CairoContext context(cairo_create(target.get()));
        if (background) {
            cairo_set_source_rgba(context.get(), background->redComponent, background->greenComponent,
                background->blueComponent, background->alphaComponent);
            cairo_paint(context.get());
        }
        cairo_scale(context.get(), wanted.width / size.width, wanted.height / size.height);
        cairo_set_tolerance(
            context.get(), 0.01); // the usual one, a tenth of a pixel, shows in a small circle
        cairo_set_antialias(context.get(), CAIRO_ANTIALIAS_BEST);
        addRoundedRectangle(context.get(), size, radius, corners);
        cairo_scale(context.get(), size.width / source->size.width, size.height / source->size.height);
        cairo_set_source_surface(context.get(), detail::surfaceOf(source).get(), 0, 0);
        cairo_pattern_t* pattern = cairo_get_source(context.get());
        cairo_pattern_set_filter(pattern, source->size == wanted ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_GOOD);
        cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD); // no see-through edge where it is enlarged
        cairo_fill(context.get()); // shape and picture in one step: each pixel of the edge is covered once
        cairo_surface_flush(target.get());
        return drawn;
    }

    const PixelsPtr content;
    const double radius;
    const RectCorner corners;
    const std::optional<NSColor> background;
    const PixelsPtr ahead; // the last to be made: it takes the others
};

} // namespace

std::shared_ptr<NSImage> image(const NSImage& from, double withRoundRadius, const CGSize& fit,
    const RectCorner& roundingCorners, const std::optional<NSColor>& backgroundColor)
{
    const auto isUsable = [](double length) { return length > 0 && length <= largestSize; };
    if (!isUsable(fit.width) || !isUsable(fit.height))
        return nullptr;
    auto pixels = from.nativeImage().pixelsCovering(pixelSize(fit, contentScale));
    if (!pixels)
        return nullptr;
    return std::make_shared<NSImage>(std::make_unique<RoundedImage>(cut(pixels, fit), fit,
        std::isnan(withRoundRadius) ? 0 : withRoundRadius, roundingCorners, backgroundColor));
}

} // namespace LumoKit
