#include "PixelReducer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace LumoKit::detail {

namespace {

unsigned premultiply(unsigned value, unsigned alpha)
{
    const unsigned product = value * alpha + 128;
    return (product + (product >> 8))
        >> 8; // rounded to the nearest, as a division by 255 is, which takes longer
}

std::uint32_t packed(unsigned alpha, unsigned red, unsigned green, unsigned blue)
{
    return alpha << 24 | red << 16 | green << 8 | blue;
}

/// Adds numbers times a weight to sums. Factors of sixteen bits, which nearly all weights are, are multiplied several at once by
/// any processor; longer ones are not.
template <class Number>
void addWeighted(std::vector<std::uint32_t>& sums, const Number* numbers, std::uint32_t weight)
{
    std::uint32_t* into = sums.data();
    const std::size_t count = sums.size();
    if (weight > 0xFFFF) {
        for (std::size_t at = 0; at < count; ++at)
            into[at] += numbers[at] * weight;
        return;
    }
    const auto factor = static_cast<std::uint16_t>(weight);
    for (std::size_t at = 0; at < count; ++at)
        into[at] += std::uint32_t{static_cast<std::uint16_t>(numbers[at])} * factor;
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
    wholes.resize(sums.size());
    covered.reserve(static_cast<std::size_t>(to.width));
    for (std::int64_t x = 0; x < to.width; ++x) { // in the units below
        const std::int64_t begin = x * from.width;
        const std::int64_t end = begin + from.width;
        const std::int64_t first = begin / to.width;
        const std::int64_t last = (end - 1) / to.width;
        const std::int64_t ofFirst = std::min(end, (first + 1) * to.width) - begin;
        const std::int64_t ofLast = last > first ? end - last * to.width : 0;
        covered.push_back({static_cast<std::size_t>(first), static_cast<std::size_t>(last),
            static_cast<std::uint64_t>(ofFirst), static_cast<std::uint64_t>(ofLast)});
    }
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
        return accumulateWhole(row);
    addWeighted(sums, row, static_cast<std::uint32_t>(boundary - begin));
    foldWholeRows();
    channels == 3 ? emit<3>() : emit<4>();
    std::ranges::fill(sums, 0);
    if (end > boundary)
        addWeighted(sums, row, static_cast<std::uint32_t>(end - boundary));
}

/// Adds a whole row: most are, and short numbers are added several times as fast as long ones are multiplied.
void PixelReducer::accumulateWhole(const unsigned char* row)
{
    if (wholeRows == 257) // as many as there is room for
        foldWholeRows();
    ++wholeRows;
    std::uint16_t* into = wholes.data();
    const std::size_t count = wholes.size();
    for (std::size_t at = 0; at < count; ++at)
        into[at] = static_cast<std::uint16_t>(into[at] + row[at]);
}

void PixelReducer::foldWholeRows()
{
    if (std::exchange(wholeRows, 0) == 0)
        return;
    addWeighted(sums, wholes.data(), static_cast<std::uint32_t>(to.height));
    std::ranges::fill(wholes, 0);
}

/// Adds up the columns of a row of the result.
template <std::size_t channels> void PixelReducer::emit()
{
    std::uint32_t* out = result->row(made++);
    const double share = 1.0 / (static_cast<double>(from.width) * from.height);
    const auto whole = static_cast<std::uint64_t>(to.width);
    for (int x = 0; x < to.width; ++x) {
        const Columns& columns = covered[static_cast<std::size_t>(x)];
        const std::uint32_t* sum = sums.data() + columns.first * channels;
        const std::uint32_t* last = sums.data() + columns.last * channels;
        std::array<std::uint64_t, channels> total{};
        for (std::size_t channel = 0; channel < channels; ++channel)
            total[channel] = sum[channel] * columns.ofFirst + last[channel] * columns.ofLast;
        std::array<std::uint64_t, channels> between{};
        for (sum += channels; sum < last; sum += channels)
            for (std::size_t channel = 0; channel < channels; ++channel)
                between[channel] += sum[channel];
        for (std::size_t channel = 0; channel < channels; ++channel)
            total[channel] += between[channel] * whole;
        std::array<unsigned, channels> value;
        for (std::size_t channel = 0; channel < channels; ++channel)
            value[channel] = static_cast<unsigned>(
                static_cast<double>(static_cast<std::int64_t>(total[channel])) * share + 0.5);
        if constexpr (channels == 3)
            out[x] = packed(255, value[0], value[1], value[2]);
        else if (layout == RowLayout::rgba)
            out[x] = packed(value[3], value[0], value[1], value[2]);
        else
            out[x] = packed(value[pixelsAlpha], value[pixelsRed], value[pixelsGreen], value[pixelsBlue]);
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
