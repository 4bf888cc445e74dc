#include <LumoKit/Platform/Foundation/Value.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

using Type = Value::Type;
using Integers = std::numeric_limits<std::int64_t>;
using Doubles = std::numeric_limits<double>;

Date dateAt(double seconds)
{
    return Date(std::chrono::duration<double>(seconds));
}

Data bytes(std::initializer_list<int> numbers)
{
    Data data;
    for (const int number : numbers)
        data.push_back(static_cast<std::byte>(number));
    return data;
}

/// One value of each type, in the order of the types.
const std::vector<Value>& oneOfEach()
{
    static const std::vector<Value> values{nullptr, true, 42, 1.5, "tea", dateAt(60), bytes({1, 2, 3}),
        *URL::parse("https://example.com/a"), Value::Array{1, "two"}, Value::Dictionary{{"a", 1}}};
    return values;
}

TEST(Value, KnowsWhatItWasMadeFrom)
{
    int type = 0;
    for (const Value& value : oneOfEach())
        EXPECT_EQ(value.type(), static_cast<Type>(type++));
    EXPECT_EQ(type, 10);
    EXPECT_EQ(Value().type(), Type::null);
    EXPECT_TRUE(Value().isNull());
    EXPECT_FALSE(Value(false).isNull());
    EXPECT_EQ(Value(std::string("tea")).type(), Type::text);
    EXPECT_EQ(Value("tea"sv).type(), Type::text);
    EXPECT_EQ(Value(2.0).type(), Type::number);
    EXPECT_EQ(Value(1.5F).type(), Type::number);
}

TEST(Value, IsReadByEachReaderOfItsTypeAndNoOther)
{
    for (const Value& value : oneOfEach()) {
        const Type type = value.type();
        EXPECT_EQ(value.isNull(), type == Type::null);
        EXPECT_EQ(value.asBoolean().has_value(), type == Type::boolean);
        EXPECT_EQ(value.asInteger().has_value(), type == Type::integer); // 1.5 has a fraction
        EXPECT_EQ(value.asNumber().has_value(), type == Type::number || type == Type::integer);
        EXPECT_EQ(value.asText() != nullptr, type == Type::text);
        EXPECT_EQ(value.asDate().has_value(), type == Type::date);
        EXPECT_EQ(value.asData() != nullptr, type == Type::data);
        EXPECT_EQ(value.asURL().has_value(), type == Type::url);
        EXPECT_EQ(value.asArray() != nullptr, type == Type::array);
        EXPECT_EQ(value.asDictionary() != nullptr, type == Type::dictionary);
    }
}

TEST(Value, GivesBackWhatItHolds)
{
    EXPECT_EQ(Value(true).asBoolean(), true);
    EXPECT_EQ(Value(false).asBoolean(), false);
    EXPECT_EQ(Value(-7).asInteger(), -7);
    EXPECT_EQ(Value(1.25).asNumber(), 1.25);
    EXPECT_EQ(*Value("tea\0pot"sv).asText(), "tea\0pot"sv);
    EXPECT_EQ(Value("").asText()->size(), 0u);
    EXPECT_EQ(Value(dateAt(-0.5)).asDate(), dateAt(-0.5));
    EXPECT_EQ(*Value(bytes({0, 255})).asData(), bytes({0, 255}));
    EXPECT_EQ(Value(*URL::parse("a:b")).asURL()->absoluteString(), "a:b");
    EXPECT_EQ(Value(Value::Array{1, 2}).asArray()->size(), 2u);
    EXPECT_EQ(Value(Value::Dictionary{{"a", 1}}).asDictionary()->at("a"), Value(1));
}

TEST(Value, NeverTakesABooleanForANumber)
{
    for (const bool boolean : {true, false}) {
        EXPECT_EQ(Value(boolean).asInteger(), std::nullopt);
        EXPECT_EQ(Value(boolean).asNumber(), std::nullopt);
        EXPECT_NE(Value(boolean), Value(boolean ? 1 : 0));
        EXPECT_NE(Value(boolean), Value(boolean ? 1.0 : 0.0));
    }
    for (const Value& number : {Value(0), Value(1), Value(0.0), Value(1.0)})
        EXPECT_EQ(number.asBoolean(), std::nullopt);
}

TEST(Value, DoesNotTakeAPointerForABoolean)
{
    static_assert(!std::is_constructible_v<Value, void*>);
    static_assert(!std::is_constructible_v<Value, const int*>);
    const char* text = "tea";
    EXPECT_EQ(Value(text).type(), Type::text);
    EXPECT_EQ(Value(nullptr).type(), Type::null);
}

TEST(Value, TakesEveryKindOfInteger)
{
    EXPECT_EQ(Value(std::int8_t(-128)).asInteger(), -128);
    EXPECT_EQ(Value(std::uint8_t(255)).asInteger(), 255);
    EXPECT_EQ(Value(std::uint16_t(65535)).asInteger(), 65535);
    EXPECT_EQ(Value(std::uint32_t(4294967295)).asInteger(), 4294967295);
    EXPECT_EQ(Value(Integers::min()).asInteger(), Integers::min());
    EXPECT_EQ(Value(Integers::max()).asInteger(), Integers::max());
    EXPECT_EQ(Value(std::uint64_t(Integers::max())).asInteger(), Integers::max());
    EXPECT_EQ(Value(std::size_t(5)).type(), Type::integer);
}

TEST(Value, TurnsAnIntegerBeyondTheRangeIntoTheNearestNumber)
{
    const Value beyond(std::uint64_t(Integers::max()) + 1);
    EXPECT_EQ(beyond.type(), Type::number);
    EXPECT_EQ(beyond.asNumber(), 0x1p63);
    EXPECT_EQ(beyond.asInteger(), std::nullopt);
    EXPECT_EQ(Value(std::numeric_limits<std::uint64_t>::max()).asNumber(), 0x1p64);
}

TEST(Value, ReadsAWholeNumberAsAnIntegerWhereNothingIsLost)
{
    struct Case {
        double number;
        std::optional<std::int64_t> integer;
    };
    for (const auto& [number, integer] : {
             Case{0.0, 0},
             {-0.0, 0},
             {5.0, 5},
             {-5.0, -5},
             {0.5, std::nullopt},
             {-0.5, std::nullopt},
             {Doubles::denorm_min(), std::nullopt},
             {0x1p53, std::int64_t(1) << 53},
             {std::nextafter(0x1p63, 0), Integers::max() - 1023},
             {0x1p63, std::nullopt},
             {-0x1p63, Integers::min()},
             {std::nextafter(-0x1p63, -Doubles::infinity()), std::nullopt},
             {1e300, std::nullopt},
             {Doubles::infinity(), std::nullopt},
             {-Doubles::infinity(), std::nullopt},
             {Doubles::quiet_NaN(), std::nullopt},
         })
        EXPECT_EQ(Value(number).asInteger(), integer) << number;
}

TEST(Value, ReadsAnIntegerAsANumberWhereNothingIsLost)
{
    constexpr std::int64_t limit = std::int64_t(1) << 53;
    struct Case {
        std::int64_t integer;
        std::optional<double> number;
    };
    for (const auto& [integer, number] : {
             Case{0, 0.0},
             {-3, -3.0},
             {limit, 0x1p53},
             {limit + 1, std::nullopt},
             {limit + 2, 0x1p53 + 2},
             {-limit, -0x1p53},
             {-limit - 1, std::nullopt},
             {Integers::min(), -0x1p63},
             {Integers::max(), std::nullopt},
             {Integers::max() - 1023, std::nextafter(0x1p63, 0)},
         })
        EXPECT_EQ(Value(integer).asNumber(), number) << integer;
}

TEST(Value, ComparesByTypeAndContent)
{
    const auto& values = oneOfEach();
    for (std::size_t left = 0; left < values.size(); ++left)
        for (std::size_t right = 0; right < values.size(); ++right)
            EXPECT_EQ(values[left] == values[right], left == right) << left << ' ' << right;
    EXPECT_NE(Value(1), Value(1.0)); // kept as they came
    EXPECT_EQ(Value(0.0), Value(-0.0));
    EXPECT_NE(Value(""), Value());
    EXPECT_NE(Value("a"), Value("b"));
    EXPECT_NE(Value(Value::Array{}), Value(Value::Dictionary{}));
    EXPECT_EQ(Value(Value::Array{}), Value(Value::Array{}));
    EXPECT_EQ(Value(Value::Array{1, Value::Array{"a"}}), Value(Value::Array{1, Value::Array{"a"}}));
    EXPECT_NE(Value(Value::Array{1, 2}), Value(Value::Array{2, 1}));
    EXPECT_EQ(Value(Value::Dictionary{{"a", 1}, {"b", 2}}), Value(Value::Dictionary{{"b", 2}, {"a", 1}}));
    EXPECT_NE(Value(Value::Dictionary{{"a", 1}}), Value(Value::Dictionary{{"a", nullptr}}));
}

TEST(Value, IsEqualToNothingWhenItIsNotANumber)
{
    const Value nothing(Doubles::quiet_NaN());
    const Value copy = nothing;
    EXPECT_NE(nothing, copy);
    EXPECT_NE(Value(Value::Array{nothing}), Value(Value::Array{nothing}));
}

TEST(Value, SharesItsContentWithItsCopies)
{
    const Value array(Value::Array{1, 2, 3});
    const Value dictionary(Value::Dictionary{{"a", 1}});
    const Value arrayCopy = array;
    const Value dictionaryCopy = dictionary;
    EXPECT_EQ(arrayCopy.asArray(), array.asArray());
    EXPECT_EQ(dictionaryCopy.asDictionary(), dictionary.asDictionary());
}

TEST(Value, LeavesItsCopiesAloneWhenItIsAssigned)
{
    Value value(Value::Array{1});
    const Value copy = value;
    value = 5;
    EXPECT_EQ(copy, Value(Value::Array{1}));
    EXPECT_EQ(value, Value(5));
}

TEST(Value, FindsEntriesByKey)
{
    const Value value(
        Value::Dictionary{{"a", 1}, {"", 2}, {"list", Value::Array{Value::Dictionary{{"b", 3}}}}});
    EXPECT_EQ(value["a"], Value(1));
    EXPECT_EQ(value[""], Value(2));
    EXPECT_EQ(value["list"][0]["b"], Value(3));
    EXPECT_EQ(&value["a"], &value.asDictionary()->at("a")); // a reference, not a copy
    EXPECT_TRUE(value["A"].isNull());
    EXPECT_TRUE(value["missing"]["deeper"][7].isNull());
}

TEST(Value, FindsItemsByIndex)
{
    const Value value(Value::Array{1, "two"});
    EXPECT_EQ(value[std::size_t(0)], Value(1));
    EXPECT_EQ(value[1], Value("two"));
    EXPECT_TRUE(value[2].isNull());
    EXPECT_TRUE(value[std::numeric_limits<std::size_t>::max()].isNull());
}

TEST(Value, HasNoEntriesWhenItIsNoContainer)
{
    for (const Value& value : oneOfEach()) {
        if (value.type() != Type::dictionary) {
            EXPECT_TRUE(value["a"].isNull());
        }
        if (value.type() != Type::array) {
            EXPECT_TRUE(value[1].isNull());
        }
    }
}

TEST(ValueDescription, ReadsLikeALog)
{
    struct Case {
        Value value;
        std::string_view text;
    };
    const Case cases[]{
        {nullptr, "null"},
        {true, "true"},
        {false, "false"},
        {0, "0"},
        {Integers::min(), "-9223372036854775808"},
        {Integers::max(), "9223372036854775807"},
        {1.5, "1.5"},
        {-0.25, "-0.25"},
        {3.0, "3"},
        {0.1, "0.1"},
        {1e300, "1e+300"},
        {"", ""},
        {"a \"quoted\" \\ text\n", "a \"quoted\" \\ text\n"},
        {dateAt(0), "1970-01-01 00:00:00 +0000"},
        {dateAt(978307200), "2001-01-01 00:00:00 +0000"},
        {dateAt(1709251199.75), "2024-02-29 23:59:59 +0000"},
        {dateAt(-0.5), "1969-12-31 23:59:59 +0000"},
        {dateAt(253402300799.0), "9999-12-31 23:59:59 +0000"},
        {dateAt(253402300800.0), "253402300800"},
        {dateAt(Doubles::infinity()), "inf"},
        {bytes({}), "0 bytes"},
        {bytes({1, 2, 3}), "3 bytes"},
        {*URL::parse("https://example.com/?q=1"), "https://example.com/?q=1"},
        {Value::Array{}, "[]"},
        {Value::Dictionary{}, "{}"},
        {Value::Array{1, true, nullptr, "a \"q\" \\\n"}, "[1, true, null, \"a \\\"q\\\" \\\\\\n\"]"},
        {Value::Dictionary{{"b", Value::Array{"x"}}, {"a \"q\"", 2}}, "{\"a \\\"q\\\"\": 2, \"b\": [\"x\"]}"},
        {Value::Array{Value(Value::Array{Value::Dictionary{{"a", Value::Array{}}}})}, "[[{\"a\": []}]]"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(value.description(), text);
}

TEST(ValueDescription, WritesEveryYearWithFourDigits)
{
    EXPECT_EQ(Value(dateAt(-62167219200.0)).description(), "0000-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(dateAt(-30610224000.0)).description(), "1000-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(dateAt(-30610224001.0)).description(), "0999-12-31 23:59:59 +0000");
}

TEST(ValueDescription, StopsAtTheMaximumDepth)
{
    Value value("core");
    for (int level = 0; level < Value::maximumDepth; ++level)
        value = Value::Array{value};
    EXPECT_THAT(value.description(), ::testing::HasSubstr("core"));
    value = Value::Array{value};
    const std::string text = value.description();
    EXPECT_THAT(text, ::testing::Not(::testing::HasSubstr("core")));
    EXPECT_THAT(text, ::testing::HasSubstr("\u2026"));
    EXPECT_THAT(text, ::testing::EndsWith("]]]"));
}

/// A tree whose every level holds the next one twice: as text it would be 2 to the 60th long.
Value heavilyShared()
{
    Value tree("leaf");
    for (int level = 0; level < 60; ++level)
        tree =
            level % 2 ? Value(Value::Array{tree, tree}) : Value(Value::Dictionary{{"a", tree}, {"b", tree}});
    return tree;
}

TEST(ValueDescription, CutsAHeavilySharedTreeOff)
{
    const std::string text = heavilyShared().description();
    EXPECT_GT(text.size(), 900'000u);
    EXPECT_LT(text.size(), 1'100'000u);
    EXPECT_THAT(text, ::testing::HasSubstr("\u2026"));
}

TEST(ValueDescription, CutsALongArrayOff)
{
    const std::string text = Value(Value::Array(1000, std::string(10'000, 'x'))).description();
    EXPECT_GT(text.size(), 900'000u);
    EXPECT_LT(text.size(), 1'100'000u);
    EXPECT_THAT(text, ::testing::EndsWith("\u2026]"));
}

TEST(ValueDescription, CutsALongTextInAnArrayOff)
{
    const std::string text = Value(Value::Array{std::string(5'000'000, 'x'), 1}).description();
    EXPECT_LT(text.size(), 1'100'000u);
    EXPECT_THAT(text, ::testing::EndsWith("\u2026]"));
}

TEST(ValueDescription, GivesALongTextWhole)
{
    EXPECT_EQ(Value(std::string(2'000'000, 'x')).description().size(), 2'000'000u);
}

TEST(Value, ComparesAHeavilySharedTreeWithItsCopyAtOnce)
{
    const Value tree = heavilyShared();
    const Value copy = tree;
    EXPECT_TRUE(tree == copy);
    // The same children under a new root: each is compared without a look inside.
    EXPECT_TRUE(Value(Value::Array{tree, copy}) == Value(Value::Array{copy, tree}));
}

} // namespace
