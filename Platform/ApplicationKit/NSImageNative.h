#pragma once

#include "Pixels.h"

#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <cairo.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace LumoKit {

/// Where the pixels of an image come from.
/// Thread: any, for everything here.
struct NSImage::Native {
    explicit Native(const CGSize& points);
    virtual ~Native() = default;
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;

    /// The picture for a screen with `scale` pixels a point. It covers the image's size, with fewer pixels than that asks
    /// for where it has no more.
    /// Errors: null for a picture that cannot be decoded.
    [[nodiscard]] virtual detail::PixelsPtr pixels(double scale) const = 0;

    /// The same with at most as many pixels as are there, and at least as many as a size in pixels asks for.
    [[nodiscard]] virtual detail::PixelsPtr pixelsCovering(const detail::PixelSize& needed) const = 0;

    /// What the image keeps in memory.
    /// Units: bytes.
    [[nodiscard]] virtual std::size_t cost() const = 0;

    const CGSize size;
    const std::uint64_t serial; // no other image of this process has it
};

namespace detail {

using CairoSurface = std::unique_ptr<cairo_surface_t, FreedBy<cairo_surface_destroy>>;
using CairoContext = std::unique_ptr<cairo_t, FreedBy<cairo_destroy>>;

/// Pixels as a source for drawing. They live as long as the surface, and must not be drawn on.
[[nodiscard]] CairoSurface surfaceOf(PixelsPtr pixels);

/// What `cairo_set_source_surface` and `gtk_image_new_from_surface` take to draw an image, for a screen with `scale` pixels
/// a point.
/// Errors: null for an image that cannot be decoded.
/// Thread: any.
[[nodiscard]] CairoSurface drawableSurface(const NSImage& image, double scale);

} // namespace detail

} // namespace LumoKit
