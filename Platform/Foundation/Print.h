#pragma once

#include <string_view>

namespace LumoKit {

/// Writes one line to standard output, at once: `line` and a line feed, neither buffered nor mixed with
/// another thread's line.
///
/// Thread: any.
void print(std::string_view line);

} // namespace LumoKit
