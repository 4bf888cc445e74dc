#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>

namespace LumoKit {

namespace {

template <class T> Value valueOr(const std::optional<T>& content)
{
    return content ? Value(*content) : Value();
}

} // namespace

Value::Dictionary serialize(const HTTPCookie& cookie)
{
    const auto own = [&](NSHTTPCookiePropertyKey key) {
        const auto found = cookie.properties().find(key);
        return found == cookie.properties().end() ? Value() : found->second;
    };
    Value::Dictionary record;
    const auto put = [&](NSHTTPCookiePropertyKey key, Value value) {
        record.insert_or_assign(std::string(key), std::move(value));
    };
    put(NSHTTPCookieComment, valueOr(cookie.comment()));
    put(NSHTTPCookieCommentURL, valueOr(cookie.commentURL()));
    put(NSHTTPCookieDiscard, own(NSHTTPCookieDiscard));
    put(NSHTTPCookieDomain, cookie.domain());
    put(NSHTTPCookieExpires, own(NSHTTPCookieExpires));
    put(NSHTTPCookieMaximumAge, own(NSHTTPCookieMaximumAge));
    put(NSHTTPCookieOriginURL, own(NSHTTPCookieOriginURL));
    put(NSHTTPCookiePath, cookie.path());
    put(NSHTTPCookieName, cookie.name());
    put(NSHTTPCookieSecure, cookie.isSecure());
    put(NSHTTPCookieValue, cookie.value());
    put(NSHTTPCookieVersion, cookie.version());
    return record;
}

std::optional<HTTPCookie> deserialize(const Value::Dictionary& from)
{
    return HTTPCookie::create(from);
}

} // namespace LumoKit
