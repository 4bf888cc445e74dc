#pragma once

#include "Pixels.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace LumoKit::detail {

/// What the bytes of a row are.
enum class RowLayout {
    rgb,
    rgba, // not premultiplied
    pixels, // as in `Pixels`
};

/// Makes a picture smaller while it is being decoded, row by row from the top, so that the large one is nowhere in
/// memory. Each pixel is the mean of the area that it covers, which keeps fine patterns from flickering.
class PixelReducer {
public:
    /// `to` is at least one and at most as large as `from`, in both directions.
    PixelReducer(const PixelSize& from, const PixelSize& to, RowLayout layout);

    /// Takes the next row. Rows after the last are ignored.
    void add(const unsigned char* row);

    /// The picture, when all rows were taken.
    [[nodiscard]] PixelsPtr finish();

private:
    /// The columns that a column of the result covers: the first and the last in part, those between as a whole.
    struct Columns {
        std::size_t first;
        std::size_t last;
        std::uint64_t ofFirst;
        std::uint64_t ofLast;
    };

    void accumulateWhole(const unsigned char* row);
    void foldWholeRows();
    template <std::size_t channels> void emit();

    const PixelSize from;
    const PixelSize to;
    const RowLayout layout;
    const int channels;
    std::shared_ptr<Pixels> result;
    std::vector<Columns> covered;
    std::vector<std::uint32_t> sums; // of the rows that the next row of the result covers, weighted
    std::vector<std::uint16_t> wholes; // of rows that belong there as a whole and are not among those yet
    int wholeRows = 0;
    std::vector<unsigned char> premultiplied; // a row
    int taken = 0;
    int made = 0;
};

/// A picture made smaller.
[[nodiscard]] PixelsPtr reduced(const Pixels& pixels, const PixelSize& to);

} // namespace LumoKit::detail
