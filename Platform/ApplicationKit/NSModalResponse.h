#pragma once

#include <cstdint>

namespace LumoKit {

/// How a panel, a sheet or a modal session ended.
using NSModalResponse = std::int64_t;

/// The user confirmed, or took it back.
inline constexpr NSModalResponse NSModalResponseOK = 1;
inline constexpr NSModalResponse NSModalResponseCancel = 0;
/// `NSApplication::stopModal` or `abortModal` ended a modal session. Sessions are also aborted when their window
/// goes and when the application ends.
inline constexpr NSModalResponse NSModalResponseStop = -1000;
inline constexpr NSModalResponse NSModalResponseAbort = -1001;

/// The first, second and third button of an alert; further ones count on.
inline constexpr NSModalResponse NSAlertFirstButtonReturn = 1000;
inline constexpr NSModalResponse NSAlertSecondButtonReturn = 1001;
inline constexpr NSModalResponse NSAlertThirdButtonReturn = 1002;

} // namespace LumoKit
