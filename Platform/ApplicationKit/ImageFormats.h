#pragma once

#include "Pixels.h"

#include <functional>
#include <optional>
#include <string_view>

namespace LumoKit::detail {

/// A kind of image file. `size` and `decode` are asked only of bytes that begin as files of this kind do.
struct ImageFormat {
    /// Whether the bytes begin like a file of this kind.
    bool (*matches)(std::string_view bytes);
    /// What the file's head says.
    /// Errors: nothing for a head that is damaged or cut off.
    std::optional<PixelSize> (*size)(std::string_view bytes);
    /// The picture, reduced to a size that is at most its own.
    /// Errors: null for a file that is damaged or cut off.
    PixelsPtr (*decode)(std::string_view bytes, const PixelSize& own, const PixelSize& target);
};

extern const ImageFormat jpegFormat;
extern const ImageFormat pngFormat;
extern const ImageFormat gifFormat; // the first picture of several
extern const ImageFormat webpFormat; // one picture; none of a moving one

} // namespace LumoKit::detail
