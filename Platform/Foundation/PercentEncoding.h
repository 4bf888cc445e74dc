#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace LumoKit {

/// The characters that stand for themselves in the query of a URL, those that separate its items among them.
/// Source: RFC 3986, section 3.4.
inline constexpr std::string_view urlQueryAllowed =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=:@/?";

/// A text with every byte that is none of `allowedCharacters`, which are ASCII, written as "%" and two upper-case
/// hexadecimal digits.
///
/// Errors: nothing when the text is no UTF-8.
/// Thread: any.
/// Source: RFC 3986, section 2.1.
[[nodiscard]] std::optional<std::string> addingPercentEncoding(
    std::string_view text, std::string_view allowedCharacters);

/// A text with everything that is neither a letter, a mark nor a digit, of whatever script, written as the bytes of
/// its UTF-8 form, each as "%" and two upper-case hexadecimal digits.
///
/// Errors: nothing when the text is no UTF-8.
/// Thread: any.
/// Source: Unicode Standard, section 4.5, categories L, M and Nd; RFC 3986, section 2.1.
[[nodiscard]] std::optional<std::string> addingPercentEncodingToAllButAlphanumerics(std::string_view text);

} // namespace LumoKit
