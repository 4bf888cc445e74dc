#include "Compare.h"

#include <LumoKit/MailTo/MailToParser.h>
#include <LumoKit/Platform/Foundation/NSRegularExpression.h>
#include <LumoKit/Utility/URLCommandParser.h>

#include <boost/url/decode_view.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <QUrl>
#include <QUrlQuery>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace LumoKit::Bench {

namespace {

constexpr std::string_view accountLink = "lumoforcalendar://account?email=ada.lovelace%40example.com";
constexpr std::string_view mailLink = "mailto:ada.lovelace@example.com?subject=Minutes%20of%20the%20meeting&"
                                      "body=Dear%20Ada%2C%0D%0Asee%20you%20at%20five.";
constexpr std::string_view address = "ada.lovelace@example.com";
constexpr const char16_t pattern[] = u"[A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\\.[A-Za-z]{2,64}";

/// What is measured must not be left out by the compiler.
volatile std::size_t used = 0;

/// Nanoseconds a call of `work`, which gives a number that tells whether it did it.
template <class Work> double nanoseconds(int calls, Work work)
{
    return secondsOf([&] {
        std::size_t sum = 0;
        for (int call = 0; call < calls; ++call)
            sum += work();
        used = used + sum;
    }) * 1e9
        / calls;
}

// ---- the bare libraries

std::string text(boost::urls::pct_string_view encoded)
{
    std::string decoded;
    return encoded.decode({}, boost::urls::string_token::assign_to(decoded));
}

/// The decoded value of the first item of a name.
std::optional<std::string> firstValue(const boost::urls::url_view& view, std::string_view name)
{
    for (const auto& parameter : view.encoded_params())
        if (*parameter.key == name)
            return parameter.has_value ? std::optional(text(parameter.value)) : std::nullopt;
    return std::nullopt;
}

/// Parses, compares the host, and decodes the query into the command, held as the parser holds it.
std::unique_ptr<URLCommand> bareCommand(std::string_view link)
{
    const auto view = boost::urls::parse_uri_reference(link);
    if (!view || text(view->encoded_host_address()) != "account")
        return nullptr;
    auto email = firstValue(*view, "email");
    return email ? std::make_unique<OpenAccountCommand>(*std::move(email)) : nullptr;
}

/// The same by the peer's own classes.
std::unique_ptr<URLCommand> qtCommand(std::string_view link)
{
    const QUrl url(QString::fromUtf8(link.data(), static_cast<qsizetype>(link.size())), QUrl::StrictMode);
    if (!url.isValid() || url.host() != QLatin1String("account"))
        return nullptr;
    const QUrlQuery query(url);
    if (!query.hasQueryItem("email"))
        return nullptr;
    return std::make_unique<OpenAccountCommand>(
        query.queryItemValue("email", QUrl::FullyDecoded).toStdString());
}

/// A whole match of ICU, its pattern compiled once, of a text that it has first to convert.
bool bareMatch(std::string_view text)
{
    static URegularExpression* const expression = [] {
        UErrorCode status = U_ZERO_ERROR;
        return uregex_open(pattern, -1, 0, nullptr, &status); // for as long as the program runs
    }();
    UErrorCode status = U_ZERO_ERROR;
    std::u16string units(text.size(), u'\0');
    std::int32_t length = 0;
    u_strFromUTF8WithSub(units.data(), static_cast<std::int32_t>(units.size()), &length, text.data(),
        static_cast<std::int32_t>(text.size()), 0xFFFD, nullptr, &status);
    uregex_setText(expression, units.data(), length, &status);
    return uregex_matches(expression, -1, &status);
}

std::optional<MailToParseResult> bareMail(std::string_view link)
{
    const auto view = boost::urls::parse_uri_reference(link);
    if (!view || std::string_view(view->scheme()) != "mailto")
        return std::nullopt;
    MailToParseResult result;
    if (auto recipient = text(view->encoded_path()); bareMatch(recipient))
        result.recipients = {std::move(recipient)};
    result.subject = firstValue(*view, "subject");
    result.body = firstValue(*view, "body");
    return result;
}

// ---- growth

/// An address that is none, of the kind that makes a search go back.
std::string hostileAddress(std::string_view beginning, std::string_view repeated, std::size_t size)
{
    std::string all(beginning);
    while (all.size() < size)
        all += repeated;
    return all + "1";
}

/// A row in which ours is the time for twice the text that the peer's is for.
Row growth(std::string name, std::string_view beginning, std::string_view repeated)
{
    const auto microseconds = [=](std::size_t size) {
        const std::string link = "mailto:" + hostileAddress(beginning, repeated, size);
        return
            [link] { return nanoseconds(4, [&] { return parseMailTo(link)->recipients ? 1u : 2u; }) / 1000; };
    };
    return {std::move(name), "µs", "half the text", 2.2, 15, microseconds(400'000), microseconds(200'000)};
}

} // namespace

std::vector<Row> linkRows()
{
    static const URLCommandParser parser({urlCommandType<OpenAccountCommand>, urlCommandType<MailToCommand>});
    static auto expression = *NSRegularExpression::compile(
        R"([A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\.[A-Za-z]{2,64})", NSRegularExpression::Options::none);
    constexpr int calls = 20'000;
    const auto lengthOf = [](const std::unique_ptr<URLCommand>& command) {
        return static_cast<const OpenAccountCommand&>(*command).email.size();
    };
    const auto lengthOfMail = [](const std::optional<MailToParseResult>& mail) {
        return mail->recipients->size() + mail->body->size();
    };
    return {
        {"links/command", "ns", "Boost.URL", 1.15, 31,
            [=] { return nanoseconds(calls, [&] { return lengthOf(parser.parse(accountLink)); }); },
            [=] { return nanoseconds(calls, [&] { return lengthOf(bareCommand(accountLink)); }); }},
        {"links/command-qt", "ns", "QUrl, QUrlQuery", 0.7, 31,
            [=] { return nanoseconds(calls, [&] { return lengthOf(parser.parse(accountLink)); }); },
            [=] { return nanoseconds(calls, [&] { return lengthOf(qtCommand(accountLink)); }); }},
        {"links/address", "ns", "ICU", 1.5, 31,
            [] { return nanoseconds(calls, [] { return expression.matchesWhole(address) ? 1u : 2u; }); },
            [] { return nanoseconds(calls, [] { return bareMatch(address) ? 1u : 2u; }); }},
        {"links/mail", "ns", "Boost.URL and ICU", 2, 31,
            [=] { return nanoseconds(calls, [&] { return lengthOfMail(parseMailTo(mailLink)); }); },
            [=] { return nanoseconds(calls, [&] { return lengthOfMail(bareMail(mailLink)); }); }},
        growth("links/growth-letters", "", "a"),
        growth("links/growth-domain", "a@", "a"),
        growth("links/growth-dots", "a@", "aa."),
        growth("links/growth-at", "", "a@"),
    };
}

} // namespace LumoKit::Bench
