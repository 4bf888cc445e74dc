#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace LumoKit::detail {

/// Units: pixels.
struct PixelSize {
    int width = 0;
    int height = 0;

    [[nodiscard]] std::size_t area() const
    {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
    bool operator==(const PixelSize&) const = default;
};

/// A decoded picture, row by row from the top: alpha in a pixel's highest byte, then red, green and blue, premultiplied.
/// Once made it is not changed, so that any thread may read it.
struct Pixels {
    explicit Pixels(const PixelSize& dimensions)
        : size(dimensions)
        , data(dimensions.area())
    {
    }
    [[nodiscard]] std::uint32_t* row(int y) { return data.data() + PixelSize{size.width, y}.area(); }
    [[nodiscard]] const std::uint32_t* row(int y) const
    {
        return data.data() + PixelSize{size.width, y}.area();
    }

    PixelSize size;
    std::vector<std::uint32_t> data;
};

using PixelsPtr = std::shared_ptr<const Pixels>;

} // namespace LumoKit::detail
