#pragma once

#include <LumoKit/Platform/Foundation/ProcessInfo.h>

#include <string_view>

namespace LumoKit::detail {

/// The numbers at the beginning of a text, with a "." between: 6.1.0 of "6.1.0-13-amd64".
/// Thread: any.
[[nodiscard]] OperatingSystemVersion versionIn(std::string_view text);

} // namespace LumoKit::detail
