#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Platform/ApplicationKit/NSAppearance.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>

#include <memory>

namespace LumoKit {

ThemeMode themeMode(std::int64_t popupButtonIndex)
{
    constexpr auto& cases = RawValues<ThemeMode>::cases; // in the order of the menu
    const auto index = static_cast<std::uint64_t>(popupButtonIndex);
    if (index >= cases.size())
        fatalError("Invalid theme value"); // the menu has no other entry: the menu itself is wrong
    return cases[index].first;
}

std::int64_t popupButtonIndex(ThemeMode mode)
{
    return static_cast<std::int64_t>(mode);
}

Theme effective(ThemeMode mode)
{
    switch (mode) {
    case ThemeMode::forceLight:
        return Theme::light;
    case ThemeMode::forceDark:
        return Theme::dark;
    case ThemeMode::automatic:
        break;
    }
    return isDarkMode(NSApplication::shared()) ? Theme::dark : Theme::light;
}

void apply(ThemeMode mode)
{
    std::shared_ptr<NSAppearance> appearance; // none: the desktop's
    if (mode != ThemeMode::automatic)
        appearance = std::make_shared<NSAppearance>(
            mode == ThemeMode::forceDark ? NSAppearanceNameDarkAqua : NSAppearanceNameAqua);
    NSApplication::shared().setAppearance(std::move(appearance));
}

bool isDarkMode(const NSAppearance& appearance)
{
    return appearance.bestMatch({NSAppearanceNameDarkAqua, NSAppearanceNameAqua}) == NSAppearanceNameDarkAqua;
}

bool isDarkMode(const NSApplication& application)
{
    return isDarkMode(*application.effectiveAppearance());
}

} // namespace LumoKit
