#pragma once

#include <string_view>

namespace LumoKit {

/// Writes one line to the system's log: to the journal where standard error leads there, and to standard error
/// with the time before it otherwise.
///
/// Thread: any.
void NSLog(std::string_view line);

} // namespace LumoKit
