#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit::detail {

/// Where the toolkit's own settings say whether everything is dark.
struct ThemeFacts {
    bool preferDark = false; // "gtk-application-prefer-dark-theme"
    std::string name; // "gtk-theme-name"
    std::optional<std::string> environment; // GTK_THEME, "Name" or "Name:variant"
};

/// Whether these settings ask for a dark theme: they prefer one, or the theme that they name is one.
[[nodiscard]] bool isDark(const ThemeFacts& facts);

/// The name of the light theme beside a dark one ("Adwaita" for "Adwaita-dark"); others as they are.
[[nodiscard]] std::string_view lightTheme(std::string_view name);

/// The toolkit's theme: what its settings ask for by themselves, and the look that the application gives it.
/// Windows follow these settings, and so do pages.
///
/// GTK_THEME is the user's own word on windows, and the toolkit lets nothing override it: while it is set,
/// windows keep the look that it names, whatever is asked for here; pages then can be made dark, but not light.
///
/// Thread: the main thread.
class ToolkitTheme {
public:
    /// `changed` is called when somebody else changes the settings.
    explicit ToolkitTheme(std::function<void()> changed);

    /// Whether the settings ask for a dark theme by themselves, as if `show` had never been called.
    [[nodiscard]] bool isDark() const;

    /// Makes windows and pages dark or light.
    void show(bool dark);

private:
    void changedOutside();

    std::function<void()> changed;
    ObjectPtr<GtkSettings> settings;
    ThemeFacts own; // as they are without us
    bool shownPreferDark = false; // as they are now
    std::string shownName;
    bool setting = false; // while we change them
    std::vector<SignalConnection> connections;
};

} // namespace LumoKit::detail
