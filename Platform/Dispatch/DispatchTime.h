#pragma once

#include <chrono>

namespace LumoKit {

/// A moment on the clock that never jumps; it stands still while the machine sleeps.
using DispatchTime = std::chrono::steady_clock::time_point;

/// The moment `seconds` from now.
///
/// What is not a number counts as zero, and what lies beyond the clock's range as its nearest end.
/// Units: seconds, negative for the past.
[[nodiscard]] DispatchTime dispatchTimeAfter(double seconds);

} // namespace LumoKit
