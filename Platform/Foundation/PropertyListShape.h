#pragma once

#include <string_view>

namespace LumoKit::detail {

/// Whether a property list can be handed to the library. That walks it recursively, writes out whatever is referred to
/// twice, and stops the process at a key with a NUL character in it: a list that is nested thousands of levels deep would
/// exhaust the stack, and one whose few objects refer to each other again and again would exhaust the memory.
///
/// Both look no further than at what they decide about; bytes that are no list at all may pass.
/// Thread: any.
[[nodiscard]] bool isSoundXML(std::string_view bytes);
[[nodiscard]] bool isSoundBinary(std::string_view bytes);

} // namespace LumoKit::detail
