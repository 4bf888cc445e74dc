#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>

void keepTheTheme(const std::shared_ptr<Settings>& settings, const std::shared_ptr<NSPopUpButton>& menu)
{
    // the fragment
}
