#include <LumoKit/Platform/Foundation/PercentEncoding.h>
#include <LumoKit/Utility/URLCommandParser.h>

namespace LumoKit {

std::string OpenAccountCommand::sample = "lumoforcalendar://account?email=ada@example.com";
std::string OpenURLCommand::sample = "lumoforcalendar://open_url?url=https://calendar.example.com/blabla";
std::string MailToCommand::sample =
    "mailto:ada@example.com?subject=This%20Is%20The%20Subject&body=Body%20Text";

std::optional<OpenAccountCommand> OpenAccountCommand::fromComponents(const URLComponents& components)
{
    if (components.host() != "account")
        return std::nullopt;
    auto email = components.firstQueryValue("email");
    if (!email)
        return std::nullopt;
    return OpenAccountCommand(*std::move(email));
}

std::optional<OpenURLCommand> OpenURLCommand::fromComponents(const URLComponents& components)
{
    if (components.host() != "open_url")
        return std::nullopt;
    auto url = components.firstQueryValue("url");
    if (!url)
        return std::nullopt;
    return OpenURLCommand(*std::move(url));
}

std::string OpenURLCommand::buildURL(std::string_view app, std::string_view url)
{
    const std::string encoded = addingPercentEncoding(url, urlQueryAllowed).value_or(std::string());
    return std::string(app).append("://open_url?url=").append(encoded);
}

std::optional<MailToCommand> MailToCommand::fromComponents(const URLComponents& components)
{
    if (components.scheme() != "mailto")
        return std::nullopt;
    return MailToCommand(
        components.path(), components.firstQueryValue("subject"), components.firstQueryValue("body"));
}

std::unique_ptr<URLCommand> URLCommandParser::parse(std::string_view text) const
{
    auto url = URL::parse(text);
    if (!url)
        return nullptr;
    const URLComponents components(*std::move(url));
    for (const URLCommandType& type : commands)
        if (auto command = type.make(components))
            return command;
    return nullptr;
}

} // namespace LumoKit
