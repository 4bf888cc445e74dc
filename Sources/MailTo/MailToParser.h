#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

/// What a `mailto:` link asks for.
struct MailToParseResult {
    /// The addresses of the link's path, in its order; nothing when one of them is none.
    std::optional<std::vector<std::string>> recipients;
    std::optional<std::string> subject;
    std::optional<std::string> body;

    bool operator==(const MailToParseResult&) const = default;
};

/// Reads a `mailto:` link.
///
/// The path is decoded and then split at every ",", so that "%2C" separates too, and nothing is trimmed. What
/// passes for an address is narrower than what mail allows: ASCII, no quotes, a domain with a dot. Recipients
/// in the query ("to", "cc", "bcc") are not read; of two items of one name the first counts, even where it
/// has no value.
///
/// Errors: nothing when the text is no URL, or its scheme is not "mailto" in lower case.
/// Thread: any.
/// Source: RFC 6068, less what is said above.
[[nodiscard]] std::optional<MailToParseResult> parseMailTo(std::string_view urlString);

} // namespace LumoKit
