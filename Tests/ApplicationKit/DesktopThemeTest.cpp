#include <LumoKit/Platform/ApplicationKit/NSAppearance.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>

#include <ApplicationKit/ToolkitTheme.h>
#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

// Last: its macros are words of everybody else's.
// clang-format off
#include <X11/Xlib.h>
// clang-format on

using LumoKit::Test::waitUntil;

namespace LumoKit::detail {
namespace {

/// What a desktop runs on X11 to tell every program of its settings; here one setting, the theme's name. The whole
/// screen has one of them.
class SettingsManager {
public:
    explicit SettingsManager(const std::string& theme)
    {
        owner = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
        setTheme(theme);
        XSetSelectionOwner(display, atom("_XSETTINGS_S0"), owner, CurrentTime);
        XSync(display, False);
    }
    ~SettingsManager() { XCloseDisplay(display); }
    SettingsManager(const SettingsManager&) = delete;
    SettingsManager& operator=(const SettingsManager&) = delete;

    void setTheme(const std::string& theme)
    {
        const std::string key = "Net/ThemeName";
        ++serial;
        // Byte order and serial; one setting: its type (a text), its key, its serial, its value.
        const std::string text = word(0) + word(serial) + word(1)
            + std::string({'\1', '\0', static_cast<char>(key.size()), '\0'}) + padded(key) + word(serial)
            + word(static_cast<unsigned>(theme.size())) + padded(theme);
        XChangeProperty(display, owner, atom("_XSETTINGS_SETTINGS"), atom("_XSETTINGS_SETTINGS"), 8,
            PropModeReplace, reinterpret_cast<const unsigned char*>(text.data()),
            static_cast<int>(text.size()));
        XSync(display, False);
    }

private:
    [[nodiscard]] Atom atom(const char* name) const { return XInternAtom(display, name, False); }
    static std::string word(unsigned number)
    {
        return {static_cast<char>(number), static_cast<char>(number >> 8), 0, 0};
    }
    static std::string padded(std::string text)
    {
        text.resize((text.size() + 3) / 4 * 4);
        return text;
    }

    Display* const display = XOpenDisplay(nullptr);
    Window owner = 0;
    unsigned serial = 0;
};

std::string themeName()
{
    char* name = nullptr;
    g_object_get(gtk_settings_get_default(), "gtk-theme-name", &name, nullptr);
    std::string found(name);
    g_free(name);
    return found;
}

TEST(DesktopTheme, IsFollowedAgainAfterAnotherWasShown)
{
    SettingsManager desktop("HighContrastInverse");
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr));
    ASSERT_EQ(themeName(), "HighContrastInverse");
    ToolkitTheme theme([] { });
    EXPECT_TRUE(theme.isDark());
    theme.show(false);
    EXPECT_EQ(themeName(), "HighContrast");
    theme.show(true);
    EXPECT_EQ(themeName(), "HighContrastInverse");
    desktop.setTheme("Adwaita");
    EXPECT_TRUE(waitUntil([&] { return themeName() == "Adwaita"; }));
    EXPECT_FALSE(theme.isDark());
}

TEST(DesktopTheme, IsTheOneOfNowWhenItIsFollowedAgain)
{
    SettingsManager desktop("HighContrastInverse");
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr));
    ASSERT_TRUE(waitUntil([&] { return themeName() == "HighContrastInverse"; }));
    ToolkitTheme theme([] { });
    theme.show(false);
    desktop.setTheme("Raleigh");
    EXPECT_EQ(themeName(), "HighContrast");
    EXPECT_TRUE(waitUntil([&] {
        theme.show(true); // once the toolkit has heard of it
        const bool now = themeName() == "Raleigh";
        if (!now)
            theme.show(false);
        return now;
    }));
    EXPECT_FALSE(theme.isDark());
}

/// In a process of its own: a forced application whose desktop takes a light theme meanwhile is light, and nobody is
/// told of a change on the way back. True where that is so.
bool staysLightWhenItFollowsTheDesktopAgain()
{
    SettingsManager desktop("HighContrastInverse");
    auto& application = NSApplication::shared();
    const bool dark = application.effectiveAppearance()->name == NSAppearanceNameDarkAqua;
    application.setAppearance(std::make_shared<NSAppearance>(NSAppearanceNameAqua));
    int posts = 0;
    const auto observer = NotificationCenter::defaultCenter().addObserver(
        NSApplication::didChangeEffectiveAppearanceNotification, nullptr,
        [&](const Notification&) { ++posts; });
    desktop.setTheme("Raleigh");
    const bool heard = waitUntil([] {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, G_TYPE_STRING);
        gdk_screen_get_setting(gdk_screen_get_default(), "gtk-theme-name", &value);
        const bool now = g_value_get_string(&value) == std::string("Raleigh");
        g_value_unset(&value);
        return now;
    });
    application.setAppearance(nullptr);
    return dark && heard && application.effectiveAppearance()->name == NSAppearanceNameAqua && posts == 0
        && themeName() == "Raleigh";
}

TEST(DesktopThemeDeathTest, IsWhatAnApplicationTurnsBackTo)
{
    EXPECT_EXIT(
        std::quick_exit(staysLightWhenItFollowsTheDesktopAgain() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace LumoKit::detail
