#include "Support/ThemeMenu.h"

#include "Support/SuiteSettings.h"

#include <LumoKit/Utility/Alerts.h>

namespace LumoSuite {

using namespace LumoKit;

void followTheme(const std::shared_ptr<Settings>& settings, std::function<void(const std::string&)> report)
{
    apply(settings->get(SuiteSettings::themeMode));
    settings->subscribe(SuiteSettings::themeMode, false, [report = std::move(report)](ThemeMode mode) {
        apply(mode);
        report("theme chosen: " + std::string(rawValue(mode)));
    });
}

std::shared_ptr<NSPopUpButton> makeThemeMenu(const std::shared_ptr<Settings>& settings)
{
    auto menu = std::make_shared<NSPopUpButton>(std::vector<std::string>{"Automatic", "Light", "Dark"});
    menu->selectItem(popupButtonIndex(settings->get(SuiteSettings::themeMode)));
    menu->setAction([settings](NSPopUpButton& chosen) {
        settings->set(SuiteSettings::themeMode, themeMode(chosen.indexOfSelectedItem()));
    });
    return menu;
}

void askForTheme(const std::shared_ptr<Settings>& settings)
{
    showThreeButtonPopup("Light or dark?", "Automatic follows the desktop.", "Automatic", "Light", "Dark",
        [settings](std::size_t chosen) {
            settings->set(SuiteSettings::themeMode, themeMode(static_cast<std::int64_t>(chosen)));
        });
}

} // namespace LumoSuite
