#pragma once

#include <LumoKit/Platform/Foundation/HTTPCookie.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <libsoup/soup.h>

#include <memory>
#include <optional>

namespace LumoKit::detail {

using EngineCookie = std::unique_ptr<SoupCookie, FreedBy<soup_cookie_free>>;

/// The engine's form of a cookie. Both take a "." before the domain for a cookie of the hosts below, too.
/// Errors: nothing for a cookie that a server would read as something else: see `WKHTTPCookieStore::setCookie`.
/// Thread: any.
[[nodiscard]] EngineCookie engineCookie(const HTTPCookie& cookie);

/// The cookie that the engine has.
/// Thread: any.
[[nodiscard]] std::optional<HTTPCookie> cookieOf(SoupCookie* cookie);

} // namespace LumoKit::detail
