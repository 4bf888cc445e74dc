#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <span>

namespace LumoKit {

/// Reads a property list, XML or binary.
///
/// Texts, numbers, booleans, dates, data, arrays and dictionaries arrive as what they are; a unique
/// identifier of an archive arrives as a number.
/// Errors: nothing when the bytes are no property list.
/// Thread: any.
[[nodiscard]] std::optional<Value> readPropertyList(std::span<const std::byte> bytes);

} // namespace LumoKit
