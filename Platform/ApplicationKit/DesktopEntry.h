#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace LumoKit::detail {

/// The text of a desktop entry that starts a program with the links that it is to open: all of them on one command
/// line, so that they keep their order.
///
/// Source: Desktop Entry Specification.
[[nodiscard]] std::string desktopEntry(
    std::string_view name, std::string_view program, const std::vector<std::string>& schemes);

} // namespace LumoKit::detail
