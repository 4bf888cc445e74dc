#pragma once

#include "Pixels.h"

#include <optional>
#include <string_view>

namespace LumoKit::detail {

/// What is decoded at most: 25 million pixels, which are a hundred megabytes.
constexpr std::size_t largestImageArea = 25'000'000;
/// Units: bytes, as they come.
constexpr std::size_t largestImageFile = 32 << 20;

/// The size of the picture in an image file: JPEG, PNG, GIF or WebP, known by their first bytes. Nothing else is looked
/// at, and drawings that refer to other files (SVG) are none of these.
///
/// Errors: nothing for anything else, and for a picture or a file beyond the bounds above. The rest of the file may still
/// be damaged.
/// Thread: any.
[[nodiscard]] std::optional<PixelSize> imageSize(std::string_view bytes);

/// Decodes the picture at a size, which is reduced to the picture's own where it is larger. What is needed for a small
/// picture is a fraction of what its full size would need, as far as the format has it.
///
/// Errors: null for what has no `imageSize`, and for a file that is damaged or cut off.
/// Thread: any; not the main thread where it matters.
[[nodiscard]] PixelsPtr decodeImage(std::string_view bytes, const PixelSize& target);

} // namespace LumoKit::detail
