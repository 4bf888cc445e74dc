#include "PixelReducer.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace LumoKit::detail {

namespace {

unsigned premultiply(unsigned value, unsigned alpha)
{
    return (value * alpha + 127) / 255;
}

std::uint32_t packed(unsigned alpha, unsigned red, unsigned green, unsigned blue)
{
    return alpha << 24 | red << 16 | green << 8 | blue;
}

/// Where alpha, red, green and blue are among the bytes of a `Pixels` element in memory.
constexpr bool littleEndian = std::endian::native == std::endian::little;
constexpr int pixelsAlpha = littleEndian ? 3 : 0;
constexpr int pixelsRed = littleEndian ? 2 : 1;
constexpr int pixelsGreen = littleEndian ? 1 : 2;
constexpr int pixelsBlue = littleEndian ? 0 : 3;

} // namespace

PixelReducer::PixelReducer(const PixelSize& large, const PixelSize& small, RowLayout rows)
    : from(large)
    , to(small)
    , layout(rows)
    , channels(rows == RowLayout::rgb ? 3 : 4)
    , result(std::make_shared<Pixels>(small))
    , sums(static_cast<std::size_t>(large.width) * static_cast<std::size_t>(channels))
{
    if (layout == RowLayout::rgba)
        premultiplied.resize(sums.size());
}

// Positions are counted in such units that both grids fall on whole numbers: a row of the source is `to.height` high,
// a row of the result `from.height`, and likewise for columns. All sums are exact.
void PixelReducer::add(const unsigned char* row)
{
    if (taken == from.height)
        return;
    if (layout == RowLayout::rgba) {
        for (std::size_t at = 0; at < premultiplied.size(); at += 4) {
            const unsigned alpha = row[at + 3];
            for (std::size_t channel = 0; channel < 3; ++channel)
                premultiplied[at + channel] =
                    static_cast<unsigned char>(premultiply(row[at + channel], alpha));
            premultiplied[at + 3] = static_cast<unsigned char>(alpha);
        }
        row = premultiplied.data();
    }
    const std::int64_t begin = std::int64_t{taken} * to.height;
    const std::int64_t end = begin + to.height;
    const std::int64_t boundary = std::int64_t{made + 1} * from.height;
    ++taken;
    if (end < boundary)
        return accumulate(row, static_cast<std::uint32_t>(to.height));
    accumulate(row, static_cast<std::uint32_t>(boundary - begin));
    emit();
    std::ranges::fill(sums, 0);
    if (end > boundary)
        accumulate(row, static_cast<std::uint32_t>(end - boundary));
}

void PixelReducer::accumulate(const unsigned char* row, std::uint32_t weight)
{
    std::uint32_t* into = sums.data();
    const std::size_t count = sums.size();
    for (std::size_t at = 0; at < count; ++at)
        into[at] += row[at] * weight;
}

/// Adds up the columns of a row of the result.
void PixelReducer::emit()
{
    std::uint32_t* out = result->row(made++);
    const double share = 1.0 / (static_cast<double>(from.width) * from.height);
    const auto step = static_cast<std::size_t>(channels);
    std::int64_t end = 0; // of the area, in the units above
    for (int x = 0; x < to.width; ++x) {
        const std::int64_t begin = std::exchange(end, end + from.width);
        std::uint64_t total[4] = {};
        const std::int64_t last = (end - 1) / to.width;
        for (std::int64_t column = begin / to.width; column <= last; ++column) {
            const std::int64_t covered =
                std::min(end, (column + 1) * to.width) - std::max(begin, column * to.width);
            const std::uint32_t* sum = sums.data() + static_cast<std::size_t>(column) * step;
            for (std::size_t channel = 0; channel < step; ++channel)
                total[channel] += std::uint64_t{sum[channel]} * static_cast<std::uint64_t>(covered);
        }
        unsigned value[4];
        for (std::size_t channel = 0; channel < step; ++channel)
            value[channel] = static_cast<unsigned>(static_cast<double>(total[channel]) * share + 0.5);
        switch (layout) {
        case RowLayout::rgb:
            out[x] = packed(255, value[0], value[1], value[2]);
            break;
        case RowLayout::rgba:
            out[x] = packed(value[3], value[0], value[1], value[2]);
            break;
        case RowLayout::pixels:
            out[x] = packed(value[pixelsAlpha], value[pixelsRed], value[pixelsGreen], value[pixelsBlue]);
            break;
        }
    }
}

PixelsPtr PixelReducer::finish()
{
    return std::exchange(result, nullptr);
}

PixelsPtr reduced(const Pixels& pixels, const PixelSize& to)
{
    PixelReducer reducer(pixels.size, to, RowLayout::pixels);
    for (int y = 0; y < pixels.size.height; ++y)
        reducer.add(reinterpret_cast<const unsigned char*>(pixels.row(y)));
    return reducer.finish();
}

} // namespace LumoKit::detail
