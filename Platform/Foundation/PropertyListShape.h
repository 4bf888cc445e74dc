#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace LumoKit::detail {

/// What a list may need: some four million values.
/// Units: bytes.
inline constexpr std::uint64_t propertyListMemory = std::uint64_t(512) << 20;

/// Whether a property list can be handed to the library. That walks it recursively, writes out whatever is referred to
/// twice, and stops the process at a key with a NUL character in it: a list that is nested thousands of levels deep would
/// exhaust the stack, and one whose few objects refer to each other again and again would exhaust the memory.
///
/// Both look no further than at what they decide about; bytes that are no list at all may pass.
/// Thread: any.
[[nodiscard]] bool isSoundXML(std::string_view bytes);
[[nodiscard]] bool isSoundBinary(std::string_view bytes);

/// What the library needs at most for a binary list; nothing for one that is not sound, or needs more than
/// `maximum`.
/// Units: bytes.
/// Thread: any.
[[nodiscard]] std::optional<std::uint64_t> memoryOfBinary(std::string_view bytes, std::uint64_t maximum);

} // namespace LumoKit::detail
