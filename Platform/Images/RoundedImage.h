#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>
#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/Foundation/Geometry.h>

#include <memory>
#include <optional>

namespace LumoKit {

/// Corners of a rectangle.
struct RectCorner {
    bool topLeft = false;
    bool topRight = false;
    bool bottomLeft = false;
    bool bottomRight = false;

    static const RectCorner all;

    bool operator==(const RectCorner&) const = default;
};

inline constexpr RectCorner RectCorner::all{true, true, true, true};

/// A copy of an image with a size of its own and rounded corners.
///
/// The picture fills the size: where it has another shape, what sticks out on two sides is cut off evenly. Its pixels are
/// decoded here, at twice the size or at their own where that is less, so that it is sharp on screens with two pixels a point;
/// the corners are as smooth as each screen allows.
///
/// Units: points. A radius of half the size or more makes a circle of a square; one that is negative or not a number
/// counts as none.
/// Errors: null for an image that cannot be decoded, and for a size that is empty or larger than 4096 points.
/// Thread: any; not the main thread where it matters.
[[nodiscard]] std::shared_ptr<NSImage> image(const NSImage& from, double withRoundRadius, const CGSize& fit,
    const RectCorner& roundingCorners = RectCorner::all,
    /// What is seen where the corners are cut off, and through the picture; nothing for none.
    const std::optional<NSColor>& backgroundColor = std::nullopt);

} // namespace LumoKit
