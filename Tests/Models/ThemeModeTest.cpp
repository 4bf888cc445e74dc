#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Platform/ApplicationKit/NSAppearance.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>

#include <Support/TestPortal.h>
#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <unordered_set>

using namespace LumoKit;
using LumoKit::Test::TestBus;
using LumoKit::Test::TestPortal;

namespace {

static_assert(std::same_as<RawValue<ThemeMode>, std::string> && std::same_as<RawValue<Theme>, std::string>);

TEST(ThemeMode, HasItsRawValues)
{
    EXPECT_EQ(rawValue(ThemeMode::automatic), "automatic");
    EXPECT_EQ(rawValue(ThemeMode::forceLight), "forceLight");
    EXPECT_EQ(rawValue(ThemeMode::forceDark), "forceDark");
    for (const auto& [mode, raw] : RawValues<ThemeMode>::cases)
        EXPECT_EQ(fromRawValue<ThemeMode>(raw), mode);
}

TEST(ThemeMode, GivesNothingForAnyOtherText)
{
    for (const char* text : {"Automatic", "AUTOMATIC", "automatic ", "", "light", "dark", "forcelight", "0"})
        EXPECT_EQ(fromRawValue<ThemeMode>(text), std::nullopt) << text;
}

TEST(ThemeMode, IsHashable)
{
    const std::unordered_set<ThemeMode> modes{
        ThemeMode::automatic, ThemeMode::forceDark, ThemeMode::automatic};
    EXPECT_EQ(modes.size(), 2U);
}

TEST(ThemeMode, StandsInTheMenuInThisOrder)
{
    EXPECT_EQ(themeMode(0), ThemeMode::automatic);
    EXPECT_EQ(themeMode(1), ThemeMode::forceLight);
    EXPECT_EQ(themeMode(2), ThemeMode::forceDark);
    for (std::int64_t index = 0; index < 3; ++index)
        EXPECT_EQ(popupButtonIndex(themeMode(index)), index);
}

TEST(ThemeModeDeathTest, StopsAtAnIndexThatTheMenuHasNot)
{
    constexpr std::int64_t wraps = std::int64_t(1) << 32; // zero, were it cut to 32 bits
    for (const std::int64_t index : {std::int64_t(3), std::int64_t(-1),
             std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(), wraps})
        EXPECT_DEATH(static_cast<void>(themeMode(index)), "Fatal error: Invalid theme value") << index;
}

TEST(Theme, HasItsRawValues)
{
    EXPECT_EQ(rawValue(Theme::light), "light");
    EXPECT_EQ(rawValue(Theme::dark), "dark");
    EXPECT_EQ(fromRawValue<Theme>("light"), Theme::light);
    EXPECT_EQ(fromRawValue<Theme>("dark"), Theme::dark);
    for (const char* text : {"Dark", "automatic", "forceDark", ""})
        EXPECT_EQ(fromRawValue<Theme>(text), std::nullopt) << text;
}

TEST(IsDarkMode, IsTrueOfTheDarkAppearanceAlone)
{
    EXPECT_TRUE(isDarkMode(NSAppearance(NSAppearanceNameDarkAqua)));
    EXPECT_FALSE(isDarkMode(NSAppearance(NSAppearanceNameAqua)));
    EXPECT_FALSE(isDarkMode(NSAppearance("Sepia"))); // matches neither
}

TEST(ThemeModeDeathTest, AsksNobodyWhereItIsForced)
{
    EXPECT_EXIT(
        {
            ::unsetenv("DISPLAY"); // the application would stop here
            const bool right = effective(ThemeMode::forceDark) == Theme::dark
                && effective(ThemeMode::forceLight) == Theme::light;
            std::quick_exit(right ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

/// The application on a bus of the tests' own: it connects to one for as long as it lives.
class ThemeModeOfTheApplicationTest : public ::testing::Test {
protected:
    ThemeModeOfTheApplicationTest()
        : application((static_cast<void>(bus()), NSApplication::shared()))
    {
    }
    ~ThemeModeOfTheApplicationTest() override { apply(ThemeMode::automatic); }

    static TestBus& bus()
    {
        static TestBus only;
        return only;
    }

    NSApplication& application;
    TestPortal desktop{2};
};

TEST_F(ThemeModeOfTheApplicationTest, IsWhatTheDesktopSaysAtEachCall)
{
    EXPECT_EQ(effective(ThemeMode::automatic), Theme::light);
    EXPECT_FALSE(isDarkMode(application));
    desktop.says(1);
    EXPECT_EQ(effective(ThemeMode::automatic), Theme::dark);
    EXPECT_TRUE(isDarkMode(application));
    EXPECT_EQ(effective(ThemeMode::forceLight), Theme::light);
    desktop.says(2);
    EXPECT_EQ(effective(ThemeMode::automatic), Theme::light);
    EXPECT_EQ(effective(ThemeMode::forceDark), Theme::dark);
}

TEST_F(ThemeModeOfTheApplicationTest, AsksTheDesktopOnlyWhereItFollowsIt)
{
    const int before = desktop.reads();
    EXPECT_EQ(effective(ThemeMode::forceDark), Theme::dark);
    EXPECT_EQ(effective(ThemeMode::forceLight), Theme::light);
    EXPECT_EQ(desktop.reads(), before);
    EXPECT_EQ(effective(ThemeMode::automatic), Theme::light);
    EXPECT_EQ(effective(ThemeMode::automatic), Theme::light);
    EXPECT_EQ(desktop.reads(), before + 2);
}

TEST_F(ThemeModeOfTheApplicationTest, IsFollowedByTheApplicationWhereItIsApplied)
{
    apply(ThemeMode::forceDark);
    ASSERT_NE(application.appearance(), nullptr);
    EXPECT_EQ(application.appearance()->name, NSAppearanceNameDarkAqua);
    EXPECT_EQ(effective(ThemeMode::automatic), Theme::dark); // what the application is now
    apply(ThemeMode::forceLight);
    ASSERT_NE(application.appearance(), nullptr);
    EXPECT_EQ(application.appearance()->name, NSAppearanceNameAqua);
    desktop.says(1);
    EXPECT_FALSE(isDarkMode(application));
    apply(ThemeMode::automatic);
    EXPECT_EQ(application.appearance(), nullptr);
    EXPECT_TRUE(isDarkMode(application));
}

} // namespace
