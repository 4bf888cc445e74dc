#pragma once

#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Utility/URLConvertible.h>

namespace Host {

inline constexpr const char* name = "@{name|cpp}";

/// The web application's first page.
inline LumoKit::URL home()
{
    return LumoKit::staticURL("@{url|cpp}");
}

/// Whether a page that was loaded tells that somebody is signed in, so that its cookies are worth keeping: any page of the
/// application's own server. If yours asks for passwords there, leave that page out.
inline bool isSignedIn(const LumoKit::URL& page, const LumoKit::URL& home)
{
    return page.scheme() == home.scheme() && page.host() == home.host();
}

} // namespace Host
