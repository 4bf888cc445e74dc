#include <LumoKit/Extensions/NSColor.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

TEST(HexColor, IsTheLowThreeBytesOfTheNumber)
{
    struct Case {
        std::string_view hex;
        int red;
        int green;
        int blue;
    };
    static constexpr Case cases[]{
        {"#000000", 0, 0, 0},
        {"000000", 0, 0, 0},
        {"#FFFFFF", 255, 255, 255},
        {"#336699", 0x33, 0x66, 0x99},
        {"336699", 0x33, 0x66, 0x99},
        {"#abcdef", 0xAB, 0xCD, 0xEF},
        {"#AbCdEf", 0xAB, 0xCD, 0xEF},
        // however many digits
        {"#FFF", 0, 15, 255},
        {"#1", 0, 0, 1},
        {"#0", 0, 0, 0},
        {"#12345", 0x01, 0x23, 0x45},
        {"#11223344", 0x22, 0x33, 0x44},
        {"#7FFFFFFFFF010203", 1, 2, 3},
        {"000000000000000000000000FF8001", 255, 128, 1},
        // signs
        {"-1", 255, 255, 255},
        {"#-1", 255, 255, 255},
        {"+336699", 0x33, 0x66, 0x99},
        {"#+336699", 0x33, 0x66, 0x99},
        {"-0", 0, 0, 0},
        {"-100", 255, 255, 0},
        {"#-8000000000000000", 0, 0, 0},
    };
    for (const auto& [hex, red, green, blue] : cases) {
        const NSColor found = color(hex, 1);
        EXPECT_EQ(found.redComponent, red / 255.0) << hex;
        EXPECT_EQ(found.greenComponent, green / 255.0) << hex;
        EXPECT_EQ(found.blueComponent, blue / 255.0) << hex;
    }
}

TEST(HexColor, TakesTheAlphaAsItIs)
{
    EXPECT_EQ(color("#000000", 0.5), (NSColor{0, 0, 0, 0.5}));
    for (const double alpha : {0.0, 1.0, 0.123456789, -3.0, 7.0, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(color("#80FFFFFF", alpha).alphaComponent, alpha);
}

class HexColorDeathTest : public ::testing::TestWithParam<std::string_view> { };

TEST_P(HexColorDeathTest, StopsTheProcessForWhatIsNoNumber)
{
    EXPECT_DEATH(static_cast<void>(color(GetParam(), 1)), "Fatal error: ");
}

INSTANTIATE_TEST_SUITE_P(Texts, HexColorDeathTest,
    ::testing::Values(""sv, "#"sv, "##FFFFFF"sv, "#GG0000"sv, "0xFF"sv, "#0x112233"sv, " 336699"sv,
        "336699 "sv, "# 336699"sv, "33 66 99"sv, "336699#"sv, "+"sv, "-"sv, "#+"sv, "#-"sv, "+-1"sv, "-+1"sv,
        "--1"sv, "++1"sv, "+#1"sv, "1.5"sv, "336699\0"sv, "\0"sv, "\u0661"sv, "8000000000000000"sv,
        "-8000000000000001"sv, "FFFFFFFFFFFFFFFF"sv, "10000000000000000"sv));

} // namespace
