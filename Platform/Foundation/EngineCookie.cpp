#include "EngineCookie.h"

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <algorithm>

namespace LumoKit::detail {

namespace {

using Moment = std::unique_ptr<GDateTime, FreedBy<g_date_time_unref>>;

/// Whether a server reads a text as it is. "If the set-cookie-string contains a %x00-08 / %x0A-1F / %x7F
/// character (CTL characters excluding HTAB): abort" (RFC 6265bis, section 5.6); a ";" ends the text.
bool canBeSent(std::string_view text)
{
    return isUTF8(text) && std::ranges::none_of(text, [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return (byte < 0x20 && byte != '\t') || byte == 0x7F || byte == ';';
    });
}

/// Whether libsoup takes a cookie that other sites' requests may carry and that is not for secure connections alone. Newer
/// versions refuse it, as browsers do, and the session in it would be lost; "lax" is the nearest that they take.
bool areUnrestrictedTaken()
{
    static const bool taken = [] {
        const auto jar = ObjectPtr<SoupCookieJar>::adopt(soup_cookie_jar_new());
        constexpr int untilTheSessionEnds = -1;
        SoupCookie* cookie = soup_cookie_new("name", "value", "example.com", "/", untilTheSessionEnds);
        soup_cookie_set_same_site_policy(cookie, SOUP_SAME_SITE_POLICY_NONE);
        soup_cookie_jar_add_cookie(jar.get(), cookie); // takes it over
        GSList* all = soup_cookie_jar_all_cookies(jar.get());
        const bool isThere = all != nullptr;
        g_slist_free_full(all, [](gpointer each) { soup_cookie_free(static_cast<SoupCookie*>(each)); });
        return isThere;
    }();
    return taken;
}

SoupSameSitePolicy policyOf(const HTTPCookie& cookie)
{
    if (cookie.sameSitePolicy() == NSHTTPCookieSameSiteStrict)
        return SOUP_SAME_SITE_POLICY_STRICT;
    if (cookie.sameSitePolicy() == NSHTTPCookieSameSiteLax)
        return SOUP_SAME_SITE_POLICY_LAX;
    return cookie.isSecure() || areUnrestrictedTaken() ? SOUP_SAME_SITE_POLICY_NONE
                                                       : SOUP_SAME_SITE_POLICY_LAX;
}

} // namespace

EngineCookie engineCookie(const HTTPCookie& cookie)
{
    if (!canBeSent(cookie.name()) || !canBeSent(cookie.value()) || !canBeSent(cookie.domain())
        || !canBeSent(cookie.path()) || cookie.domain().empty()
        || cookie.name().find('=') != std::string::npos)
        return nullptr;
    constexpr int untilTheSessionEnds = -1;
    EngineCookie made(soup_cookie_new(cookie.name().c_str(), cookie.value().c_str(), cookie.domain().c_str(),
        cookie.path().c_str(), untilTheSessionEnds));
    soup_cookie_set_secure(made.get(), cookie.isSecure());
    soup_cookie_set_http_only(made.get(), cookie.isHTTPOnly());
    soup_cookie_set_same_site_policy(made.get(), policyOf(cookie));
    if (const auto& expires = cookie.expiresDate()) {
        // The years 1 to 9999, which is what the engine's dates reach.
        const double seconds =
            std::clamp(expires->time_since_epoch().count(), -62135596800.0, 253402300799.0);
        const Moment moment(g_date_time_new_from_unix_utc(static_cast<gint64>(seconds)));
        soup_cookie_set_expires(made.get(), moment.get());
    }
    return made;
}

std::optional<HTTPCookie> cookieOf(SoupCookie* cookie)
{
    Value::Dictionary properties;
    const auto put = [&](NSHTTPCookiePropertyKey key, Value value) {
        properties.insert_or_assign(std::string(key), std::move(value));
    };
    const auto text = [](const char* content) { return std::string(content ? content : ""); };
    put(NSHTTPCookieName, text(soup_cookie_get_name(cookie)));
    put(NSHTTPCookieValue, text(soup_cookie_get_value(cookie)));
    put(NSHTTPCookieDomain, text(soup_cookie_get_domain(cookie)));
    put(NSHTTPCookiePath, text(soup_cookie_get_path(cookie)));
    if (soup_cookie_get_secure(cookie))
        put(NSHTTPCookieSecure, true);
    if (soup_cookie_get_http_only(cookie))
        put(NSHTTPCookieHTTPOnly, true);
    const auto policy = soup_cookie_get_same_site_policy(cookie);
    if (policy != SOUP_SAME_SITE_POLICY_NONE)
        put(NSHTTPCookieSameSitePolicy,
            policy == SOUP_SAME_SITE_POLICY_STRICT ? NSHTTPCookieSameSiteStrict : NSHTTPCookieSameSiteLax);
    if (GDateTime* expires = soup_cookie_get_expires(cookie))
        put(NSHTTPCookieExpires, Date(std::chrono::seconds(g_date_time_to_unix(expires))));
    return HTTPCookie::create(properties);
}

} // namespace LumoKit::detail
