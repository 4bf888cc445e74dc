#include "Support/Printing.h"

#include <LumoKit/Utility/Storable.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace LumoKit::Test {

struct Position {
    double x = 0;
    double y = 0;
    bool operator==(const Position&) const = default;
};

} // namespace LumoKit::Test

template <> struct LumoKit::Storable<LumoKit::Test::Position> {
    static Value store(const LumoKit::Test::Position& position)
    {
        return Value::Array{position.x, position.y};
    }
    static std::optional<LumoKit::Test::Position> read(const Value& value)
    {
        const auto x = value[0u].asNumber();
        const auto y = value[1u].asNumber();
        return x && y ? std::optional(LumoKit::Test::Position{*x, *y}) : std::nullopt;
    }
};

namespace LumoKit {
namespace {

enum class Plain { one };

static_assert(StorableType<bool> && StorableType<int> && StorableType<std::int8_t>
    && StorableType<std::uint32_t> && StorableType<std::int64_t> && StorableType<double>
    && StorableType<float> && StorableType<std::string> && StorableType<Date> && StorableType<Data>
    && StorableType<URL> && StorableType<Value> && StorableType<std::vector<std::string>>
    && StorableType<std::map<std::string, std::vector<int>>> && StorableType<Value::Array>
    && StorableType<Value::Dictionary> && StorableType<LumoKit::Test::Position>
    && StorableType<std::vector<LumoKit::Test::Position>>);
static_assert(!StorableType<std::uint64_t> && !StorableType<const char*> && !StorableType<Plain>
        && !StorableType<std::vector<Plain>> && !StorableType<std::optional<int>>,
    "what a property list cannot hold, or not say apart, does not compile");

template <class T> void expectKept(const T& value)
{
    EXPECT_EQ(Storable<T>::read(Storable<T>::store(value)), value);
}

TEST(Storable, KeepsEveryKindOfValue)
{
    expectKept(true);
    expectKept(std::numeric_limits<std::int64_t>::min());
    expectKept(std::uint32_t(4'000'000'000));
    expectKept(0.1);
    expectKept(0.1f);
    expectKept(std::numeric_limits<float>::infinity());
    expectKept(std::string("text"));
    expectKept(Date(Date::duration(0.5)));
    expectKept(Data{std::byte(1)});
    expectKept(*URL::parse("https://example.com/a?b"));
    expectKept(Value(5));
    expectKept(std::vector<std::string>{"a", "b"});
    expectKept(std::map<std::string, std::vector<int>>{{"a", {1, 2}}, {"b", {}}});
    expectKept(Value::Array{1, "b"});
    expectKept(Value::Dictionary{{"a", true}});
    expectKept(std::vector<LumoKit::Test::Position>{{1, 2.5}, {3, 4}});
}

TEST(Storable, NeverTakesABooleanForANumberOrTheReverse)
{
    EXPECT_EQ(Storable<bool>::read(1), std::nullopt);
    EXPECT_EQ(Storable<bool>::read(0.0), std::nullopt);
    EXPECT_EQ(Storable<int>::read(true), std::nullopt);
    EXPECT_EQ(Storable<double>::read(false), std::nullopt);
    EXPECT_EQ(Storable<bool>::read("true"), std::nullopt);
    EXPECT_EQ(Storable<int>::read("1"), std::nullopt);
    EXPECT_EQ(Storable<std::string>::read(1), std::nullopt);
    EXPECT_EQ(Storable<std::string>::read(nullptr), std::nullopt);
    EXPECT_EQ(Storable<Value>::read(nullptr), std::nullopt);
    EXPECT_EQ(Storable<Date>::read(1.0), std::nullopt);
    EXPECT_EQ(Storable<double>::read(Date()), std::nullopt);
}

TEST(Storable, ReadsWholeAndFractionalNumbersAsEachOtherWhereNothingIsLost)
{
    EXPECT_EQ(Storable<int>::read(3.0), 3);
    EXPECT_EQ(Storable<int>::read(3.5), std::nullopt);
    EXPECT_EQ(Storable<double>::read(3), 3.0);
    EXPECT_EQ(Storable<double>::read((std::int64_t(1) << 53) + 1), std::nullopt);
    EXPECT_EQ(Storable<std::int64_t>::read(9223372036854775808.0), std::nullopt);
    EXPECT_EQ(Storable<float>::read(0.1), std::nullopt);
    EXPECT_EQ(Storable<float>::read(1e300), std::nullopt);
    EXPECT_EQ(Storable<float>::read(0.5), 0.5f);
    EXPECT_TRUE(std::isnan(Storable<float>::read(std::nan("")).value()));
}

TEST(Storable, ReadsNoNumberThatItsTypeDoesNotHold)
{
    EXPECT_EQ(Storable<std::int8_t>::read(128), std::nullopt);
    EXPECT_EQ(Storable<std::int8_t>::read(-128), std::int8_t(-128));
    EXPECT_EQ(Storable<std::uint8_t>::read(-1), std::nullopt);
    EXPECT_EQ(Storable<std::uint32_t>::read(std::int64_t(1) << 32), std::nullopt);
}

TEST(Storable, ReadsAnArrayOrADictionaryAsAWholeOrNotAtAll)
{
    EXPECT_EQ(Storable<std::vector<int>>::read(Value::Array{1, "2"}), std::nullopt);
    EXPECT_EQ(
        (Storable<std::map<std::string, int>>::read(Value::Dictionary{{"a", 1}, {"b", true}})), std::nullopt);
    EXPECT_EQ(Storable<std::vector<int>>::read(Value::Dictionary{}), std::nullopt);
    EXPECT_EQ((Storable<std::map<std::string, int>>::read(Value(Value::Array()))), std::nullopt);
    EXPECT_EQ(Storable<URL>::read("no url at all"), std::nullopt);
}

} // namespace
} // namespace LumoKit
