#pragma once

#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>
#include <LumoKit/Utility/Settings.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoSuite {

/// Light, dark, or as the desktop: the choice that is kept becomes the application's appearance, now and whenever it
/// changes. `report` is told of changes.
void followTheme(
    const std::shared_ptr<LumoKit::Settings>& settings, std::function<void(const std::string&)> report);

/// A menu in which the user chooses.
[[nodiscard]] std::shared_ptr<LumoKit::NSPopUpButton> makeThemeMenu(
    const std::shared_ptr<LumoKit::Settings>& settings);

/// Asks the user in an alert.
void askForTheme(const std::shared_ptr<LumoKit::Settings>& settings);

} // namespace LumoSuite
