#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <concepts>
#include <optional>
#include <source_location>
#include <string_view>

namespace LumoKit {

/// The URL itself.
/// Thread: any.
[[nodiscard]] std::optional<URL> asURL(const URL& url);

/// The URL that a text is.
/// Errors: nothing when it is none, as `URL::parse` decides.
/// Thread: any.
[[nodiscard]] std::optional<URL> asURL(std::string_view text);

/// What can give a URL: a URL, a text, and any type of a host's with a function `asURL` beside it.
template <class T>
concept URLConvertible = requires(const T& value) {
    { asURL(value) } -> std::same_as<std::optional<URL>>;
};

namespace detail {

constexpr bool isHexadecimal(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F')
        || (character >= 'a' && character <= 'f');
}

/// Whether a text has only characters of URLs, whole escapes, and one fragment at most.
constexpr bool hasCharactersOfURL(std::string_view text)
{
    constexpr std::string_view allowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~:/?#[]@!$&'()*+,;=%";
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (!allowed.contains(text[index]))
            return false;
        if (text[index] == '%'
            && (index + 2 >= text.size() || !isHexadecimal(text[index + 1])
                || !isHexadecimal(text[index + 2])))
            return false;
    }
    return !text.empty() && text.find('#') == text.rfind('#');
}

} // namespace detail

/// The text of a URL that stands in the program. One with characters that no URL has, with a broken escape,
/// with two fragments, and the empty one do not compile.
/// Source: RFC 3986, appendix A.
class StaticURLString {
public:
    consteval StaticURLString(const char* text) // NOLINT(google-explicit-constructor): a literal is passed
        : text(text)
    {
        if (!detail::hasCharactersOfURL(this->text))
            throw "this text is no URL";
    }

    [[nodiscard]] constexpr std::string_view value() const { return text; }

private:
    std::string_view text;
};

/// The URL that stands in the program, as in `staticURL("https://example.com/")`.
/// Errors: stops the process when it is none for another reason than those that do not compile.
/// Thread: any.
[[nodiscard]] URL staticURL(
    StaticURLString staticString, std::source_location where = std::source_location::current());

} // namespace LumoKit
