#include "Support/Printing.h"

#include <LumoKit/Platform/Foundation/JSON.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace LumoKit;

TEST(JSON, ReadsEveryKindOfValue)
{
    const std::vector<std::pair<std::string, Value>> cases = {
        {"null", Value()},
        {"true", Value(true)},
        {" false ", Value(false)},
        {"0", Value(0)},
        {"-7", Value(-7)},
        {"9223372036854775807", Value(INT64_MAX)},
        {"-9223372036854775808", Value(INT64_MIN)},
        {"9223372036854775808", Value(9223372036854775808.0)},
        {"1.0", Value(1.0)},
        {"1e3", Value(1000.0)},
        {"-0.0", Value(-0.0)},
        {R"("")", Value("")},
        {R"("h\u00e9\ud83d\ude00\n\"")", Value("hé😀\n\"")},
        {R"("a\u0000b")", Value(std::string_view("a\0b", 3))},
        {"[]", Value(Value::Array{})},
        {R"([1, "two", [null]])", Value(Value::Array{1, "two", Value::Array{Value()}})},
        {"{}", Value(Value::Dictionary{})},
        {R"({"a": {"b": [1.5]}, "": 2})",
            Value(Value::Dictionary{{"a", Value::Dictionary{{"b", Value::Array{1.5}}}}, {"", 2}})},
        {R"({"a": 1, "a": 2})", Value(Value::Dictionary{{"a", 2}})},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(readJSON(text), expected) << text;
}

TEST(JSON, IsNothingForWhatItIsNot)
{
    using namespace std::string_view_literals;
    for (const std::string_view text : {""sv, " "sv, "nul"sv, "01"sv, "1."sv, "+1"sv, "NaN"sv, "'a'"sv,
             "[1,]"sv, "[1"sv, "{\"a\"}"sv, "{a: 1}"sv, "1 2"sv, "\"\x01\""sv, "\"\\x\""sv, "\"\\ud800\""sv,
             "\"\xFF\""sv, "[1]\0"sv, "123456789012345678901234567890"sv})
        EXPECT_EQ(readJSON(text), std::nullopt) << text;
}

TEST(JSON, ReadsNestingUpToTheLimit)
{
    const auto nested = [](int levels, const std::string& innermost) {
        return std::string(static_cast<std::size_t>(levels), '[') + innermost
            + std::string(static_cast<std::size_t>(levels), ']');
    };
    for (const std::string innermost : {"", "1"}) {
        EXPECT_TRUE(readJSON(nested(Value::maximumDepth, innermost)));
        EXPECT_FALSE(readJSON(nested(Value::maximumDepth + 1, innermost)));
        EXPECT_FALSE(readJSON(nested(1'000'000, innermost)));
    }
    EXPECT_TRUE(readJSON(nested(Value::maximumDepth - 1, "{}")));
    EXPECT_FALSE(readJSON(nested(Value::maximumDepth, "{}")));
}

TEST(JSON, ReadsOnAfterATextThatWasLargeOrWrong)
{
    const std::string large = "[\"" + std::string(3'000'000, 'x') + "\"]";
    EXPECT_EQ(readJSON(large), Value(Value::Array{std::string(3'000'000, 'x')}));
    EXPECT_FALSE(readJSON("["));
    EXPECT_EQ(readJSON("[1]"), Value(Value::Array{1}));
}

} // namespace
