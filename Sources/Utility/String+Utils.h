#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace LumoKit {

/// The beginning of `text` followed by `appending`, which is appended also to a text that was short enough.
///
/// The room left for the beginning is counted in bytes and then taken in characters, as users count them.
/// Texts of ASCII alone so come out at most `to` bytes long; a text that has fewer characters than that is a
/// mistake of the caller.
///
/// Errors: stops the process when `to` leaves no room for `appending`, and when the text has fewer characters
/// than the smaller of its bytes and that room.
/// Units of `to`: bytes of UTF-8.
/// Thread: any.
[[nodiscard]] std::string clipped(std::string_view text, std::int64_t to, std::string_view appending);

} // namespace LumoKit
