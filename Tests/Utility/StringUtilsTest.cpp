#include <LumoKit/Utility/String+Utils.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

using Integers = std::numeric_limits<std::int64_t>;

TEST(Clipped, KeepsWhatThereIsRoomForAndAppendsTheRest)
{
    struct Case {
        std::string_view text;
        std::int64_t to;
        std::string_view appending;
        std::string_view expected;
    };
    static constexpr Case cases[]{
        {"Hello world", 8, "...", "Hello..."},
        {"Hello world", 11, "...", "Hello wo..."},
        {"Hello world", 14, "...", "Hello world..."},
        // appended also to what was short enough
        {"Hi", 8, "...", "Hi..."},
        {"abc", 10, "...", "abc..."},
        {"", 10, "...", "..."},
        {"abc", Integers::max(), "...", "abc..."},
        // no room but for what is appended
        {"Hello", 3, "...", "..."},
        {"", 3, "...", "..."},
        // nothing appended
        {"Hello", 2, "", "He"},
        {"Hello", 5, "", "Hello"},
        {"Hello", 0, "", ""},
        {"", 0, "", ""},
        {"", Integers::max(), "", ""},
        // the room is counted in bytes and taken in characters
        {"\u00E4\u00F6\u00FC", 2, "", "\u00E4\u00F6"},
        {"\u00E4\u00F6\u00FC", 3, "", "\u00E4\u00F6\u00FC"},
        {"\u00E4\u00F6\u00FCabc", 5, "\u2026", "\u00E4\u00F6\u2026"},
        {"Hello world", 8, "\u2026", "Hello\u2026"}, // the ellipsis is three bytes
        {"e\u0301e\u0301e\u0301", 2, "", "e\u0301e\u0301"},
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467!", 1, "", "\U0001F468\u200D\U0001F469\u200D\U0001F467"},
        {"\U0001F1E9\U0001F1EA!", 2, "", "\U0001F1E9\U0001F1EA!"},
        {"a\r\nb", 2, "", "a\r\n"},
        {"a\0b"sv, 2, "", "a\0"sv},
    };
    for (const auto& [text, to, appending, expected] : cases)
        EXPECT_EQ(clipped(text, to, appending), expected) << text << ' ' << to << ' ' << appending;
}

TEST(Clipped, IsAtMostThatManyBytesLongForASCII)
{
    const std::string text = "The quick brown fox";
    for (std::int64_t to = 3; to < 30; ++to)
        EXPECT_LE(clipped(text, to, "...").size(), static_cast<std::size_t>(to));
}

TEST(ClippedDeathTest, StopsTheProcessWithoutRoomForWhatIsAppended)
{
    EXPECT_DEATH(static_cast<void>(clipped("Hello", 2, "...")), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(clipped("", 2, "...")), "Fatal error: ");
    EXPECT_DEATH(
        static_cast<void>(clipped("Hello", 2, "\u2026")), "Fatal error: "); // one character, three bytes
    EXPECT_DEATH(static_cast<void>(clipped("Hello", -1, "")), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(clipped("Hello", Integers::min(), "")), "Fatal error: ");
}

TEST(ClippedDeathTest, StopsTheProcessWhenTheRoomIsOutOfRange)
{
    EXPECT_DEATH(static_cast<void>(clipped("Hello", Integers::min(), "...")), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(clipped("Hello", Integers::min() + 2, "...")), "Fatal error: ");
}

TEST(ClippedDeathTest, StopsTheProcessWhenTheTextHasFewerCharactersThanItWasTakenToHave)
{
    EXPECT_DEATH(static_cast<void>(clipped("\u00E4\u00F6\u00FC", 4, "")), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(clipped("\u00E4\u00F6\u00FC", 100, "...")), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(clipped("\r\n", 2, "")), "Fatal error: ");
}

} // namespace
