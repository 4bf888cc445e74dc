#include <LumoKit/Platform/Foundation/HTTPCookie.h>

#include <libsoup/soup.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>

namespace LumoKit {

namespace {

std::string lowercased(std::string_view text)
{
    std::string lower(text);
    for (char& character : lower)
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    return lower;
}

/// RFC 6265, section 5.1.1, as the engine reads it in headers.
std::optional<Date> dateIn(const std::string& text)
{
    if (text.find('\0') != text.npos)
        return std::nullopt;
    const std::unique_ptr<GDateTime, decltype(&g_date_time_unref)> moment(
        soup_date_time_new_from_http_string(text.c_str()), &g_date_time_unref);
    if (!moment)
        return std::nullopt;
    return Date(std::chrono::seconds(g_date_time_to_unix(moment.get())));
}

/// The whole text as a decimal number. One that is too large is the largest there is.
std::optional<std::int64_t> numberIn(std::string_view text)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return text.front() == '-' ? std::numeric_limits<std::int64_t>::min()
                                   : std::numeric_limits<std::int64_t>::max();
    return number;
}

/// A number of any size, the nearest where it is not exact.
std::optional<double> numberOf(const Value& value)
{
    if (const auto whole = value.asInteger())
        return static_cast<double>(*whole);
    return value.asNumber();
}

} // namespace

/// Reads a cookie's properties one by one, and keeps those that say something.
class HTTPCookie::Reader {
public:
    explicit Reader(const Value::Dictionary& properties)
        : given(properties)
    {
    }

    std::optional<HTTPCookie> read()
    {
        const auto name = text(NSHTTPCookieName);
        const auto value = text(NSHTTPCookieValue);
        const auto path = text(NSHTTPCookiePath);
        const auto domain = readDomain();
        if (!name || !value || !path || !domain)
            return std::nullopt;
        cookie.name_ = *name;
        cookie.value_ = *value;
        cookie.path_ = *path;
        cookie.domain_ = *domain;
        cookie.properties_.insert_or_assign(std::string(NSHTTPCookieDomain), *domain);

        cookie.version_ = number(NSHTTPCookieVersion).value_or(0) == 1 ? 1 : 0;
        cookie.comment_ = text(NSHTTPCookieComment);
        cookie.commentURL_ = url(NSHTTPCookieCommentURL);
        cookie.secure = flag(NSHTTPCookieSecure);
        cookie.httpOnly = flag(NSHTTPCookieHTTPOnly);
        readSameSite();
        readPorts();
        readExpiry();
        keep(NSHTTPCookieCreated, number(NSHTTPCookieCreated).has_value());
        if (mistyped)
            return std::nullopt;
        return std::move(cookie);
    }

private:
    /// The property as it was given; null where there is none.
    const Value& property(NSHTTPCookiePropertyKey key) const
    {
        static const Value null;
        const auto found = given.find(key);
        return found == given.end() ? null : found->second;
    }

    void keep(NSHTTPCookiePropertyKey key, bool says)
    {
        if (says)
            cookie.properties_.insert_or_assign(std::string(key), property(key));
    }

    std::optional<std::string> text(NSHTTPCookiePropertyKey key)
    {
        const Value& value = property(key);
        const std::string* read = value.asText();
        mistyped |= !read && !value.isNull();
        keep(key, read);
        return read ? std::optional(*read) : std::nullopt;
    }

    std::optional<URL> url(NSHTTPCookiePropertyKey key)
    {
        const Value& value = property(key);
        const auto read = value.asText() ? URL::parse(*value.asText()) : value.asURL();
        mistyped |= !read && !value.asText() && !value.isNull();
        keep(key, read.has_value());
        return read;
    }

    bool flag(NSHTTPCookiePropertyKey key)
    {
        const Value& value = property(key);
        std::optional<bool> read = value.asBoolean();
        if (const auto number = numberOf(value))
            read = *number != 0;
        if (const auto* text = value.asText()) {
            static constexpr std::string_view no[]{"", "0", "no", "n", "false", "f"};
            read = std::ranges::find(no, lowercased(*text)) == std::end(no);
        }
        mistyped |= !read && !value.isNull();
        keep(key, read.has_value());
        return read.value_or(false);
    }

    std::optional<double> number(NSHTTPCookiePropertyKey key)
    {
        const Value& value = property(key);
        if (const auto* text = value.asText()) {
            const auto whole = numberIn(*text);
            keep(key, whole.has_value());
            return whole ? std::optional(static_cast<double>(*whole)) : std::nullopt;
        }
        auto read = numberOf(value);
        mistyped |= !read && !value.isNull();
        if (read && !std::isfinite(*read))
            read.reset();
        keep(key, read.has_value());
        return read;
    }

    std::optional<std::string> readDomain()
    {
        const auto origin = url(NSHTTPCookieOriginURL);
        auto domain = text(NSHTTPCookieDomain);
        if (!domain && origin)
            domain = origin->host();
        return domain ? std::optional(lowercased(*domain)) : std::nullopt;
    }

    void readSameSite()
    {
        const auto given = text(NSHTTPCookieSameSitePolicy);
        const std::string policy = given ? lowercased(*given) : "";
        for (const std::string_view known : {NSHTTPCookieSameSiteLax, NSHTTPCookieSameSiteStrict})
            if (policy == known)
                cookie.sameSite = known;
    }

    void readPorts()
    {
        const Value& value = property(NSHTTPCookiePort);
        const std::string list = value.asText() ? *value.asText()
            : value.asInteger()                 ? std::to_string(*value.asInteger())
                                                : "";
        mistyped |= !value.asText() && !value.asInteger() && !value.isNull();
        keep(NSHTTPCookiePort, !value.isNull());
        std::string_view rest = list;
        while (!rest.empty()) {
            const auto comma = std::min(rest.find(','), rest.size());
            const auto port = numberIn(rest.substr(0, comma));
            if (port && *port >= 0 && *port <= 65535)
                cookie.portList_.push_back(*port);
            rest.remove_prefix(std::min(comma + 1, rest.size()));
            if (cookie.version_ == 0 && !cookie.portList_.empty())
                break;
        }
    }

    void readExpiry()
    {
        const Value& value = property(NSHTTPCookieExpires);
        auto expires = value.asText() ? dateIn(*value.asText()) : value.asDate();
        mistyped |= !expires && !value.asText() && !value.isNull();
        if (expires && !std::isfinite(expires->time_since_epoch().count()))
            expires.reset();
        const auto age = number(NSHTTPCookieMaximumAge);
        if (!expires && age)
            expires = std::chrono::system_clock::now() + std::chrono::duration<double>(*age);
        if (expires) {
            expires = Date(std::chrono::duration<double>(std::round(expires->time_since_epoch().count())));
            cookie.properties_.insert_or_assign(std::string(NSHTTPCookieExpires), *expires);
        }
        if (!flag(NSHTTPCookieDiscard))
            cookie.expiresDate_ = expires;
    }

    const Value::Dictionary& given;
    HTTPCookie cookie;
    bool mistyped = false;
};

std::optional<HTTPCookie> HTTPCookie::create(const Value::Dictionary& properties)
{
    return Reader(properties).read();
}

std::optional<std::string_view> HTTPCookie::sameSitePolicy() const
{
    return sameSite.empty() ? std::nullopt : std::optional(sameSite);
}

} // namespace LumoKit
