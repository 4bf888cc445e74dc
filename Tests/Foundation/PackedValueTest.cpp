#include "Foundation/PackedValue.h"

#include "Support/Printing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace LumoKit::detail {
namespace {

using namespace std::string_literals;

Value nested(int levels, Value innermost = 1)
{
    for (int level = 0; level < levels; ++level)
        innermost = Value(Value::Array{std::move(innermost)});
    return innermost;
}

TEST(PackedValue, KeepsEveryTypeAndEveryBit)
{
    const Data bytes{std::byte(0), std::byte(255)};
    const Value values[] = {
        Value(Value::Array()),
        Value::Dictionary(),
        Value::Array{true, false, 0, 1, -1, 127, 128, 255, 256, 65536,
            std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()},
        Value::Array{0.0, 1.0, 0.1, 1e308, -5e-324, std::numeric_limits<double>::infinity()},
        Value::Array{"", "text", "nul \0 nul"s, "no UTF-8 \xff", "日本"},
        Value::Array{Date(Date::duration(0)), Date(Date::duration(0.1)), Date(Date::duration(-1e18))},
        Value::Array{Data(), bytes, Data(70'000)},
        Value::Dictionary{{"", 1},
            {"key\0nul"s, Value::Dictionary{{"inner", Value(Value::Array{Value(Value::Array{2})})}}}},
        nested(Value::maximumDepth),
    };
    for (const Value& value : values) {
        EXPECT_TRUE(isPropertyList(value)) << value.description();
        EXPECT_EQ(unpacked(packed(value)), value) << value.description();
    }
    const auto zero = unpacked(packed(Value(Value::Array{-0.0, std::nan("")})));
    ASSERT_TRUE(zero);
    EXPECT_TRUE(std::signbit(*(*zero)[0u].asNumber()));
    EXPECT_TRUE(std::isnan(*(*zero)[1u].asNumber()));
}

TEST(PackedValue, GivesNothingForOtherBytes)
{
    const std::string text = packed(Value(Value::Array{"text"}));
    EXPECT_EQ(unpacked(""), std::nullopt);
    EXPECT_EQ(unpacked("\xc0"), std::nullopt) << "null";
    EXPECT_EQ(unpacked("\x91\xc0"), std::nullopt) << "an array with a null";
    EXPECT_EQ(unpacked("\xcf\xff\xff\xff\xff\xff\xff\xff\xff"), std::nullopt)
        << "more than a signed integer holds";
    EXPECT_EQ(unpacked("\xc1"), std::nullopt) << "never used";
    EXPECT_EQ(unpacked(text.substr(0, text.size() - 1)), std::nullopt) << "cut off";
    EXPECT_EQ(unpacked(text + "x"), std::nullopt) << "followed by more";
    EXPECT_EQ(unpacked("\xd4\x02\x01"), std::nullopt) << "an extension that is not ours";
    EXPECT_EQ(unpacked("\xd4\x01\x01"), std::nullopt) << "a date of one byte";
    EXPECT_EQ(unpacked("\xdd\xff\xff\xff\xff"), std::nullopt)
        << "an array that promises four thousand millions";
    EXPECT_EQ(unpacked("\x81\x01\x01"), std::nullopt) << "a key that is no text";
}

TEST(PackedValue, GivesNothingForWhatIsNestedTooDeep)
{
    EXPECT_EQ(unpacked(std::string(Value::maximumDepth + 1, '\x91') + "\x01"), std::nullopt);
    EXPECT_EQ(unpacked(std::string(10'000'000, '\x91')), std::nullopt);
}

TEST(PropertyList, HoldsNoNullNoURLAndNothingTooDeep)
{
    EXPECT_FALSE(isPropertyList(nullptr));
    EXPECT_FALSE(isPropertyList(Value(Value::Array{1, nullptr})));
    EXPECT_FALSE(
        isPropertyList(Value::Dictionary{{"a", Value(Value::Array{*URL::parse("https://example.com")})}}));
    EXPECT_FALSE(isPropertyList(nested(Value::maximumDepth + 1)));
    EXPECT_FALSE(isPropertyList(nested(Value::maximumDepth, Value(Value::Array()))));
}

TEST(PropertyList, IsNotWhatWouldBeEndlessWrittenOut)
{
    Value tangle = 1;
    for (int level = 0; level < 60; ++level)
        tangle = Value(Value::Array{tangle, tangle});
    EXPECT_FALSE(isPropertyList(tangle));
}

} // namespace
} // namespace LumoKit::detail
