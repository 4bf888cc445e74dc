#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

// Regular expressions on texts. How hostile texts are read and endless searches end is told at
// `NSRegularExpression`. Source of all three: ICU User Guide, Regular Expressions.

/// Whether `regex` matches somewhere in `text`, upper and lower case alike; not for a pattern that does not
/// compile.
///
/// Only the beginning of `text` is searched, as many units of UTF-16 as it has characters to a reader: one
/// emoji takes its last unit from the search, and so does a combining accent or a carriage return before a
/// line feed.
///
/// Thread: any.
[[nodiscard]] bool test(std::string_view text, std::string_view regex);

/// The text of all matches of `withRegex` in `text` that do not overlap, in order; none for a pattern that
/// does not compile, which is printed.
///
/// Errors: stops the process without a pattern.
/// Thread: any.
[[nodiscard]] std::vector<std::string> matches(
    std::string_view text, const std::optional<std::string>& withRegex);

/// What the groups of `withRegex` hold in its first match in `text`, in the order of the groups, the empty
/// text for one that took no part; none without a match, for a pattern without groups, and for one that does
/// not compile.
///
/// Thread: any.
[[nodiscard]] std::vector<std::string> capturedGroups(std::string_view text, std::string_view withRegex);

} // namespace LumoKit
