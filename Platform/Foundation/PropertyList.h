#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <span>

namespace LumoKit {

/// Reads a property list, XML or binary.
///
/// Texts, numbers, booleans, dates, data, arrays and dictionaries arrive as what they are; a unique identifier of
/// an archive arrives as a number. A text ends at its first NUL character.
/// Errors: nothing when the bytes are no property list, when a key has a NUL character in it, when the list is
/// nested more than 4,096 levels deep or holds itself, and when it would need more than half a gigabyte (some four
/// million values) if it were written out.
/// Thread: any.
[[nodiscard]] std::optional<Value> readPropertyList(std::span<const std::byte> bytes);

} // namespace LumoKit
