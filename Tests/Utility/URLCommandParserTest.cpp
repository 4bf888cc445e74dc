#include <LumoKit/Utility/URLCommandParser.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

using Text = std::optional<std::string>;

/// The command of one type that a text is.
template <class Command> std::optional<Command> command(std::string_view text)
{
    const auto parsed = URLCommandParser({urlCommandType<Command>}).parse(text);
    if (!parsed)
        return std::nullopt;
    return dynamic_cast<const Command&>(*parsed);
}

Text accountOf(std::string_view text)
{
    const auto found = command<OpenAccountCommand>(text);
    return found ? Text(found->email) : std::nullopt;
}

Text addressOf(std::string_view text)
{
    const auto found = command<OpenURLCommand>(text);
    return found ? Text(found->url) : std::nullopt;
}

struct Case {
    std::string text;
    Text expected;
};

/// What the account and the open-URL command share, with their host and their item filled in.
std::vector<Case> casesOf(const std::string& host, const std::string& item)
{
    const auto link = [&](std::string text) {
        for (const auto& [placeholder, filling] : {std::pair{"HOST"sv, host}, {"ITEM"sv, item}})
            for (auto at = text.find(placeholder); at != text.npos; at = text.find(placeholder))
                text.replace(at, placeholder.size(), filling);
        return text;
    };
    return {
        {link("lumoforcalendar://HOST?ITEM=ada@example.com"), "ada@example.com"},
        {link("lumoforcalendar://HOST?ITEM=ada%40example.com"), "ada@example.com"},
        {link("lumoforcalendar://HOST?ITEM=a%20b%C3%BC"), "a b\u00FC"},
        {link("lumoforcalendar://HOST?ITEM=ada+tea@example.com"), "ada+tea@example.com"},
        {link("lumoforcalendar://HOST?ITEM=a%00b"), std::string("a\0b", 3)},
        // neither the scheme, the user, the port, the path nor the fragment is looked at
        {link("http://HOST?ITEM=a"), "a"},
        {link("mailto://HOST?ITEM=a"), "a"},
        {link("LUMOFORMAIL://HOST?ITEM=a"), "a"},
        {link("//HOST?ITEM=a"), "a"},
        {link("x://ada:pw@HOST:8080/path/?ITEM=a#fragment"), "a"},
        {link("x://HOST:?ITEM=a"), "a"},
        // the host, exactly
        {link("x://%HOST?ITEM=a"), {}},
        {link("x://HOST.?ITEM=a"), {}},
        {link("x://HOST.evil.example?ITEM=a"), {}},
        {link("x://HOST%00?ITEM=a"), {}},
        {link("x://HOST@evil.example?ITEM=a"), {}},
        {link("x://xHOST?ITEM=a"), {}},
        {link("x://[::1]?ITEM=a"), {}},
        {link("x://127.0.0.1?ITEM=a"), {}},
        {link("x:///HOST?ITEM=a"), {}},
        {link("x://?ITEM=a"), {}},
        {link("x:HOST?ITEM=a"), {}},
        {link("x:/HOST?ITEM=a"), {}},
        {link("HOST?ITEM=a"), {}},
        // the first item of the name
        {link("x://HOST"), {}},
        {link("x://HOST?"), {}},
        {link("x://HOST#?ITEM=a"), {}},
        {link("x://HOST?name=a"), {}},
        {link("x://HOST?ITEM"), {}},
        {link("x://HOST?ITEM&ITEM=a"), {}},
        {link("x://HOST?ITEM=%FF&ITEM=a"), {}},
        {link("x://HOST?ITEM="), ""},
        {link("x://HOST?ITEM=&ITEM=a"), ""},
        {link("x://HOST?name&&=b&ITEM=a&ITEM=b"), "a"},
        {link("x://HOST?xITEM=a"), {}},
        {link("x://HOST?ITEMx=a"), {}},
        {link("x://HOST?ITEM%20=a"), {}},
        {link("x://HOST?ITEM=a=b"), "a=b"},
        {link("x://HOST?ITEM=a;b?c/d:@e"), "a;b?c/d:@e"},
        // no URL
        {"", {}},
        {link("x://HOST?ITEM=a b"), {}},
        {link("x://HOST?ITEM=%"), {}},
        {link("x://HOST?ITEM=%4"), {}},
        {link("x://HOST?ITEM=%4g"), {}},
        {link("x://HOST?ITEM=\xFF"), {}},
        {link("x://HOST?ITEM=\u00FC"), {}},
        {link("x://HOST?ITEM=") + std::string("\0", 1), {}},
        {link("1x://HOST?ITEM=a"), {}},
        {link("://HOST?ITEM=a"), {}},
        {link(" x://HOST?ITEM=a"), {}},
    };
}

TEST(OpenAccountCommand, TakesTheFirstEmailOfTheHostAccount)
{
    for (const auto& [text, expected] : casesOf("account", "email"))
        EXPECT_EQ(accountOf(text), expected) << text;
    for (const auto text : {"x://Account?email=a"sv, "x://ACCOUNT?email=a"sv, "x://account?Email=a"sv,
             "x://account?EMAIL=a"sv, "x://open_url?email=a"sv})
        EXPECT_EQ(accountOf(text), std::nullopt) << text;
    EXPECT_EQ(accountOf("x://%61ccount?e%6Dail=a"), "a"); // both are compared decoded
}

TEST(OpenURLCommand, TakesTheFirstURLOfTheHostOpenURL)
{
    for (const auto& [text, expected] : casesOf("open_url", "url"))
        EXPECT_EQ(addressOf(text), expected) << text;
    for (const auto text :
        {"x://Open_url?url=a"sv, "x://open_url?URL=a"sv, "x://account?url=a"sv, "x://open-url?url=a"sv})
        EXPECT_EQ(addressOf(text), std::nullopt) << text;
    EXPECT_EQ(addressOf("x://open%5Furl?u%72l=a"), "a");
}

TEST(OpenURLCommand, DoesNotAskWhetherTheAddressIsOne)
{
    EXPECT_EQ(addressOf("x://open_url?url=not%20an%20address%0A"), "not an address\n");
    EXPECT_EQ(addressOf("x://open_url?url=javascript:alert(1)"), "javascript:alert(1)");
}

TEST(OpenURLCommand, IsBuiltWithTheAddressEncoded)
{
    struct Built {
        std::string_view url;
        std::string_view text;
    };
    for (const auto& [url, text] : {
             Built{"https://example.com/a", "lumoforcalendar://open_url?url=https://example.com/a"},
             {"https://example.com/a b#c", "lumoforcalendar://open_url?url=https://example.com/a%20b%23c"},
             {"https://example.com/100%", "lumoforcalendar://open_url?url=https://example.com/100%25"},
             {"https://example.com/%41", "lumoforcalendar://open_url?url=https://example.com/%2541"},
             {"https://example.com/?a=b&c=d", "lumoforcalendar://open_url?url=https://example.com/?a=b&c=d"},
             {"https://[::1]/\\^|\"", "lumoforcalendar://open_url?url=https://%5B::1%5D/%5C%5E%7C%22"},
             {"\u00FC\U0001F600", "lumoforcalendar://open_url?url=%C3%BC%F0%9F%98%80"},
             {"-._~!$&'()*+,;=:@/?", "lumoforcalendar://open_url?url=-._~!$&'()*+,;=:@/?"},
             {"a\0b"sv, "lumoforcalendar://open_url?url=a%00b"},
             {"", "lumoforcalendar://open_url?url="},
             // no UTF-8
             {"https://example.com/\xFF", "lumoforcalendar://open_url?url="},
             {"\xED\xA0\x80", "lumoforcalendar://open_url?url="},
         })
        EXPECT_EQ(OpenURLCommand::buildURL("lumoforcalendar", url), text) << url;
    EXPECT_EQ(OpenURLCommand::buildURL("lumoformail", "a"), "lumoformail://open_url?url=a");
    EXPECT_EQ(OpenURLCommand::buildURL("", "a"), "://open_url?url=a");
}

TEST(OpenURLCommand, ReadsWhatItBuilt)
{
    for (const std::string url :
        {"https://example.com/a b?c=d#e%f", "\u00FC\U0001F600", "", "a+b", "https://[::1]/"})
        EXPECT_EQ(addressOf(OpenURLCommand::buildURL("lumoforcalendar", url)), url);
    // An "&" stays as it is, and ends the address for whoever reads it.
    EXPECT_EQ(addressOf(OpenURLCommand::buildURL("lumoforcalendar", "https://example.com/?a=1&b=2")),
        "https://example.com/?a=1");
    EXPECT_EQ(addressOf(OpenURLCommand::buildURL("lumoforcalendar", "https://example.com/?a=1&url=2")),
        "https://example.com/?a=1");
}

TEST(MailToCommand, TakesEveryMailtoLink)
{
    struct Link {
        std::string_view text;
        MailToCommand expected;
    };
    for (const auto& [text, expected] : {
             Link{"mailto:ada@example.com", {"ada@example.com", {}, {}}},
             {"mailto:ada@example.com?subject=This%20Is%20The%20Subject&body=Body%20Text",
                 {"ada@example.com", "This Is The Subject", "Body Text"}},
             {"mailto:a@example.com,b@example.com", {"a@example.com,b@example.com", {}, {}}},
             {"mailto:a%2Cb%20c", {"a,b c", {}, {}}},
             {"mailto:", {"", {}, {}}},
             {"mailto:?", {"", {}, {}}},
             {"mailto:?body=b", {"", {}, "b"}},
             {"mailto:not-an-address", {"not-an-address", {}, {}}},
             {"mailto:a?subject=1&subject=2&body=3&body=4", {"a", "1", "3"}},
             {"mailto:a?subject&subject=2&body&body=4", {"a", {}, {}}},
             {"mailto:a?subject=&body=", {"a", "", ""}},
             {"mailto:a?Subject=1&BODY=2", {"a", {}, {}}},
             {"mailto:a?cc=c&bcc=d&to=e&attach=/etc/passwd", {"a", {}, {}}},
             {"mailto:a?body=%0D%0A+%2B", {"a", {}, "\r\n++"}},
             {"mailto:a?subject=%FF&body=%C3%A9", {"a", {}, "\u00E9"}},
             {"mailto:%FF", {"", {}, {}}}, // no UTF-8
             {"mailto:a%00b", {std::string("a\0b", 3), {}, {}}},
             {"mailto:a#subject=b", {"a", {}, {}}},
             // the host is not read
             {"mailto://account?email=x&subject=s", {"", "s", {}}},
             {"mailto://u@[::1]:80/a@example.com", {"/a@example.com", {}, {}}},
         }) {
        const auto found = command<MailToCommand>(text);
        ASSERT_TRUE(found.has_value()) << text;
        EXPECT_EQ(found->email, expected.email) << text;
        EXPECT_EQ(found->subject, expected.subject) << text;
        EXPECT_EQ(found->body, expected.body) << text;
        EXPECT_TRUE(*found == expected) << text;
    }
}

TEST(MailToCommand, TakesNoOtherScheme)
{
    for (const auto text : {"MAILTO:a@example.com"sv, "Mailto:a"sv, "mailtO:a"sv, "mailto2:a"sv,
             "xmailto:a"sv, "mail-to:a"sv, "mailto"sv, "/mailto:a"sv, "//mailto/a"sv, "%6Dailto:a"sv,
             "mailto%3Aa"sv, "m\u0430ilto:a"sv, " mailto:a"sv, "mailto :a"sv, "smailto://mailto"sv, ""sv,
             "mailto:a b"sv, "mailto:%"sv, "mailto:\xFF"sv, "mailto:\0"sv})
        EXPECT_FALSE(command<MailToCommand>(text).has_value()) << text;
}

TEST(URLCommands, HaveASampleThatIsOne)
{
    EXPECT_TRUE(OpenAccountCommand::sample.starts_with("lumoforcalendar://account?email="));
    EXPECT_TRUE(accountOf(OpenAccountCommand::sample).has_value());
    EXPECT_TRUE(OpenURLCommand::sample.starts_with("lumoforcalendar://open_url?url="));
    EXPECT_TRUE(addressOf(OpenURLCommand::sample)->ends_with("/blabla"));
    EXPECT_TRUE(MailToCommand::sample.starts_with("mailto:"));
    const auto mail = command<MailToCommand>(MailToCommand::sample);
    EXPECT_EQ(mail->subject, "This Is The Subject");
    EXPECT_EQ(mail->body, "Body Text");
}

TEST(URLCommands, HaveASampleThatAHostMayReplace)
{
    const std::string before = OpenAccountCommand::sample;
    OpenAccountCommand::sample = "lumoformail://account?email=bob@example.com";
    EXPECT_EQ(accountOf(OpenAccountCommand::sample), "bob@example.com");
    OpenAccountCommand::sample = before;
}

TEST(URLCommandParser, TriesItsTypesInOrder)
{
    const auto link = "mailto://account?email=ada@example.com"sv; // which both types take
    const URLCommandParser mailFirst({urlCommandType<MailToCommand>, urlCommandType<OpenAccountCommand>});
    const URLCommandParser accountFirst({urlCommandType<OpenAccountCommand>, urlCommandType<MailToCommand>});
    const auto mail = mailFirst.parse(link);
    EXPECT_TRUE(dynamic_cast<const MailToCommand*>(mail.get()));
    const auto account = accountFirst.parse(link);
    ASSERT_TRUE(dynamic_cast<const OpenAccountCommand*>(account.get()));
    EXPECT_EQ(dynamic_cast<const OpenAccountCommand&>(*account).email, "ada@example.com");
    // A type that takes it comes after one that does not.
    EXPECT_TRUE(dynamic_cast<const OpenAccountCommand*>(mailFirst.parse("x://account?email=a").get()));
}

TEST(URLCommandParser, GivesNothingThatNoTypeTakes)
{
    const URLCommandParser all(
        {urlCommandType<MailToCommand>, urlCommandType<OpenURLCommand>, urlCommandType<OpenAccountCommand>});
    for (const auto text : {"x://other?email=a"sv, "x:y"sv, "a"sv, "x://account"sv, "x://account?name=a"sv,
             // RFC 3986, section 5.4
             "g:h"sv, "./g"sv, "/g"sv, "//g"sv, "?y"sv, "g?y#s"sv, ";x=1/../y"sv, "../../../g"sv,
             "g;x=1/./y"sv, "g?y/../x"sv, "g#s/../x"sv, "http:g"sv,
             // RFC 3986, section 1.1.2
             "ftp://ftp.is.co.za/rfc/rfc1808.txt"sv, "http://www.ietf.org/rfc/rfc2396.txt"sv,
             "ldap://[2001:db8::7]/c=GB?objectClass?one"sv, "news:comp.infosystems.www.servers.unix"sv,
             "tel:+1-816-555-1212"sv, "telnet://192.0.2.16:80/"sv,
             "urn:oasis:names:specification:docbook:dtd:xml:4.1.2"sv})
        EXPECT_EQ(all.parse(text), nullptr) << text;
    EXPECT_NE(all.parse("mailto:John.Doe@example.com"), nullptr);
    EXPECT_EQ(URLCommandParser().parse("mailto:a"), nullptr);
}

/// A command type of a host's that counts how often it was asked, and takes everything.
class CountedCommand : public URLCommand {
public:
    static inline std::string sample = "x:";
    static inline int asked = 0;
    static std::optional<CountedCommand> fromComponents(const URLComponents& components)
    {
        ++asked;
        return components.path() == "refused" ? std::nullopt : std::optional(CountedCommand());
    }
};

TEST(URLCommandParser, AsksNoTypeForATextThatIsNoURL)
{
    const URLCommandParser parser({urlCommandType<CountedCommand>});
    CountedCommand::asked = 0;
    for (const auto text : {""sv, " "sv, "x:%"sv, "x:a b"sv, "x://[::1"sv, "\xFF"sv, "x:\0"sv})
        EXPECT_EQ(parser.parse(text), nullptr) << text;
    EXPECT_EQ(CountedCommand::asked, 0);
    EXPECT_NE(parser.parse("x:"), nullptr);
    EXPECT_EQ(CountedCommand::asked, 1);
}

TEST(URLCommandParser, AsksNoTypeAfterOneThatTookTheURL)
{
    CountedCommand::asked = 0;
    const URLCommandParser parser({urlCommandType<MailToCommand>, urlCommandType<CountedCommand>,
        urlCommandType<CountedCommand>, urlCommandType<OpenAccountCommand>});
    EXPECT_TRUE(dynamic_cast<const MailToCommand*>(parser.parse("mailto:refused").get()));
    EXPECT_EQ(CountedCommand::asked, 0);
    EXPECT_TRUE(dynamic_cast<const CountedCommand*>(parser.parse("x://account?email=a").get()));
    EXPECT_EQ(CountedCommand::asked, 1);
    EXPECT_EQ(parser.parse("refused"), nullptr);
    EXPECT_EQ(CountedCommand::asked, 3);
}

TEST(URLCommandParser, HasItsTypesForAHostToSee)
{
    URLCommandParser parser({urlCommandType<MailToCommand>});
    EXPECT_EQ(parser.commands, std::vector{urlCommandType<MailToCommand>});
    EXPECT_FALSE(urlCommandType<MailToCommand> == urlCommandType<OpenAccountCommand>);
    parser.commands.push_back(urlCommandType<OpenAccountCommand>);
    EXPECT_NE(parser.parse("x://account?email=a"), nullptr);
}

TEST(URLCommandParser, TakesLinksOfAnyLength)
{
    const URLCommandParser all(
        {urlCommandType<MailToCommand>, urlCommandType<OpenURLCommand>, urlCommandType<OpenAccountCommand>});
    const std::string megabyte(1'000'000, 'a');
    EXPECT_EQ(accountOf("x://account?email=" + megabyte), megabyte);
    EXPECT_EQ(command<MailToCommand>("mailto:" + megabyte + "?body=" + megabyte)->body, megabyte);
    EXPECT_EQ(
        addressOf(OpenURLCommand::buildURL("x", std::string(1'000'000, ' '))), std::string(1'000'000, ' '));
    EXPECT_EQ(all.parse("x://" + megabyte + "?email=a"), nullptr);
    EXPECT_EQ(all.parse(megabyte + "\xFF"), nullptr);
    std::string query;
    for (int item = 0; item < 100'000; ++item)
        query += "name%20=a&";
    EXPECT_EQ(accountOf("x://account?" + query + "email=last"), "last");
    EXPECT_EQ(all.parse("x://account?" + query), nullptr);
}

} // namespace
