#include <LumoKit/Platform/Foundation/PercentEncoding.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

TEST(PercentEncoding, KeepsOfTheASCIICharactersThoseOfAQuery)
{
    const auto kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=:@/?"sv;
    for (int code = 0; code < 128; ++code) {
        const std::string text(1, static_cast<char>(code));
        const auto encoded = addingPercentEncoding(text, urlQueryAllowed);
        constexpr char digits[] = "0123456789ABCDEF";
        const std::string escaped{'%', digits[code / 16], digits[code % 16]};
        EXPECT_EQ(encoded, kept.contains(static_cast<char>(code)) ? text : escaped) << code;
    }
}

TEST(PercentEncoding, WritesTheBytesOfWhatIsBeyondASCII)
{
    EXPECT_EQ(
        addingPercentEncoding("\u00FC\u20AC\U0001F600", urlQueryAllowed), "%C3%BC%E2%82%AC%F0%9F%98%80");
    EXPECT_EQ(addingPercentEncoding("", urlQueryAllowed), "");
}

TEST(PercentEncoding, KeepsWhatItsCallerAllows)
{
    EXPECT_EQ(addingPercentEncoding("a-b c", "abc"), "a%2Db%20c");
    EXPECT_EQ(addingPercentEncoding("ab", ""), "%61%62");
}

TEST(PercentEncoding, GivesNothingForWhatIsNoUTF8)
{
    for (const auto text : {"\xFF"sv, "a\xC3"sv, "\xED\xA0\x80"sv, "\xC0\x80"sv})
        EXPECT_EQ(addingPercentEncoding(text, urlQueryAllowed), std::nullopt) << text;
}

TEST(PercentEncoding, TakesAMegabyteOfText)
{
    EXPECT_EQ(addingPercentEncoding(std::string(1'000'000, ' '), urlQueryAllowed)->size(), 3'000'000u);
}

TEST(PercentEncoding, KeepsLettersMarksAndDigitsOfAnyScript)
{
    for (const auto text : {"Az09"sv, "\u00FC"sv, "e\u0301"sv, "\u6F22"sv, "\u0663"sv, "\U0001D7D8"sv,
             "\U00010400"sv, "\u0903"sv, ""sv})
        EXPECT_EQ(addingPercentEncodingToAllButAlphanumerics(text), text);
    EXPECT_EQ(addingPercentEncodingToAllButAlphanumerics("a-._~ b%\n\0"sv), "a%2D%2E%5F%7E%20b%25%0A%00");
    EXPECT_EQ(addingPercentEncodingToAllButAlphanumerics("\u20AC\U0001F600\u00B2\u00BD\u2167\u200D"),
        "%E2%82%AC%F0%9F%98%80%C2%B2%C2%BD%E2%85%A7%E2%80%8D"); // no digits: superscripts, fractions, numerals
    for (const auto text : {"\xFF"sv, "a\xC3"sv, "\xED\xA0\x80"sv, "\xC0\x80"sv, "\xF4\x90\x80\x80"sv})
        EXPECT_EQ(addingPercentEncodingToAllButAlphanumerics(text), std::nullopt);
}

} // namespace
