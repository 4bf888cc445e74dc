#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>

std::int64_t selectedEntry(LumoKit::ThemeMode mode);
LumoKit::ThemeMode chose(std::int64_t entry);

int main()
{
    static_cast<void>(LumoKit::NSApplication::shared());
    const bool isDark = chose(2) == LumoKit::ThemeMode::forceDark
        && LumoKit::effective(LumoKit::ThemeMode::automatic) == LumoKit::Theme::dark;
    return isDark && selectedEntry(LumoKit::ThemeMode::forceDark) == 2 ? 0 : 1;
}
