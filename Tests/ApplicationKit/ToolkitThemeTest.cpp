#include <ApplicationKit/ToolkitTheme.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace LumoKit::detail {
namespace {

TEST(ThemeFacts, AreDarkWhereTheToolkitPrefersDarkOrNamesADarkTheme)
{
    EXPECT_FALSE(isDark({}));
    EXPECT_FALSE(isDark({.name = "Adwaita"}));
    EXPECT_TRUE(isDark({.preferDark = true, .name = "Adwaita"}));
    EXPECT_TRUE(isDark({.name = "Adwaita-dark"}));
    EXPECT_TRUE(isDark({.name = "Arc-Dark"}));
    EXPECT_TRUE(isDark({.name = "HighContrastInverse"}));
    EXPECT_FALSE(isDark({.name = "HighContrast"}));
    EXPECT_FALSE(isDark({.name = "Darkroom"}));
    EXPECT_FALSE(isDark({.name = "My-dark-horse"}));
    EXPECT_FALSE(isDark({.name = "Adwaita:dark"})); // a way of writing that the environment alone has
}

TEST(ThemeFacts, TakeTheThemeOfTheEnvironmentForTheNamedOne)
{
    EXPECT_TRUE(isDark({.name = "Adwaita", .environment = "Adwaita:dark"}));
    EXPECT_TRUE(isDark({.name = "Adwaita", .environment = "Adwaita-dark"}));
    EXPECT_TRUE(
        isDark({.name = "Adwaita", .environment = "Arc-Dark:light"})); // there is no such variant of it
    EXPECT_FALSE(isDark({.name = "Adwaita-dark", .environment = "Adwaita"}));
    EXPECT_FALSE(isDark({.name = "Adwaita", .environment = "Adwaita:darkest"}));
    EXPECT_FALSE(isDark({.name = "Adwaita", .environment = "dark"}));
    EXPECT_TRUE(isDark({.name = "Adwaita-dark", .environment = ""})); // set to nothing is not set
    EXPECT_TRUE(isDark({.preferDark = true, .environment = "Adwaita"}));
}

TEST(ThemeFacts, KnowTheLightThemeBesideADarkOne)
{
    EXPECT_EQ(lightTheme("Adwaita-dark"), "Adwaita");
    EXPECT_EQ(lightTheme("Arc-Dark"), "Arc");
    EXPECT_EQ(lightTheme("HighContrastInverse"), "HighContrast");
    EXPECT_EQ(lightTheme("Adwaita"), "Adwaita");
    EXPECT_EQ(lightTheme(""), "");
}

class ToolkitThemeTest : public ::testing::Test {
protected:
    using Settings = std::pair<bool, std::string>;

    ToolkitThemeTest()
    {
        gtk_init(nullptr, nullptr); // no application, which has a toolkit theme of its own
        toolkit = gtk_settings_get_default();
        put(before = settings());
    }
    ~ToolkitThemeTest() override { put(before); }

    [[nodiscard]] Settings settings() const
    {
        gboolean preferDark = FALSE;
        char* name = nullptr;
        g_object_get(
            toolkit, "gtk-application-prefer-dark-theme", &preferDark, "gtk-theme-name", &name, nullptr);
        Settings found(preferDark, name);
        g_free(name);
        return found;
    }
    void put(const Settings& given) const
    {
        g_object_set(toolkit, "gtk-application-prefer-dark-theme", static_cast<gboolean>(given.first),
            "gtk-theme-name", given.second.c_str(), nullptr);
    }

    GtkSettings* toolkit = nullptr;
    Settings before;
    int changes = 0;
};

TEST_F(ToolkitThemeTest, TurnsALightThemeDarkAndBack)
{
    put({false, "Adwaita"});
    ToolkitTheme theme([this] { ++changes; });
    EXPECT_FALSE(theme.isDark());
    theme.show(true);
    EXPECT_EQ(settings(), Settings(true, "Adwaita"));
    EXPECT_FALSE(theme.isDark()); // as if it had not been touched
    theme.show(false);
    EXPECT_EQ(settings(), Settings(false, "Adwaita"));
    EXPECT_EQ(changes, 0); // its own are none
}

TEST_F(ToolkitThemeTest, TurnsAPreferenceForDarkOffAndOnAgain)
{
    put({true, "Adwaita"});
    ToolkitTheme theme([this] { ++changes; });
    EXPECT_TRUE(theme.isDark());
    theme.show(false);
    EXPECT_EQ(settings(), Settings(false, "Adwaita"));
    EXPECT_TRUE(theme.isDark());
    theme.show(true);
    EXPECT_EQ(settings(), Settings(true, "Adwaita"));
    EXPECT_EQ(changes, 0);
}

TEST_F(ToolkitThemeTest, TakesTheLightThemeBesideADarkOneAndGoesBackToIt)
{
    put({false, "Adwaita-dark"});
    ToolkitTheme theme([this] { ++changes; });
    EXPECT_TRUE(theme.isDark());
    theme.show(false);
    EXPECT_EQ(settings(), Settings(false, "Adwaita"));
    EXPECT_TRUE(theme.isDark());
    theme.show(true);
    EXPECT_EQ(settings(), Settings(true, "Adwaita-dark"));
    EXPECT_EQ(changes, 0);
}

TEST_F(ToolkitThemeTest, SeesWhatOthersChange)
{
    put({false, "Adwaita"});
    ToolkitTheme theme([this] { ++changes; });
    put({false, "Adwaita-dark"});
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(theme.isDark());
    theme.show(false);
    put({false, "Arc-Dark"}); // while another is shown in its place
    EXPECT_EQ(changes, 2);
    theme.show(false);
    EXPECT_EQ(settings(), Settings(false, "Arc"));
    theme.show(true);
    EXPECT_EQ(settings(), Settings(true, "Arc-Dark"));
    theme.show(false);
    put({false, "Adwaita"});
    put({true, "Adwaita"});
    EXPECT_EQ(changes, 4);
    EXPECT_TRUE(theme.isDark());
    put({true, "Adwaita"}); // the same again
    EXPECT_EQ(changes, 4);
}

} // namespace
} // namespace LumoKit::detail
