#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <string>
#include <string_view>

namespace LumoKit::detail {

/// Whether a property list can hold the value: no null and no URL in it, no deeper nesting than
/// `Value::maximumDepth`, and no more than a million values.
/// Thread: any.
[[nodiscard]] bool isPropertyList(const Value& value);

/// A property list as bytes that keep every type and every bit: MessagePack, a date as the extension type 1 with the
/// eight bytes of its seconds.
/// Errors: the value must be a property list.
/// Thread: any.
/// Source: the MessagePack specification.
[[nodiscard]] std::string packed(const Value& value);

/// The property list that the bytes hold.
/// Errors: nothing for everything that `packed` does not write.
/// Thread: any.
[[nodiscard]] std::optional<Value> unpacked(std::string_view bytes);

} // namespace LumoKit::detail
