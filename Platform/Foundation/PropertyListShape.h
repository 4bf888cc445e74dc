#pragma once

#include <string_view>

namespace LumoKit::detail {

/// Whether a property list of XML can be handed to the library. That walks it recursively, and stops the process at a key with a
/// NUL character in it: a list that is nested thousands of levels deep would exhaust the stack.
///
/// It looks no further than at what it decides about; bytes that are no list at all may pass.
/// Thread: any.
[[nodiscard]] bool isSoundXML(std::string_view bytes);

} // namespace LumoKit::detail
