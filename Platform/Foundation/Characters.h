#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace LumoKit {

/// The first `count` characters of a text, as its reader would count them: a letter with its accents, a
/// joined emoji and a carriage return with its line feed are one each.
///
/// Bytes that are no UTF-8 count as one character each or a few together, and are kept.
/// Errors: nothing when the text has fewer.
/// Lifetime: a part of `text`.
/// Thread: any.
/// Source: Unicode Standard Annex 29, extended grapheme clusters.
[[nodiscard]] std::optional<std::string_view> firstCharacters(std::string_view text, std::size_t count);

/// How many characters a text has, as its reader would count them.
///
/// Thread: any.
/// Source: Unicode Standard Annex 29, extended grapheme clusters, as `firstCharacters` takes them.
[[nodiscard]] std::size_t characterCount(std::string_view text);

/// Whether two texts are the same to their reader: a letter with an accent is, whether it is written as one code
/// point or as two. Bytes that are no UTF-8 are only the same as themselves.
/// Thread: any.
/// Source: Unicode Standard Annex 15, canonical equivalence.
[[nodiscard]] bool areCanonicallyEqual(std::string_view one, std::string_view other);

/// A text in lower or in upper case, of no language in particular; one that is no UTF-8 as it is.
/// Thread: any.
[[nodiscard]] std::string lowercased(std::string_view text);
[[nodiscard]] std::string uppercased(std::string_view text);

/// Whether bytes are UTF-8.
/// Thread: any.
/// Source: RFC 3629.
[[nodiscard]] bool isUTF8(std::string_view bytes);

} // namespace LumoKit
