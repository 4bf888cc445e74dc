#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace LumoKit {

/// A URL or relative reference, parsed once and never changed; copies share it.
///
/// Parsing is strict: a character that the grammar does not allow, a "%" without two hexadecimal digits, any
/// byte beyond ASCII and the empty text give nothing.
///
/// Thread: any.
/// Source: RFC 3986.
class URL {
public:
    /// Parses `text`.
    /// Errors: nothing when it is no URL reference.
    [[nodiscard]] static std::optional<URL> parse(std::string_view text);

    /// The `file:` URL of a path. A relative path is taken from the working directory.
    [[nodiscard]] static URL fileURL(std::string_view path);

    /// The text that was parsed, unchanged.
    [[nodiscard]] const std::string& absoluteString() const;

    /// As written, in the letter case as written.
    [[nodiscard]] std::optional<std::string> scheme() const;
    /// Decoded; nothing without user information.
    [[nodiscard]] std::optional<std::string> user() const;
    /// As written, still encoded.
    [[nodiscard]] std::optional<std::string> password() const;
    /// Decoded, an IPv6 address without its brackets; nothing where the authority is absent or empty.
    [[nodiscard]] std::optional<std::string> host() const;
    /// Nothing where it is absent, empty, or too large for the type.
    [[nodiscard]] std::optional<std::int64_t> port() const;
    /// Decoded, without a trailing "/" unless that is all.
    [[nodiscard]] std::string path() const;
    /// As written, still encoded.
    [[nodiscard]] std::string percentEncodedPath() const;
    /// As written, still encoded; nothing without "?", empty where nothing follows it.
    [[nodiscard]] std::optional<std::string> query() const;
    /// As written, still encoded; nothing without "#".
    [[nodiscard]] std::optional<std::string> fragment() const;

    /// The last segment of the path, decoded; "/" of the root, empty without a path.
    [[nodiscard]] std::string lastPathComponent() const;
    [[nodiscard]] bool isFileURL() const;

    /// Whether both were written alike.
    bool operator==(const URL& other) const;

private:
    friend class URLComponents;

    struct Parsed;
    explicit URL(std::shared_ptr<const Parsed> value)
        : parsed(std::move(value))
    {
    }

    std::shared_ptr<const Parsed> parsed; // never null
};

} // namespace LumoKit

template <> struct std::hash<LumoKit::URL> {
    std::size_t operator()(const LumoKit::URL& url) const noexcept
    {
        return std::hash<std::string_view>()(url.absoluteString());
    }
};
