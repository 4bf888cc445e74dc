#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

/// One argument in the query of a URL.
struct URLQueryItem {
    std::string name;
    /// Nothing where the item is written without "=", empty where nothing follows it.
    std::optional<std::string> value;

    bool operator==(const URLQueryItem&) const = default;
};

/// The parts of a URL, decoded; copies share them.
///
/// A "+" stays one: only percent escapes stand for other characters. Every part is UTF-8: one whose escapes
/// are none is absent, and empty where it cannot be absent.
///
/// Thread: any.
/// Source: RFC 3986.
class URLComponents {
public:
    /// The parts of `text`.
    /// Errors: nothing when it is no URL reference, as `URL::parse` decides.
    [[nodiscard]] static std::optional<URLComponents> parse(std::string_view text);

    explicit URLComponents(URL url)
        : url(std::move(url))
    {
    }

    /// As written, in the letter case as written.
    [[nodiscard]] std::optional<std::string> scheme() const;
    [[nodiscard]] std::optional<std::string> user() const;
    [[nodiscard]] std::optional<std::string> password() const;
    /// An IPv6 address without its brackets; empty where the authority is, nothing where there is none.
    [[nodiscard]] std::optional<std::string> host() const;
    /// Nothing where it is absent, empty, or too large for the type.
    [[nodiscard]] std::optional<std::int64_t> port() const;
    /// Unlike that of a URL with its trailing "/".
    [[nodiscard]] std::string path() const;
    /// Nothing without "?", empty where nothing follows it.
    [[nodiscard]] std::optional<std::string> query() const;
    /// Nothing without "#".
    [[nodiscard]] std::optional<std::string> fragment() const;

    /// What stands between "&", in the order of the query; none where nothing follows the "?", and nothing
    /// without "?". The query is split before it is decoded, so that "%26" and "%3D" are part of a name or a
    /// value.
    [[nodiscard]] std::optional<std::vector<URLQueryItem>> queryItems() const;
    /// The value of the first of `queryItems()` that has this name; the others are not decoded for it.
    /// Errors: nothing without such an item, and when that first one has no value.
    [[nodiscard]] std::optional<std::string> firstQueryValue(std::string_view name) const;

private:
    URL url;
};

} // namespace LumoKit
