#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace LumoKit::detail {

/// The arguments of a command line that are links: texts that begin with one of the schemes, which are in lower
/// case, and ":". An argument is taken as it stands; one that is no UTF-8 is none.
///
/// `commandLine` is as the kernel keeps it: the program and its arguments, each ended by a NUL.
[[nodiscard]] std::vector<std::string> linksOn(
    std::string_view commandLine, const std::vector<std::string>& schemes);

} // namespace LumoKit::detail
