#pragma once

#include <LumoKit/Utility/RawRepresentable.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace LumoKit {

class NSAppearance;
class NSApplication;

/// What is drawn: light or dark.
enum class Theme { light, dark };

template <> struct RawValues<Theme> {
    static constexpr auto cases =
        std::to_array<std::pair<Theme, std::string_view>>({{Theme::light, "light"}, {Theme::dark, "dark"}});
};

/// What the user chose: to follow the desktop, or one look for good.
enum class ThemeMode { automatic, forceLight, forceDark };

template <> struct RawValues<ThemeMode> {
    static constexpr auto cases =
        std::to_array<std::pair<ThemeMode, std::string_view>>({{ThemeMode::automatic, "automatic"},
            {ThemeMode::forceLight, "forceLight"}, {ThemeMode::forceDark, "forceDark"}});
};

/// The mode at this index of the pop-up menu: automatic, light, dark.
/// Errors: stops the process for an index that the menu has not.
/// Thread: any.
[[nodiscard]] ThemeMode themeMode(std::int64_t popupButtonIndex);

/// The index of the mode in the pop-up menu.
/// Thread: any.
[[nodiscard]] std::int64_t popupButtonIndex(ThemeMode mode);

/// What is drawn in this mode. `automatic` is what the application's effective appearance is now, so that
/// whoever follows it asks again after `NSApplication::didChangeEffectiveAppearanceNotification`; the other two
/// ask nobody.
/// Thread: the main thread for `automatic`, any for the others.
[[nodiscard]] Theme effective(ThemeMode mode);

/// Makes the application's windows and pages follow the mode.
/// Thread: the main thread.
void apply(ThemeMode mode);

/// Whether the appearance is a dark one; not, where it is neither light nor dark.
/// Thread: any.
[[nodiscard]] bool isDarkMode(const NSAppearance& appearance);

/// Whether the application's effective appearance is a dark one.
/// Thread: the main thread.
[[nodiscard]] bool isDarkMode(const NSApplication& application);

} // namespace LumoKit
