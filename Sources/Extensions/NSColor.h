#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>

#include <string_view>

namespace LumoKit {

/// The colour whose red, green and blue are the low three bytes of a hexadecimal number: "#336699", "336699".
///
/// The text is one "#" at most, a sign at most, and digits: whatever their number, no short form is expanded
/// ("#FFF" is 0x000FFF) and no digits beyond the last six count ("-1" is white).
///
/// Errors: stops the process for a text that is no such number, or one that does not fit in 64 bits.
/// Units of `alpha`: 0 to 1.
/// Thread: any.
[[nodiscard]] NSColor color(std::string_view hex, double alpha);

} // namespace LumoKit
