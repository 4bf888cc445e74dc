#pragma once

#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Utility/Settings.h>

#include <string>
#include <vector>

/// What is remembered from one start to the next.
namespace Host::Preferences {

using LumoKit::SettingsKeys::KeyWithDefaultValue;

inline const auto themeMode =
    KeyWithDefaultValue<LumoKit::ThemeMode>::create("themeMode", LumoKit::ThemeMode::automatic);

/// The addresses of the accounts, in the order in which they were added.
inline const auto accounts = KeyWithDefaultValue<std::vector<std::string>>::create("accounts", {});

/// The address of the account that was shown last; empty for none.
inline const auto account = KeyWithDefaultValue<std::string>::create("account", "");

/// Units: points.
inline const auto width = KeyWithDefaultValue<double>::create("width", 1180);
inline const auto height = KeyWithDefaultValue<double>::create("height", 760);

} // namespace Host::Preferences
