#include "ToolkitTheme.h"

#include <LumoKit/Platform/Native/Handles.h>

#include <cstdlib>
#include <utility>

namespace LumoKit::detail {

namespace {

constexpr const char* preferDarkSetting = "gtk-application-prefer-dark-theme";
constexpr const char* nameSetting = "gtk-theme-name";

// The only dark theme of the toolkit's own that does not end as the others do.
constexpr std::string_view highContrast = "HighContrast";
constexpr std::string_view darkHighContrast = "HighContrastInverse";

bool isDarkTheme(std::string_view name)
{
    return name.ends_with("-dark") || name.ends_with("-Dark") || name == darkHighContrast;
}

bool prefersDark(GtkSettings* settings)
{
    gboolean prefers = FALSE;
    g_object_get(settings, preferDarkSetting, &prefers, nullptr);
    return prefers;
}

std::string themeName(GtkSettings* settings)
{
    char* name = nullptr;
    g_object_get(settings, nameSetting, &name, nullptr);
    const GText owned(name);
    return owned ? owned.get() : "";
}

/// Gives the theme's name back to the desktop, where that has one to give: a setting that a program makes hides
/// every later one of the desktop.
bool followDesktop(GtkSettings* settings)
{
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_STRING);
    const bool given = gdk_screen_get_setting(gdk_screen_get_default(), nameSetting, &value);
    g_value_unset(&value);
    if (given)
        gtk_settings_reset_property(settings, nameSetting);
    return given;
}

} // namespace

bool isDark(const ThemeFacts& facts)
{
    if (facts.preferDark)
        return true;
    if (!facts.environment || facts.environment->empty())
        return isDarkTheme(facts.name);
    const std::string_view theme(*facts.environment);
    const auto colon = theme.rfind(':');
    return isDarkTheme(theme.substr(0, colon))
        || (colon != std::string_view::npos && theme.substr(colon + 1) == "dark");
}

std::string_view lightTheme(std::string_view name)
{
    if (name == darkHighContrast)
        return highContrast;
    constexpr std::size_t ending = std::string_view("-dark").size();
    return isDarkTheme(name) ? name.substr(0, name.size() - ending) : name;
}

ToolkitTheme::ToolkitTheme(std::function<void()> changed)
    : changed(std::move(changed))
    , settings(ObjectPtr<GtkSettings>::retain(gtk_settings_get_default()))
{
    own.preferDark = shownPreferDark = prefersDark(settings.get());
    own.name = shownName = themeName(settings.get());
    if (const char* set = std::getenv("GTK_THEME"))
        own.environment = set;
    for (const char* signal : {"notify::gtk-application-prefer-dark-theme", "notify::gtk-theme-name"})
        connections.push_back(SignalConnection::connect<void(GtkSettings*, GParamSpec*)>(
            settings.get(), signal, [this](auto*, auto*) { changedOutside(); }));
}

bool ToolkitTheme::isDark() const
{
    return detail::isDark(own);
}

void ToolkitTheme::show(bool dark)
{
    // A dark theme is dark whatever is preferred, and the toolkit takes its plain form where it has no dark one.
    const std::string name(dark ? std::string_view(own.name) : lightTheme(own.name));
    setting = true;
    // Only what changes: each of the two makes every window draw itself anew.
    if (dark != shownPreferDark)
        g_object_set(settings.get(), preferDarkSetting, static_cast<gboolean>(dark), nullptr);
    if (name != shownName && (name != own.name || !followDesktop(settings.get())))
        g_object_set(settings.get(), nameSetting, name.c_str(), nullptr);
    shownPreferDark = dark;
    shownName = name;
    setting = false;
    changedOutside(); // the desktop may have another theme by now
}

void ToolkitTheme::changedOutside()
{
    if (setting)
        return;
    const bool preferDark = prefersDark(settings.get());
    const std::string name = themeName(settings.get());
    if (preferDark == shownPreferDark && name == shownName)
        return;
    if (preferDark != shownPreferDark)
        own.preferDark = shownPreferDark = preferDark;
    if (name != shownName)
        own.name = shownName = name;
    changed();
}

} // namespace LumoKit::detail
