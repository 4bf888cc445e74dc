#include <LumoKit/Utility/RawRepresentable.h>

#include <gtest/gtest.h>

#include <array>

enum class Density { compact, comfortable };
enum class Level { low, high };
enum class Plain { one };

template <> struct LumoKit::RawValues<Density> {
    static constexpr auto cases = std::to_array<std::pair<Density, std::string_view>>(
        {{Density::compact, "compact"}, {Density::comfortable, "comfortable"}});
};
template <> struct LumoKit::RawValues<Level> {
    static constexpr auto cases =
        std::to_array<std::pair<Level, std::int64_t>>({{Level::low, 10}, {Level::high, 20}});
};

namespace LumoKit {
namespace {

static_assert(RawRepresentable<Density> && RawRepresentable<Level> && !RawRepresentable<Plain>);
static_assert(std::same_as<RawValue<Density>, std::string> && std::same_as<RawValue<Level>, std::int64_t>);
static_assert(rawValue(Density::comfortable) == "comfortable" && rawValue(Level::low) == 10);
static_assert(fromRawValue<Density>("compact") == Density::compact && fromRawValue<Level>(20) == Level::high);

TEST(RawRepresentable, GivesNothingForWhatNamesNoCase)
{
    EXPECT_EQ(fromRawValue<Density>("Compact"), std::nullopt);
    EXPECT_EQ(fromRawValue<Density>(""), std::nullopt);
    EXPECT_EQ(fromRawValue<Density>("compact "), std::nullopt);
    EXPECT_EQ(fromRawValue<Level>(0), std::nullopt);
}

TEST(RawRepresentable, StopsAtAValueThatIsNoCase)
{
    EXPECT_DEATH(static_cast<void>(rawValue(static_cast<Density>(7))),
        "Fatal error: a value that is no case of its enumeration");
}

} // namespace
} // namespace LumoKit
