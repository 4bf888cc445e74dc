#pragma once

#include <LumoKit/Platform/Foundation/URLComponents.h>

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

/// What one application of the suite asks of another by opening a URL: the base of all commands.
///
/// A command type is a value with two static members: `sample`, the text of such a URL, and `fromComponents`,
/// which gives the command that the parts of a URL describe, or nothing.
class URLCommand {
public:
    virtual ~URLCommand() = default;

protected:
    URLCommand() = default;
    URLCommand(const URLCommand&) = default;
    URLCommand(URLCommand&&) = default;
    URLCommand& operator=(const URLCommand&) = default;
    URLCommand& operator=(URLCommand&&) = default;
};

/// Switch to an account: `<scheme>://account?email=<address>`.
class OpenAccountCommand : public URLCommand {
public:
    static std::string sample;

    explicit OpenAccountCommand(std::string email)
        : email(std::move(email))
    {
    }
    /// Errors: nothing for another host, and when the first "email" has no value or there is none. The scheme
    /// is not looked at.
    [[nodiscard]] static std::optional<OpenAccountCommand> fromComponents(const URLComponents& components);

    std::string email;

    bool operator==(const OpenAccountCommand& other) const { return email == other.email; }
};

/// Open a web address: `<scheme>://open_url?url=<address>`.
class OpenURLCommand : public URLCommand {
public:
    static std::string sample;

    explicit OpenURLCommand(std::string url)
        : url(std::move(url))
    {
    }
    /// Errors: nothing for another host, and when the first "url" has no value or there is none. The scheme is
    /// not looked at.
    [[nodiscard]] static std::optional<OpenURLCommand> fromComponents(const URLComponents& components);

    /// The text that asks the application of a scheme to open a web address.
    ///
    /// The address keeps its "&", so that whoever reads the command gets it up to the first one only. An
    /// address that is no UTF-8 is left out.
    [[nodiscard]] static std::string buildURL(std::string_view app, std::string_view url);

    /// As received: it need not be a URL.
    std::string url;

    bool operator==(const OpenURLCommand& other) const { return url == other.url; }
};

/// Write a mail: `mailto:<addresses>?subject=<text>&body=<text>`. Nothing of it is checked; `parseMailTo` does.
class MailToCommand : public URLCommand {
public:
    static std::string sample;

    MailToCommand(
        std::optional<std::string> email, std::optional<std::string> subject, std::optional<std::string> body)
        : email(std::move(email))
        , subject(std::move(subject))
        , body(std::move(body))
    {
    }
    /// Errors: nothing for another scheme than "mailto" in lower case.
    [[nodiscard]] static std::optional<MailToCommand> fromComponents(const URLComponents& components);

    /// The whole path of the link, which may hold several addresses or none.
    std::optional<std::string> email;
    std::optional<std::string> subject;
    std::optional<std::string> body;

    bool operator==(const MailToCommand& other) const
    {
        return email == other.email && subject == other.subject && body == other.body;
    }
};

/// A command type in a list: `urlCommandType<OpenAccountCommand>`.
struct URLCommandType {
    /// The command of this type that parts of a URL describe, or null.
    std::unique_ptr<URLCommand> (*make)(const URLComponents& components);

    bool operator==(const URLCommandType&) const = default;
};

template <std::derived_from<URLCommand> Command>
    requires requires(const URLComponents& components) {
        { Command::sample } -> std::same_as<std::string&>;
        { Command::fromComponents(components) } -> std::same_as<std::optional<Command>>;
    }
inline constexpr URLCommandType urlCommandType{
    [](const URLComponents& components) -> std::unique_ptr<URLCommand> {
        auto command = Command::fromComponents(components);
        return command ? std::make_unique<Command>(*std::move(command)) : nullptr;
    }};

/// Turns the text of a URL into a command of the first type that takes it.
///
/// Thread: any.
struct URLCommandParser {
    /// The types in the order in which they are tried: those that take the fewest URLs first.
    std::vector<URLCommandType> commands;

    /// Errors: null when the text is no URL, or no type takes it.
    [[nodiscard]] std::unique_ptr<URLCommand> parse(std::string_view text) const;
};

} // namespace LumoKit
