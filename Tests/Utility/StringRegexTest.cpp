#include <LumoKit/Utility/String+Regex.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

using Texts = std::vector<std::string>;

/// What no compiler of regular expressions takes.
constexpr std::string_view broken[]{"", "(", ")", "[", "[z-a]", "a{2,1}", "*", "+a", "\\", "(?<", "\\k<none>",
    "(?<=a*)b", "[[:nothing:]]", "\xFF", "a\xC3"};

TEST(RegexTest, FindsAMatchInUpperAndLowerCaseAlike)
{
    struct Case {
        std::string_view text;
        std::string_view regex;
        bool found;
    };
    static constexpr Case cases[]{
        {"Re: The HARBOUR map", "harbour", true},
        {"re: the harbour map", "HARBOUR", true},
        {"Re: The HARBOUR map", "[a-z]{7}", true},
        {"STRA\u00DFE", "strasse", true},
        {"\u00C4pfel", "\u00E4PFEL", true},
        {"harbour", "port", false},
        {"harbour", "^our", false},
        {"harbour", "our$", true},
        {"harbour", "(?-i)HARBOUR", false},
        {"", "a", false},
        {"", "a?", true},
        {"", "^$", true},
        {"a\0b"sv, "b", true},
        {"a\0b"sv, "a\0b"sv, true},
        {"ab", "a\0b"sv, false},
        {"a\nb", "a.b", false},
        {"a\nb", "a$", false},
        {"a\n", "a$", true},
    };
    for (const auto& [text, regex, found] : cases)
        EXPECT_EQ(test(text, regex), found) << text << ' ' << regex;
}

TEST(RegexTest, SearchesAsManyUnitsAsTheTextHasCharacters)
{
    struct Case {
        std::string_view text;
        std::string_view regex;
        bool found;
    };
    static constexpr Case cases[]{
        // one unit a character: all of it
        {"\u00E4\u6F22x", "x", true},
        {"\n\rx", "x", true},
        // beyond the basic plane: two units, one character
        {"\U0001F600x", "x", false},
        {"x\U0001F600", "x", true},
        {"\U0001F600xy", "x", true},
        {"\U0001F600xy", "y", false},
        {"\U0001F600\U0001F600abc", "a", true},
        {"\U0001F600\U0001F600abc", "b", false},
        // a last unit that is half a character
        {"\U0001F600", ".", true},
        {"\U0001F600", "\U0001F600", false},
        {"a\U0001F600", "a.$", true},
        // composed
        {"e\u0301x", "x", false},
        {"e\u0301xy", "x", true},
        {"\U0001F1E9\U0001F1EA!", "!", false},
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467 harbour", "harbour", false},
        {"harbour \U0001F468\u200D\U0001F469\u200D\U0001F467", "harbour", true},
        // a carriage return and its line feed
        {"a\r\nb", "b", false},
        {"a\r\nb", "\\n", true},
        {"a\r\nb!", "b", true},
        // what follows is as if it were not there
        {"e\u0301x", "\u0301$", true},
        {"e\u0301x", "\u0301(?!x)", true},
        {"e\u0301x", "\u0301(?=x)", false},
        {"e\u0301x", "\u0301\\b", true},
    };
    for (const auto& [text, regex, found] : cases)
        EXPECT_EQ(test(text, regex), found) << text << ' ' << regex;
}

TEST(RegexTest, ReadsBytesThatAreNoUTF8AsReplacements)
{
    EXPECT_TRUE(test("a\xFF"
                     "b",
        "a\uFFFDb"));
    EXPECT_TRUE(test("\xE2\x82", "^\uFFFD$"));
    EXPECT_TRUE(test("\xFF\xFEharbour", "harbour"));
    EXPECT_TRUE(test("\xED\xA0\x80z", "z"));
}

TEST(RegexTest, IsFalseAndSilentForAPatternThatDoesNotCompile)
{
    testing::internal::CaptureStdout();
    for (const auto pattern : broken)
        EXPECT_FALSE(test("abc", pattern)) << pattern;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(RegexMatches, AreAllThatDoNotOverlapInOrder)
{
    struct Case {
        std::string_view text;
        std::string regex;
        Texts found;
    };
    for (const auto& [text, regex, found] : {
             Case{"one two three", "[a-z]+", {"one", "two", "three"}},
             {"aaaa", "aa", {"aa", "aa"}},
             {"aaaaa", "aa", {"aa", "aa"}},
             {"abab", "(a)(b)", {"ab", "ab"}}, // the whole match, not its groups
             {"abc", "x", {}},
             {"", "a", {}},
             {"", "a*", {""}},
             {"ab", "x*", {"", "", ""}},
             {"baab", "a*", {"", "aa", "", ""}},
             // with the case as it is written
             {"Aa", "a", {"a"}},
             {"Aa", "(?i)a", {"A", "a"}},
             // the whole text, whatever is in it
             {"\U0001F600x", "x", {"x"}},
             {"e\u0301x", "x", {"x"}},
             {"a\r\nb", "b", {"b"}},
             {"\U0001F600\u00E4\u6F22z", ".", {"\U0001F600", "\u00E4", "\u6F22", "z"}},
             {"\U0001F600\u00E4\u6F22z", "\u6F22.|\u00E4", {"\u00E4", "\u6F22z"}},
             {"\U0001F600\U0001F600", "$", {""}},
             {"a\u0308a", "a\\X?", {"a\u0308", "a"}},
             {"a\0b"sv, "[^a]+", {std::string("\0b", 2)}},
             {"a\0b\0"sv, std::string("\0", 1), {std::string("\0", 1), std::string("\0", 1)}},
             // bytes that are no UTF-8 are found as they are
             {"\xFF\xFEz", ".", {"\xFF", "\xFE", "z"}},
             {"\xE2\x82z\u00E4", ".", {"\xE2\x82", "z", "\u00E4"}},
             {"\xF0\x9F\x98", "\uFFFD", {"\xF0\x9F\x98"}},
         })
        EXPECT_EQ(matches(text, regex), found) << text << ' ' << regex;
}

TEST(RegexMatches, AreNoneForAPatternThatDoesNotCompileWhichIsPrinted)
{
    for (const auto pattern : broken) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(matches("abc", std::string(pattern)), Texts()) << pattern;
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_TRUE(printed.starts_with("Invalid regex: ")) << pattern << ": " << printed;
        EXPECT_GT(printed.size(), "Invalid regex: \n"sv.size()) << pattern;
        EXPECT_EQ(printed.find('\n'), printed.size() - 1) << pattern;
    }
    testing::internal::CaptureStdout();
    static_cast<void>(matches("abc", "b"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(RegexMatchesDeathTest, StopTheProcessWithoutAPattern)
{
    EXPECT_DEATH(static_cast<void>(matches("abc", std::nullopt)), "Fatal error: ");
}

TEST(CapturedGroups, AreThoseOfTheFirstMatch)
{
    struct Case {
        std::string_view text;
        std::string_view regex;
        Texts groups;
    };
    for (const auto& [text, regex, groups] : {
             Case{"a1 b2", "([a-z])([0-9])", {"a", "1"}},
             {"tea for two", "(t)(ea|wo)", {"t", "ea"}},
             {"abc", "(a)(b)(c)", {"a", "b", "c"}},
             {"abc", "((a)(b))c", {"ab", "a", "b"}},
             {"abc", "b(.*)", {"c"}},
             {"ab", "b(.*)", {""}},
             {"abc", "(?:a)(?<rest>.*)", {"bc"}},
             {"abab", "(?:(a)b)*", {"a"}},
             // around the match
             {"abc", "(?<=(a))b(?=(c))", {"a", "c"}},
             // no group, no match
             {"abc", "b", {}},
             {"abc", "(?:b)", {}},
             {"abc", "(x)", {}},
             {"", "(x)", {}},
             // a group that took no part
             {"b", "(a)|(b)", {"", "b"}},
             {"b", "(a)?b", {""}},
             // with the case as it is written
             {"AB", "(a)", {}},
             // the whole text
             {"\U0001F600\U0001F600\u00E4z", "(.)(z)", {"\u00E4", "z"}},
             {"\U0001F600x", "(.)(x)", {"\U0001F600", "x"}},
             {"a\0b"sv, "a(.)b", {std::string("\0", 1)}},
             {"a\xFFz", "(.)z", {"\xFF"}},
         })
        EXPECT_EQ(capturedGroups(text, regex), groups) << text << ' ' << regex;
}

TEST(CapturedGroups, AreNoneAndSilentForAPatternThatDoesNotCompile)
{
    testing::internal::CaptureStdout();
    for (const auto pattern : broken)
        EXPECT_EQ(capturedGroups("abc", pattern), Texts()) << pattern;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Regex, EndsASearchThatWouldTakeForEverWithoutAMatch)
{
    struct Case {
        std::string text;
        std::string regex;
    };
    const std::string letters(100'000, 'a');
    for (const auto& [text, regex] : {
             Case{std::string(60, 'a') + "!", "^(a+)+$"},
             {std::string(60, 'a') + "!", "(a|aa)+$"},
             {letters, "[a-z]*@"},
             {letters, "(?:a|b)*c"},
             {letters, "(a*)*b"},
             {letters, "(?:a(?=a*+))*b"},
             // back references
             {letters.substr(0, 20'000), "^(a*)\\1b"},
             {letters, "^(a*)\\1b"},
             {letters, "^([a-z]*)\\1b"},
             {letters, "^(?<all>.*)\\k<all>b"},
         }) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(test(text, regex)) << regex;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15)) << regex;
    }
    EXPECT_EQ(matches(letters, "[a-z]*@"), Texts());
    EXPECT_EQ(capturedGroups(letters, "([a-z]*)@"), Texts());
}

TEST(Regex, KeepsTheMatchesBeforeASearchThatTookTooLong)
{
    EXPECT_EQ(matches("xx" + std::string(60, 'a') + "!", "x|(?:a+)+b"), (Texts{"x", "x"}));
}

TEST(Regex, ReadsLongTexts)
{
    constexpr std::size_t count = 250'000;
    std::string words;
    for (std::size_t word = 0; word < count; ++word)
        words += "tea ";
    EXPECT_EQ(matches(words, "\\w+").size(), count);
    EXPECT_TRUE(test(words + "!", "!"));
    EXPECT_FALSE(test(words, "coffee"));
    std::string flags;
    for (std::size_t flag = 0; flag < count / 2; ++flag)
        flags += "\U0001F1E9\U0001F1EA";
    EXPECT_EQ(matches(flags + "x", "\U0001F1EA").size(), count / 2);
    EXPECT_FALSE(test(flags + "x", "x"));
    const std::string bytes(1'000'000, '\xFF');
    EXPECT_EQ(matches(bytes, ".+"), Texts{bytes});
    EXPECT_TRUE(test(bytes, "."));
    EXPECT_EQ(capturedGroups(words, "^(.*)$"), Texts{words});
    std::string groups;
    for (int group = 0; group < 500; ++group)
        groups += "(.)";
    EXPECT_EQ(capturedGroups(flags, groups).size(), 500u);
}

TEST(Regex, CompilesHostilePatternsOrNot)
{
    for (const char character : {'(', '[', '{', '\\', '|', '?', '*', '.'}) {
        const std::string pattern(10'000, character);
        testing::internal::CaptureStdout();
        static_cast<void>(matches("abc", pattern));
        static_cast<void>(testing::internal::GetCapturedStdout());
    }
    EXPECT_TRUE(test("abc", std::string(50, '(') + "b" + std::string(50, ')')));
}

TEST(Regex, IsSearchedOnSeveralThreadsAtOnce)
{
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([] {
            for (int round = 0; round < 100; ++round)
                EXPECT_EQ(matches("one two", "[a-z]+").size(), 2u);
        });
}

} // namespace
