#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace LumoKit {

/// The word for a count of things: the word itself for exactly 1; for every other count the plural form, or
/// the word with an "s" where none is given.
/// Thread: any.
[[nodiscard]] std::string pluralize(
    const std::string& word, std::int64_t count, const std::optional<std::string>& plural = std::nullopt);

} // namespace LumoKit
