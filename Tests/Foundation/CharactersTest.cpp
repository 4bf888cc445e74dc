#include <LumoKit/Platform/Foundation/Characters.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>
#include <thread>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

TEST(FirstCharacters, CountsAsAReaderDoes)
{
    struct Case {
        const char* what;
        std::string_view text;
        std::size_t count;
        std::string_view first;
    };
    static constexpr Case cases[]{
        {"none", "abc", 0, ""},
        {"none of nothing", "", 0, ""},
        {"ASCII", "abc", 1, "a"},
        {"ASCII up to the end", "abc", 3, "abc"},
        {"a zero byte", "a\0b"sv, 2, "a\0"sv},
        {"carriage return and line feed", "\r\n\r\nx", 1, "\r\n"},
        {"line feed and carriage return", "\n\rx", 1, "\n"},
        {"a letter of two bytes", "\u00E4b", 1, "\u00E4"},
        {"a combining accent", "e\u0301f", 1, "e\u0301"},
        {"several combining accents", "a\u0308\u0323b", 1, "a\u0308\u0323"},
        {"an accent without a letter", "\u0301a", 1, "\u0301"},
        {"Han", "\u6F22\u5B57", 1, "\u6F22"},
        {"a Hangul syllable of three letters", "\u1112\u1161\u11ABx", 1, "\u1112\u1161\u11AB"},
        {"Devanagari with a vowel sign", "\u0915\u093F\u0916", 1, "\u0915\u093F"},
        {"an emoji", "\U0001F600!", 1, "\U0001F600"},
        {"a skin tone", "\U0001F44B\U0001F3FD!", 1, "\U0001F44B\U0001F3FD"},
        {"a family joined into one", "\U0001F468\u200D\U0001F469\u200D\U0001F467!", 1,
            "\U0001F468\u200D\U0001F469\u200D\U0001F467"},
        {"a keycap", "1\uFE0F\u20E32", 1, "1\uFE0F\u20E3"},
        {"a flag", "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", 1, "\U0001F1E9\U0001F1EA"},
        {"two flags", "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7!", 2,
            "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"},
        {"everything together", "a\r\ne\u0301\U0001F600z", 4, "a\r\ne\u0301\U0001F600"},
    };
    for (const auto& [what, text, count, first] : cases) {
        const auto found = firstCharacters(text, count);
        ASSERT_TRUE(found.has_value()) << what;
        EXPECT_EQ(*found, first) << what;
        EXPECT_EQ(found->data(), text.data()) << what; // a part of the text, not a copy
    }
}

TEST(FirstCharacters, GivesNothingWhenTheTextHasFewer)
{
    struct Case {
        std::string_view text;
        std::size_t count;
    };
    static constexpr Case cases[]{
        {"", 1}, {"abc", 4}, {"e\u0301", 2}, // three bytes, one character
        {"\r\n", 2}, {"\U0001F1E9\U0001F1EA", 2}, {"abc", std::numeric_limits<std::size_t>::max()},
        {"", std::numeric_limits<std::size_t>::max()}, {"abc", 0x1'0000'0001}, // whose low half is 1
    };
    for (const auto& [text, count] : cases)
        EXPECT_EQ(firstCharacters(text, count), std::nullopt) << text << ' ' << count;
}

TEST(FirstCharacters, KeepsBytesThatAreNoUTF8)
{
    for (const auto text :
        {"\xFF"sv, "\xC3"sv, "\x80\x80"sv, "\xF0\x9F\x98"sv, "\xED\xA0\x80"sv, "\xC0\xAF"sv}) {
        const std::string whole = "ab" + std::string(text) + "cd";
        EXPECT_EQ(firstCharacters(whole, 2), "ab");
        // The broken part is one character at least, and one a byte at most.
        std::size_t count = 3;
        while (firstCharacters(whole, count) && *firstCharacters(whole, count) != whole)
            ++count;
        EXPECT_GE(count, 5u);
        EXPECT_LE(count, 4 + text.size());
        EXPECT_EQ(firstCharacters(whole, count), whole);
        EXPECT_EQ(firstCharacters(whole, count + 1), std::nullopt);
    }
}

TEST(FirstCharacters, LeavesNoTraceOfAnEarlierText)
{
    {
        const std::string gone(1000, 'x');
        EXPECT_EQ(firstCharacters(gone, 999)->size(), 999u);
    }
    EXPECT_EQ(firstCharacters("e\u0301f", 1), "e\u0301");
    EXPECT_EQ(firstCharacters("ab", 3), std::nullopt);
    EXPECT_EQ(firstCharacters("ab", 1), "a");
}

TEST(FirstCharacters, GoesThroughALongText)
{
    std::string text;
    for (int number = 0; number < 100'000; ++number)
        text += "e\u0301";
    EXPECT_EQ(firstCharacters(text, 100'000)->size(), text.size());
    EXPECT_EQ(firstCharacters(text, 100'001), std::nullopt);
}

TEST(FirstCharacters, WorksOnEveryThread)
{
    std::jthread([] { EXPECT_EQ(firstCharacters("e\u0301f", 1), "e\u0301"); }).join();
    std::jthread([] { EXPECT_EQ(firstCharacters("e\u0301f", 2), "e\u0301f"); }).join();
}

TEST(IsUTF8, TellsTextFromBytes)
{
    using namespace std::string_view_literals;
    for (const auto text : {""sv, "plain"sv, "h\u00E9 \U0001F600"sv, "a\0b"sv, "\xEF\xBB\xBFmarked"sv})
        EXPECT_TRUE(isUTF8(text)) << text;
    for (const auto bytes :
        {"\xFF"sv, "\xC3"sv, "\xC0\x80"sv, "\xED\xA0\x80"sv, "\xF5\x80\x80\x80"sv, "a\x80"sv})
        EXPECT_FALSE(isUTF8(bytes));
}

TEST(CharacterCount, CountsAsAReaderDoes)
{
    struct Case {
        std::string_view text;
        std::size_t count;
    };
    static constexpr Case cases[]{
        {"", 0},
        {"abc", 3},
        {"a\0b"sv, 3},
        {"\r\n", 1},
        {"\n\r", 2},
        {"\r\r\n\n", 3},
        {"\u00E4\u6F22", 2},
        {"e\u0301f", 2},
        {"\U0001F600!", 2},
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467!", 2},
        {"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", 2},
    };
    for (const auto& [text, count] : cases)
        EXPECT_EQ(characterCount(text), count) << text;
}

TEST(CharacterCount, IsHowManyFirstCharactersThereAre)
{
    for (const auto text :
        {"abc"sv, "\r\n\r"sv, "\U0001F600e\u0301"sv, "\xFF\xFE"sv, "a\xE2\x82z"sv, "\xC3"sv}) {
        EXPECT_EQ(firstCharacters(text, characterCount(text)), text);
        EXPECT_EQ(firstCharacters(text, characterCount(text) + 1), std::nullopt);
    }
}

TEST(CharacterCount, CountsAMegabyte)
{
    EXPECT_EQ(characterCount(std::string(1'000'000, 'a')), 1'000'000u);
    std::string flags;
    for (int flag = 0; flag < 125'000; ++flag)
        flags += "\U0001F1E9\U0001F1EA";
    EXPECT_EQ(characterCount(flags), 125'000u);
    EXPECT_GT(characterCount(std::string(1'000'000, '\xFF')), 0u);
}

} // namespace
