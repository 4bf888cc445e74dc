#include <LumoKit/Utility/Pluralize.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

using namespace LumoKit;

namespace {

TEST(Pluralize, GivesTheWordForExactlyOneAndThePluralForAllElse)
{
    struct Case {
        const char* word;
        std::int64_t count;
        std::optional<std::string> plural;
        const char* expected;
    };
    const Case cases[]{
        {"message", 1, std::nullopt, "message"},
        {"message", 0, std::nullopt, "messages"},
        {"message", 2, std::nullopt, "messages"},
        {"message", -1, std::nullopt, "messages"},
        {"message", 11, std::nullopt, "messages"},
        {"message", 4294967297, std::nullopt, "messages"}, // whose low half is 1
        {"message", std::numeric_limits<std::int64_t>::min(), std::nullopt, "messages"},
        {"message", std::numeric_limits<std::int64_t>::max(), std::nullopt, "messages"},
        {"mouse", 1, "mice", "mouse"},
        {"mouse", 2, "mice", "mice"},
        {"mouse", 0, "mice", "mice"},
        {"mouse", -1, "mice", "mice"},
        {"sheep", 2, "", ""}, // a plural that is given counts, whatever it is
        {"box", 2, std::nullopt, "boxs"}, // there is no other rule
        {"entry", 2, std::nullopt, "entrys"},
        {"glass", 2, std::nullopt, "glasss"},
        {"", 2, std::nullopt, "s"},
        {"", 1, std::nullopt, ""},
    };
    for (const auto& [word, count, plural, expected] : cases)
        EXPECT_EQ(pluralize(word, count, plural), expected) << word << ' ' << count;
}

TEST(Pluralize, NeedsNoPluralForm)
{
    EXPECT_EQ(pluralize("cup", 1), "cup");
    EXPECT_EQ(pluralize("cup", 3), "cups");
}

} // namespace
