#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <optional>
#include <string>
#include <string_view>

namespace Host {

/// What a link asks for: an account to be shown, or a page.
struct Wish {
    std::optional<std::string> account;
    std::optional<LumoKit::URL> page;
};

/// Anybody can send a link: a page is taken only if it is one of the web application at `home`, an account only if it has
/// an address.
/// Errors: nothing for any other link.
[[nodiscard]] std::optional<Wish> wishOf(std::string_view link, const LumoKit::URL& home);

} // namespace Host
