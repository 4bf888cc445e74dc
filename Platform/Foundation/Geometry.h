#pragma once

#include <algorithm>
#include <cmath>

namespace LumoKit {

/// Units of everything here: points, which are the desktop's logical pixels. The origin of a window, a view
/// or the screen is at its bottom left, and y grows upwards.
struct CGPoint {
    double x = 0;
    double y = 0;

    bool operator==(const CGPoint&) const = default;
};

struct CGSize {
    double width = 0;
    double height = 0;

    bool operator==(const CGSize&) const = default;
};

/// A rectangle. A negative size reaches from the origin to the left or down; the operations below read it as
/// the rectangle that it covers.
struct CGRect {
    CGPoint origin;
    CGSize size;

    [[nodiscard]] double minX() const { return std::min(origin.x, origin.x + size.width); }
    [[nodiscard]] double maxX() const { return std::max(origin.x, origin.x + size.width); }
    [[nodiscard]] double minY() const { return std::min(origin.y, origin.y + size.height); }
    [[nodiscard]] double maxY() const { return std::max(origin.y, origin.y + size.height); }
    [[nodiscard]] double width() const { return std::abs(size.width); }
    [[nodiscard]] double height() const { return std::abs(size.height); }

    bool operator==(const CGRect&) const = default;
};

} // namespace LumoKit
