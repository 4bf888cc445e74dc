#include "Links.h"

#include <LumoKit/Utility/URLCommandParser.h>

namespace Host {

using namespace LumoKit;

std::optional<Wish> wishOf(std::string_view link, const URL& home)
{
    static const URLCommandParser parser(
        {urlCommandType<OpenAccountCommand>, urlCommandType<OpenURLCommand>});
    const auto command = parser.parse(link);
    if (const auto* account = dynamic_cast<const OpenAccountCommand*>(command.get());
        account && !account->email.empty())
        return Wish{account->email, std::nullopt};
    if (const auto* open = dynamic_cast<const OpenURLCommand*>(command.get())) {
        auto page = URL::parse(open->url);
        if (page && page->scheme() == home.scheme() && page->host() == home.host()
            && page->port() == home.port())
            return Wish{std::nullopt, std::move(page)};
    }
    return std::nullopt;
}

} // namespace Host
