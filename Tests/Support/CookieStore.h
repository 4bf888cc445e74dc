#pragma once

#include "Support/Waiting.h"

#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit::Test {

inline Value::Dictionary cookieProperties(Value::Dictionary more)
{
    more.insert({{"Name", "sid"}, {"Value", "abc"}, {"Domain", "127.0.0.1"}, {"Path", "/"}});
    return more;
}

/// A cookie of this machine's address for the session, or with other properties.
inline HTTPCookie makeCookie(const Value::Dictionary& more = {})
{
    return HTTPCookie::create(cookieProperties(more)).value();
}

/// All cookies of a store, ordered by their names.
inline std::vector<HTTPCookie> cookiesOf(WKHTTPCookieStore& store)
{
    std::optional<std::vector<HTTPCookie>> all;
    store.getAllCookies([&](std::vector<HTTPCookie> cookies) { all = std::move(cookies); });
    if (!waitUntil([&] { return all.has_value(); }))
        return {};
    std::ranges::sort(
        *all, {}, [](const HTTPCookie& cookie) { return std::pair(cookie.name(), cookie.domain()); });
    return *all;
}

[[nodiscard]] inline bool setAndWait(WKHTTPCookieStore& store, const HTTPCookie& cookie)
{
    bool done = false;
    store.setCookie(cookie, [&] { done = true; });
    return waitUntil([&] { return done; });
}

[[nodiscard]] inline bool removeAndWait(
    WKWebsiteDataStore& store, const std::set<std::string_view>& types, Date since = distantPast)
{
    bool done = false;
    store.removeData(types, since, [&] { done = true; });
    return waitUntil([&] { return done; });
}

} // namespace LumoKit::Test
