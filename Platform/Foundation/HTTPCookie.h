#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

/// The name of a property of a cookie.
using NSHTTPCookiePropertyKey = std::string_view;

inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieComment = "Comment";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieCommentURL = "CommentURL";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieCreated = "Created";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieDiscard = "Discard";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieDomain = "Domain";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieExpires = "Expires";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieHTTPOnly = "HttpOnly";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieMaximumAge = "Max-Age";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieName = "Name";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieOriginURL = "OriginURL";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookiePath = "Path";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookiePort = "Port";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieSameSitePolicy = "SameSite";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieSecure = "Secure";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieValue = "Value";
inline constexpr NSHTTPCookiePropertyKey NSHTTPCookieVersion = "Version";

inline constexpr std::string_view NSHTTPCookieSameSiteLax = "lax";
inline constexpr std::string_view NSHTTPCookieSameSiteStrict = "strict";

/// A cookie. It never changes: a different one is made from its properties.
///
/// Thread: any.
/// Source: RFC 6265; comments, ports and versions are of RFC 2965, which it replaces.
class HTTPCookie {
public:
    /// A cookie of `properties`; null values count as absent, and keys that no cookie has are ignored.
    ///
    /// Name, Value and Path are needed, and Domain or OriginURL, whose host it then is. Flags are booleans,
    /// numbers, or texts, of which the empty one, "0", "no", "n", "false" and "f" in any letter case are false.
    /// A moment is a date or a text as in an HTTP header; ports, the version and the age are texts or numbers,
    /// and addresses are texts or URLs.
    ///
    /// A cookie is kept until Expires, or else for Max-Age seconds from now, and only for the session where
    /// neither can be read and where Discard is true.
    /// Errors: nothing when something needed is missing, and when a property is of a type that it cannot be.
    /// A text that cannot be read as what it stands for is as good as absent.
    [[nodiscard]] static std::optional<HTTPCookie> create(const Value::Dictionary& properties);

    /// Lifetime of what these refer to: until this cookie is assigned to or destroyed.
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] const std::string& value() const { return value_; }
    /// In lower case. With a "." before it, it is for the hosts below, too; without, for this host alone.
    [[nodiscard]] const std::string& domain() const { return domain_; }
    /// As it was given.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// 0 or 1.
    [[nodiscard]] std::int64_t version() const { return version_; }
    [[nodiscard]] const std::optional<std::string>& comment() const { return comment_; }
    [[nodiscard]] const std::optional<URL>& commentURL() const { return commentURL_; }
    /// The ports to which it may be sent, of version 0 only the first; empty where all of them are.
    [[nodiscard]] const std::vector<std::int64_t>& portList() const { return portList_; }

    /// To the second. Nothing for a cookie of the session.
    [[nodiscard]] const std::optional<Date>& expiresDate() const { return expiresDate_; }
    [[nodiscard]] bool isSessionOnly() const { return !expiresDate_; }
    /// Whether it is sent over encrypted connections alone.
    [[nodiscard]] bool isSecure() const { return secure; }
    /// Whether it is kept from the page's script.
    [[nodiscard]] bool isHTTPOnly() const { return httpOnly; }
    /// `NSHTTPCookieSameSiteLax` or `NSHTTPCookieSameSiteStrict`; nothing where other sites' requests may
    /// carry it.
    [[nodiscard]] std::optional<std::string_view> sameSitePolicy() const;

    /// The properties that this cookie was made of, as they came, with its domain, and with its expiry as a
    /// date: an equal cookie can be made of them.
    [[nodiscard]] const Value::Dictionary& properties() const { return properties_; }

    /// Whether both are of the same properties.
    bool operator==(const HTTPCookie& other) const { return properties_ == other.properties_; }

private:
    HTTPCookie() = default;

    class Reader;

    std::string name_;
    std::string value_;
    std::string domain_;
    std::string path_;
    std::int64_t version_ = 0;
    std::optional<std::string> comment_;
    std::optional<URL> commentURL_;
    std::vector<std::int64_t> portList_;
    std::optional<Date> expiresDate_;
    bool secure = false;
    bool httpOnly = false;
    std::string_view sameSite; // one of the two constants, or empty
    Value::Dictionary properties_;
};

} // namespace LumoKit
