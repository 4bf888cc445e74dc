#pragma once

#include "ApplicationKit/NSImageNative.h"

#include <LumoKit/Platform/Foundation/Value.h>

#include <cstdint>
#include <functional>
#include <string>

namespace LumoKit::Test {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    bool operator==(const Colour&) const = default;
};

constexpr Colour red{220, 40, 30};
constexpr Colour blue{20, 60, 200};
constexpr Colour transparent{0, 0, 0, 0};

/// What a picture has at a place, from the top left.
using Paint = std::function<Colour(int x, int y)>;

/// Image files of a picture.
std::string pngFile(int width, int height, const Paint& paint, bool hasAlpha = false);
/// Whose rows come in seven passes.
std::string interlacedPNGFile(int width, int height, const Paint& paint);
std::string jpegFile(int width, int height, const Paint& paint, bool progressive = false);
std::string webpFile(int width, int height, const Paint& paint);
/// With so many pictures, of which the first is red, the second blue, and so on.
std::string gifFile(int width, int height, int pictures = 1);

/// A photograph, more or less: soft, with grain.
Colour photograph(int x, int y);

Data dataOf(const std::string& bytes);

/// A pixel of a decoded picture, premultiplied, from the top left.
Colour at(const detail::Pixels& pixels, int x, int y);

/// Whether no component differs by more.
bool isNear(const Colour& one, const Colour& other, int difference = 6);

/// The most memory that this process has had at once.
/// Units: MB.
long peakMemory();

} // namespace LumoKit::Test
