#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <string_view>

namespace LumoKit {

/// Reads a JSON text.
///
/// A number without fraction and exponent that a signed 64-bit integer holds arrives as an integer, every
/// other one as a fractional number. Of entries with the same name the last one counts.
/// Errors: nothing for what is no JSON text, is nested deeper than `Value::maximumDepth`, holds an escaped
/// surrogate without its partner, or a whole number of more than 64 bits.
/// Thread: any.
/// Source: RFC 8259.
[[nodiscard]] std::optional<Value> readJSON(std::string_view text);

} // namespace LumoKit
