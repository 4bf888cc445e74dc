#include <LumoKit/MailTo/MailToParser.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

using Texts = std::optional<std::vector<std::string>>;

void expectResult(std::string_view link, const MailToParseResult& expected)
{
    const auto result = parseMailTo(link);
    ASSERT_TRUE(result.has_value()) << link;
    EXPECT_EQ(result->recipients, expected.recipients) << link;
    EXPECT_EQ(result->subject, expected.subject) << link;
    EXPECT_EQ(result->body, expected.body) << link;
    EXPECT_TRUE(*result == expected) << link;
}

/// Whether a text passes for an address.
bool isRecipient(const std::string& address)
{
    const auto result = parseMailTo("mailto:" + address);
    return result && result->recipients.has_value();
}

TEST(MailToParser, ReadsRecipientsSubjectAndBody)
{
    struct Case {
        std::string_view link;
        MailToParseResult expected;
    };
    for (const auto& [link, expected] : {
             Case{"mailto:ada@example.com?subject=This%20Is%20The%20Subject&body=Body%20Text",
                 {Texts({"ada@example.com"}), "This Is The Subject", "Body Text"}},
             // recipients
             {"mailto:a@example.com,b@example.com", {Texts({"a@example.com", "b@example.com"}), {}, {}}},
             {"mailto:b@example.com,a@example.com,b@example.com",
                 {Texts({"b@example.com", "a@example.com", "b@example.com"}), {}, {}}},
             {"mailto:a@example.com,%20b@example.com?subject=s&body=b", {{}, "s", "b"}},
             {"mailto:a@example.com,nobody?subject=s&body=b", {{}, "s", "b"}},
             {"mailto:nobody,a@example.com?subject=s", {{}, "s", {}}},
             {"mailto:a@example.com,", {{}, {}, {}}},
             {"mailto:,a@example.com", {{}, {}, {}}},
             {"mailto:a@example.com,,b@example.com", {{}, {}, {}}},
             {"mailto:a@example.com;b@example.com", {{}, {}, {}}},
             {"mailto:,", {{}, {}, {}}},
             {"mailto:", {{}, {}, {}}},
             {"mailto:?", {{}, {}, {}}},
             {"mailto:?subject=s", {{}, "s", {}}},
             // the path is decoded before it is split
             {"mailto:ada%40example.com", {Texts({"ada@example.com"}), {}, {}}},
             {"mailto:a@example.com%2Cb@example.com", {Texts({"a@example.com", "b@example.com"}), {}, {}}},
             {"mailto:a%2Bb@example.com", {Texts({"a+b@example.com"}), {}, {}}},
             {"mailto:a+b@example.com", {Texts({"a+b@example.com"}), {}, {}}},
             {"mailto:a%2525b@example.com", {Texts({"a%25b@example.com"}), {}, {}}}, // decoded once
             {"mailto:a@example.com%00", {{}, {}, {}}},
             {"mailto:a@example.com%0A", {{}, {}, {}}},
             {"mailto:%0Aa@example.com", {{}, {}, {}}},
             {"mailto:%FFa@example.com", {{}, {}, {}}},
             // neither a host nor a fragment is read
             {"mailto://a@example.com", {{}, {}, {}}},
             {"mailto://ada:pw@[::1]:80/?subject=s", {{}, "s", {}}},
             {"mailto:a@example.com#subject=s", {Texts({"a@example.com"}), {}, {}}},
             {"mailto:/a@example.com", {{}, {}, {}}},
             // subject and body
             {"mailto:?subject=1&subject=2&body=3&body=4", {{}, "1", "3"}},
             {"mailto:?body&body=b&subject&subject=s", {{}, {}, {}}},
             {"mailto:?body=&subject=&body=b&subject=s", {{}, "", ""}},
             {"mailto:?Subject=s&BODY=b&subject%20=s", {{}, {}, {}}},
             {"mailto:?sub%6Aect=s", {{}, "s", {}}},
             {"mailto:?subject=a+b%2B&body=%0D%0A", {{}, "a+b+", "\r\n"}},
             {"mailto:?subject=a=b&body=c?d", {{}, "a=b", "c?d"}},
             {"mailto:?subject=%26&body=%3D", {{}, "&", "="}},
             {"mailto:?subject=%FF&subject=s&body=%C3%A9", {{}, {}, "\u00E9"}},
             {"mailto:?body=a%00b", {{}, {}, std::string("a\0b", 3)}},
             {"mailto:?amp;subject=s", {{}, {}, {}}},
             // other items
             {"mailto:?to=a@example.com&cc=b@example.com&bcc=c@example.com&attach=/etc/passwd", {{}, {}, {}}},
             {"mailto:a@example.com?to=b@example.com", {Texts({"a@example.com"}), {}, {}}},
         })
        expectResult(link, expected);
}

TEST(MailToParser, ReadsTheExamplesOfItsStandard)
{
    struct Case {
        std::string_view link;
        MailToParseResult expected;
    };
    for (const auto& [link, expected] : {
             // RFC 6068, section 2
             Case{"mailto:addr1@an.example,addr2@an.example",
                 {Texts({"addr1@an.example", "addr2@an.example"}), {}, {}}},
             {"mailto:?to=addr1@an.example,addr2@an.example", {{}, {}, {}}}, // the path alone counts
             {"mailto:addr1@an.example?to=addr2@an.example", {Texts({"addr1@an.example"}), {}, {}}},
             // section 6.1
             {"mailto:chris@example.com", {Texts({"chris@example.com"}), {}, {}}},
             {"mailto:infobot@example.com?subject=current-issue",
                 {Texts({"infobot@example.com"}), "current-issue", {}}},
             {"mailto:infobot@example.com?body=send%20current-issue",
                 {Texts({"infobot@example.com"}), {}, "send current-issue"}},
             {"mailto:infobot@example.com?body=send%20current-issue%0D%0Asend%20index",
                 {Texts({"infobot@example.com"}), {}, "send current-issue\r\nsend index"}},
             {"mailto:list@example.org?In-Reply-To=%3C3469A91.D10AF4C@example.com%3E",
                 {Texts({"list@example.org"}), {}, {}}},
             {"mailto:majordomo@example.com?body=subscribe%20bamboo-l",
                 {Texts({"majordomo@example.com"}), {}, "subscribe bamboo-l"}},
             {"mailto:joe@example.com?cc=bob@example.com&body=hello",
                 {Texts({"joe@example.com"}), {}, "hello"}},
             {"mailto:joe@example.com?cc=bob@example.com?body=hello", // which the standard calls a mistake
                 {Texts({"joe@example.com"}), {}, {}}},
             {"mailto:gorby%25kremvax@example.com", {Texts({"gorby%kremvax@example.com"}), {}, {}}},
             {"mailto:unlikely%3Faddress@example.com?blat=foop", {{}, {}, {}}}, // no "?" in an address here
             {"mailto:Mike%26family@example.org", {{}, {}, {}}}, // nor "&"
             // section 6.2: no quotes
             {"mailto:%22not%40me%22@example.org", {{}, {}, {}}},
             {"mailto:%22oh%5C%5Cno%22@example.org", {{}, {}, {}}},
             {"mailto:%22%5C%5C%5C%22it's%5C%20ugly%5C%5C%5C%22%22@example.org", {{}, {}, {}}},
             // section 6.3
             {"mailto:user@example.org?subject=caf%C3%A9", {Texts({"user@example.org"}), "caf\u00E9", {}}},
             {"mailto:user@example.org?subject=%3D%3Futf-8%3FQ%3Fcaf%3DC3%3DA9%3F%3D",
                 {Texts({"user@example.org"}), "=?utf-8?Q?caf=C3=A9?=", {}}},
             {"mailto:user@example.org?subject=%3D%3Fiso-8859-1%3FQ%3Fcaf%3DE9%3F%3D",
                 {Texts({"user@example.org"}), "=?iso-8859-1?Q?caf=E9?=", {}}},
             {"mailto:user@example.org?subject=caf%C3%A9&body=caf%C3%A9",
                 {Texts({"user@example.org"}), "caf\u00E9", "caf\u00E9"}},
             {"mailto:user@%E7%B4%8D%E8%B1%86.example.org?subject=Test&body=NATTO",
                 {{}, "Test", "NATTO"}}, // domains in ASCII only
             // RFC 3986, section 1.1.2
             {"mailto:John.Doe@example.com", {Texts({"John.Doe@example.com"}), {}, {}}},
         })
        expectResult(link, expected);
}

TEST(MailToParser, TakesForAnAddressWhatHasTheFormOfOne)
{
    for (const std::string address : {
             "a@b.cd",
             "ada.lovelace@example.com",
             "ADA@EXAMPLE.COM",
             "a_b%25c+d-e@example.com",
             "0123456789@9.io",
             "a@sub.sub.example.com",
             "a@ex-ample.com",
             // more than mail allows
             ".@-.cd",
             "..a..@..b..cd",
             "a@b..cd",
             "a@.cd.ef",
         })
        EXPECT_TRUE(isRecipient(address)) << address;
    for (const std::string address : {
             "", "a", "@", "a@", "@b.cd", "a@b", "a@b.", "a@b.c", "a@.cd", "a@b.c1", "a@b.cd.", "a@b.cd-",
             "a@b.1cd", "a@b@c.de", "a@@b.cd", "a@b_c.de", "a@b+c.de", "a!@b.cd", "'a'@b.cd", "a/b@c.de",
             "a:b@c.de", "a~b@c.de", "a=b@c.de", "%20a@b.cd", "a@b.cd%20", "a%20b@c.de", "a@b%20c.de",
             "a@b.cd%0A", "a@b.cd%0D%0A", "%3Ca@b.cd%3E", "Ada%20%3Ca@b.cd%3E", "a@%5B127.0.0.1%5D",
             "a@127.0.0.1", "%C3%BC@b.cd", "a@b.c%C3%BC",
             "a@b.%C5%BFd", // a long s, which without regard to case is an s
             "a@b.%E2%84%AAd", // a kelvin sign
         })
        EXPECT_FALSE(isRecipient(address)) << address;
}

TEST(MailToParser, TakesATopLevelOfTwoToSixtyFourLetters)
{
    for (const auto& [length, passes] : {std::pair{0, false}, {1, false}, {2, true}, {3, true}, {63, true},
             {64, true}, {65, false}, {66, false}})
        EXPECT_EQ(isRecipient("a@b." + std::string(static_cast<std::size_t>(length), 'c')), passes) << length;
}

TEST(MailToParser, GivesNothingForAnotherScheme)
{
    for (const auto link : {"MAILTO:a@example.com"sv, "Mailto:a@example.com"sv, "mailtO:a@example.com"sv,
             "mailtos:a@example.com"sv, "mail:a@example.com"sv, "xmailto:a@example.com"sv,
             "mail-to:a@example.com"sv, "mailto"sv, "a@example.com"sv, "//mailto:a@example.com"sv,
             "/mailto:a@example.com"sv, "?mailto:a@example.com"sv, "%6Dailto:a@example.com"sv,
             "mailto%3Aa@example.com"sv, "http://example.com/mailto:a@example.com"sv,
             // RFC 3986, section 5.4
             "g:h"sv, "./g"sv, "/g"sv, "//g"sv, "?y"sv, "g?y#s"sv, ";x=1/../y"sv, "../../../g"sv,
             "g;x=1/./y"sv, "g?y/../x"sv, "g#s/../x"sv, "http:g"sv,
             // RFC 3986, section 1.1.2
             "ftp://ftp.is.co.za/rfc/rfc1808.txt"sv, "http://www.ietf.org/rfc/rfc2396.txt"sv,
             "ldap://[2001:db8::7]/c=GB?objectClass?one"sv, "news:comp.infosystems.www.servers.unix"sv,
             "tel:+1-816-555-1212"sv, "telnet://192.0.2.16:80/"sv,
             "urn:oasis:names:specification:docbook:dtd:xml:4.1.2"sv})
        EXPECT_EQ(parseMailTo(link), std::nullopt) << link;
}

TEST(MailToParser, GivesNothingForWhatIsNoURL)
{
    for (const auto link : {""sv, " "sv, " mailto:a@example.com"sv, "mailto:a@example.com "sv,
             "mailto:a@example.com, b@example.com"sv, "mailto:Ada <a@example.com>"sv,
             "mailto:a@example.com\n"sv, "mailto :a@example.com"sv, "m\u0430ilto:a@example.com"sv,
             "mailto\uFF1Aa@example.com"sv, "mailto:\u00FC@example.com"sv,
             "mailto:a@example.com?subject=\u00FC"sv, "mailto:%"sv, "mailto:a%4@example.com"sv,
             "mailto:a%zz@example.com"sv, "mailto:?subject=100%"sv, "mailto:?subject=%%41"sv, "mailto:\xFF"sv,
             "mailto:?body=\xC3"sv, "mailto:\0"sv, "mailto:a@example.com\0"sv, "mailto:?body=a\0b"sv,
             "mailto:[a@example.com]"sv, "mailto://[::1"sv})
        EXPECT_EQ(parseMailTo(link), std::nullopt) << link;
}

TEST(MailToParser, PrintsNothing)
{
    testing::internal::CaptureStdout();
    for (const auto link : {""sv, "mailto:nobody"sv, "mailto:a@example.com"sv, "http://example.com"sv})
        static_cast<void>(parseMailTo(link));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(MailToParser, TakesLinksOfAnyLength)
{
    constexpr std::size_t count = 100'000;
    std::string link = "mailto:";
    for (std::size_t recipient = 0; recipient < count; ++recipient)
        link += (recipient == 0 ? "a" : ",a") + std::to_string(recipient) + "@example.com";
    EXPECT_EQ(parseMailTo(link)->recipients->size(), count);
    EXPECT_EQ(parseMailTo(link)->recipients->back(), "a99999@example.com");
    EXPECT_EQ(parseMailTo(link + ",nobody?subject=s"), (MailToParseResult{{}, "s", {}}));
    EXPECT_EQ(parseMailTo("mailto:" + std::string(1'000'000, ',')), MailToParseResult());

    const std::string megabyte(1'000'000, 'a');
    EXPECT_EQ(parseMailTo("mailto:?subject=" + megabyte + "&body=" + megabyte),
        (MailToParseResult{{}, megabyte, megabyte}));
    std::string items;
    for (std::size_t item = 0; item < count; ++item)
        items += "cc=%20&";
    EXPECT_EQ(parseMailTo("mailto:?" + items + "body=b")->body, "b");
    EXPECT_EQ(parseMailTo("mailto:?" + items), MailToParseResult());
}

TEST(MailToParser, ReadsAnAddressOfAnyLength)
{
    const auto repeated = [](std::string_view text) {
        std::string all;
        while (all.size() < 1'000'000)
            all += text;
        return all;
    };
    const std::string letters = repeated("a");
    EXPECT_TRUE(isRecipient(letters + "@example.com"));
    EXPECT_TRUE(isRecipient("a@" + letters + ".com"));
    EXPECT_TRUE(isRecipient("a@" + repeated("a.") + "com"));
    // What makes a search go back over and over.
    EXPECT_FALSE(isRecipient(letters));
    EXPECT_FALSE(isRecipient("a@" + letters));
    EXPECT_FALSE(isRecipient("a@b." + letters));
    EXPECT_FALSE(isRecipient("a@" + repeated("a.")));
    EXPECT_FALSE(isRecipient("a@" + repeated("aa.")));
    EXPECT_FALSE(isRecipient("a@" + repeated(std::string(64, 'a') + ".") + "1"));
    EXPECT_FALSE(isRecipient(repeated("a@")));
    EXPECT_FALSE(isRecipient(repeated("a@b.cd")));
    EXPECT_FALSE(isRecipient(repeated(".")));
    EXPECT_FALSE(isRecipient(repeated("%25")));
}

TEST(MailToParser, ReadsOnSeveralThreadsAtOnce)
{
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round)
                EXPECT_EQ(parseMailTo("mailto:a@example.com,b@example.com")->recipients->size(), 2u);
        });
}

} // namespace
