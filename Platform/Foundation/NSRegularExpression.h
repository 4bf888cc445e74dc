#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <cstddef>
#include <expected>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace LumoKit {

/// A compiled regular expression, which reads texts.
///
/// Bytes of a text that are no UTF-8 are read as U+FFFD, a few together as one; what is found is always a part
/// of the text itself. A search that would take for ever, as patterns with nested repetitions do, ends within
/// seconds as if there were no further match; so does one of more than two thousand million bytes.
///
/// Thread: any, but one at a time.
/// Source: ICU User Guide, Regular Expressions.
class NSRegularExpression {
public:
    enum class Options {
        none,
        caseInsensitive,
    };

    /// Compiles `pattern`.
    /// Errors: what is wrong with a pattern that is empty, no UTF-8, or no regular expression.
    [[nodiscard]] static std::expected<NSRegularExpression, Error> compile(
        std::string_view pattern, Options options);

    NSRegularExpression(NSRegularExpression&&) noexcept;
    NSRegularExpression& operator=(NSRegularExpression&&) noexcept;
    ~NSRegularExpression();

    /// Whether there is a match in the beginning of `text`, of which it takes no notice that more follows.
    /// Units of `length`: UTF-16, so that a character beyond the basic plane may be cut in two.
    [[nodiscard]] bool hasMatch(std::string_view text, std::size_t length);
    /// Whether the whole of `text` is a match.
    [[nodiscard]] bool matchesWhole(std::string_view text);
    /// All matches in `text` that do not overlap, in order.
    /// Lifetime: parts of `text`.
    [[nodiscard]] std::vector<std::string_view> matches(std::string_view text);
    /// The first match in `text` and, after it, what each of the pattern's groups holds there: nothing for a
    /// group that took no part.
    /// Errors: empty without a match.
    /// Lifetime: parts of `text`.
    [[nodiscard]] std::vector<std::optional<std::string_view>> firstMatch(std::string_view text);

private:
    struct Native;
    explicit NSRegularExpression(std::unique_ptr<Native> native);

    std::unique_ptr<Native> native; // never null but in what was moved from
};

} // namespace LumoKit
