#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <span>

namespace LumoKit {

/// Reads a property list, XML or binary.
///
/// Texts, numbers, booleans, dates, data, arrays and dictionaries arrive as what they are; a unique identifier of
/// an archive arrives as a number. What is nested more than `Value::maximumDepth` levels deep arrives as null.
/// Errors: nothing when the bytes are no property list, when XML has a NUL character in it or is nested more than
/// 4,096 levels deep, when a binary list holds itself, and when it needs more than a quarter of a gigabyte (some two
/// million values), written out.
/// Thread: any.
[[nodiscard]] std::optional<Value> readPropertyList(std::span<const std::byte> bytes);

} // namespace LumoKit
