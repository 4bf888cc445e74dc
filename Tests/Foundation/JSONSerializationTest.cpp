#include "Support/Printing.h"

#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Foundation/JSONSerialization.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

using Doubles = std::numeric_limits<double>;

/// `value` within `levels` arrays.
Value nested(int levels, Value value)
{
    for (; levels > 0; --levels)
        value = Value::Array{value};
    return value;
}

/// What the only item of an array is written as.
std::string written(const Value& value)
{
    const auto text = JSONSerialization::text(Value::Array{value});
    return text ? text->substr(1, text->size() - 2) : text.error().description;
}

void expectError(const Value& value, EncodingError kind, std::string_view description)
{
    const auto text = JSONSerialization::text(value);
    ASSERT_FALSE(text.has_value()) << *text;
    EXPECT_EQ(text.error(),
        (Error{std::string(encodingErrorDomain), static_cast<int>(kind), std::string(description)}));
}

TEST(JSONSerialization, WritesEveryKindOfValueCompactly)
{
    const std::vector<std::pair<Value, std::string>> cases = {
        {Value::Array{}, "[]"},
        {Value::Dictionary{}, "{}"},
        {Value::Array{nullptr, true, false, 7, "a"}, R"([null,true,false,7,"a"])"},
        {Value::Array{Value(Value::Array{}), Value(Value::Dictionary{}), 1}, "[[],{},1]"},
        {Value::Dictionary{{"b", 1}, {"a", Value::Array{1, 2}}, {"", Value::Dictionary{{"c", "d"}}}},
            R"({"":{"c":"d"},"a":[1,2],"b":1})"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(JSONSerialization::text(value), text);
}

TEST(JSONSerialization, WritesNumbersInTheirShortestForm)
{
    const std::vector<std::pair<Value, std::string>> cases = {
        {INT64_MAX, "9223372036854775807"},
        {INT64_MIN, "-9223372036854775808"},
        {1.0, "1"},
        {-7.0, "-7"},
        {0.0, "0"},
        {-0.0, "-0.0"},
        {100000.0, "100000"},
        {9007199254740991.0, "9007199254740991"},
        {9007199254740992.0, "9.007199254740992e+15"},
        {123456789012345683968.0, "1.2345678901234568e+20"},
        {1.5, "1.5"},
        {0.1, "0.1"},
        {-0.00201, "-0.00201"},
        {Doubles::max(), "1.7976931348623157e+308"},
        {Doubles::denorm_min(), "5e-324"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(written(value), text);
}

TEST(JSONSerialization, WritesNumbersThatAreReadAsTheSame)
{
    for (const double number : {1.0, 0.1, 1.0 / 3, 1e15, 1e16, 9007199254740993.0, 4611686018427387904.0,
             9223372036854775808.0, 18446744073709551616.0, 1e20, 1e21, 1e22, -1e300, 1e-5, Doubles::min(),
             Doubles::max(), Doubles::denorm_min()}) {
        const auto value = readJSON(*JSONSerialization::text(Value::Array{number}));
        ASSERT_TRUE(value) << number;
        EXPECT_EQ((*value)[0].asNumber(), number);
    }
    EXPECT_TRUE(std::signbit(*(*readJSON(*JSONSerialization::text(Value::Array{-0.0})))[0].asNumber()));
}

TEST(JSONSerialization, EscapesWhatMustBeEscapedAndNothingElse)
{
    EXPECT_EQ(written("\"\\/\b\f\n\r\t"), R"("\"\\/\b\f\n\r\t")");
    EXPECT_EQ(written("\0\x01\x0B\x1F\x7F"sv), "\"\\u0000\\u0001\\u000b\\u001f\x7F\"");
    EXPECT_EQ(written("hé😀\u2028"), "\"hé😀\u2028\"");
    EXPECT_EQ(JSONSerialization::text(Value::Dictionary{{"a\"\n", 1}}), R"({"a\"\n":1})");
}

TEST(JSONSerialization, WritesTextsThatAreReadAsTheSame)
{
    std::string all;
    for (char character = 0; character < 127; ++character)
        all += character;
    const Value value = Value::Dictionary{{all, Value::Array{all + "é😀"}}};
    EXPECT_EQ(readJSON(*JSONSerialization::text(value)), value);
}

TEST(JSONSerialization, RefusesWhatJSONCannotSay)
{
    const Date date{};
    const Value url = *URL::parse("https://example.com");
    using enum EncodingError;
    expectError(Value::Dictionary{{"at", date}}, unsupportedType, "at: JSON has no dates");
    expectError(Value::Array{1, Data{}}, unsupportedType, "[1]: JSON has no data");
    expectError(Value::Dictionary{{"list", Value::Array{Value::Dictionary{{"url", url}}}}}, unsupportedType,
        "list[0].url: JSON has no URLs");
    for (const double number : {Doubles::infinity(), -Doubles::infinity(), Doubles::quiet_NaN()})
        expectError(Value::Array{number}, numberNotFinite, "[0]: JSON has no such number");
}

TEST(JSONSerialization, RefusesTextsAndKeysThatAreNotUTF8)
{
    for (const char* bytes : {"\xFF", "a\xC3", "\xED\xA0\x80", "\xC0\xAF", "\xF4\x90\x80\x80"}) {
        expectError(Value::Dictionary{{"a", bytes}}, EncodingError::textNotUTF8, "a: the text is not UTF-8");
        expectError(Value::Dictionary{{"a", Value::Dictionary{{bytes, 1}}}}, EncodingError::textNotUTF8,
            "a[?]: the key is not UTF-8");
    }
}

TEST(JSONSerialization, HasAnArrayOrADictionaryAtTheTop)
{
    for (const Value& value :
        {Value(), Value(true), Value(1), Value(1.5), Value("a"), Value(Date()), Value(Data{})})
        expectError(value, EncodingError::invalidTopLevel, "top level: neither an array nor a dictionary");
}

TEST(JSONSerialization, WritesNestingUpToWhatIsRead)
{
    const Value deepest = nested(Value::maximumDepth - 1, Value::Dictionary{});
    EXPECT_EQ(readJSON(*JSONSerialization::text(deepest)), deepest);
    for (const int levels : {Value::maximumDepth, 4'000}) {
        const auto text = JSONSerialization::text(nested(levels, Value::Dictionary{}));
        ASSERT_FALSE(text.has_value());
        EXPECT_EQ(text.error().code, static_cast<int>(EncodingError::tooDeep));
        EXPECT_THAT(text.error().description, testing::EndsWith("[0]: nested too deep"));
    }
}

TEST(JSONSerialization, RefusesASmallValueOfWhichTheTextIsHuge)
{
    Value tangle = Value::Array{1};
    for (int level = 0; level < 100; ++level)
        tangle = Value::Dictionary{{"a", tangle}, {"b", tangle}};
    const auto text = JSONSerialization::text(tangle);
    ASSERT_FALSE(text.has_value());
    EXPECT_EQ(text.error().code, static_cast<int>(EncodingError::tooLarge));
}

TEST(JSONSerialization, RefusesATextThatIsTooLargeByItsLastItem)
{
    constexpr std::size_t largest = 64 << 20;
    EXPECT_TRUE(JSONSerialization::text(Value::Array{std::string(largest - 4, 'a')}).has_value());
    expectError(Value::Array{std::string(largest - 3, 'a')}, EncodingError::tooLarge,
        "top level: the text would be too large");
}

TEST(JSONSerialization, NamesStrangeKeysWithoutGivingThemTheLog)
{
    const auto place = [](const std::string& key) {
        return JSONSerialization::text(Value::Dictionary{{key, Date()}}).error().description;
    };
    EXPECT_EQ(place("plain_Name9"), "plain_Name9: JSON has no dates");
    EXPECT_EQ(place(""), R"([""]: JSON has no dates)");
    EXPECT_EQ(place("a.b"), R"(["a.b"]: JSON has no dates)");
    EXPECT_EQ(place("a\n\x1B[1m"), R"(["a\n\u001b[1m"]: JSON has no dates)");
    EXPECT_EQ(place(std::string(1'000'000, 'x')), "[\"" + std::string(64, 'x') + "\"…]: JSON has no dates");
    EXPECT_EQ(place(std::string(63, 'x') + "é"), "[\"" + std::string(63, 'x') + "\"…]: JSON has no dates");
}

} // namespace
