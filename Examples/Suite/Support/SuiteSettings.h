#pragma once

#include <LumoKit/Models/ThemeMode.h>
#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Utility/Settings.h>

/// A size is kept as an array of its two numbers.
template <> struct LumoKit::Storable<LumoKit::CGSize> {
    static Value store(const CGSize& size) { return Value::Array{size.width, size.height}; }
    static std::optional<CGSize> read(const Value& value)
    {
        const auto width = value[0].asNumber();
        const auto height = value[1].asNumber();
        return width && height ? std::optional(CGSize{*width, *height}) : std::nullopt;
    }
};

/// What each application of the suite keeps for itself.
namespace LumoSuite::SuiteSettings {

using LumoKit::SettingsKeys::KeyWithDefaultValue;

/// What the user chose of light and dark.
inline const auto themeMode =
    KeyWithDefaultValue<LumoKit::ThemeMode>::create("themeMode", LumoKit::ThemeMode::automatic);

/// The address of the account that was shown last; empty for none.
inline const auto account = KeyWithDefaultValue<std::string>::create("account", "");

/// How large the window's content was when it was last seen.
inline const auto windowSize = KeyWithDefaultValue<LumoKit::CGSize>::create("windowSize", {1180, 760});

/// Where it is remembered that the application quits without asking; the alert reads and writes it by itself.
inline constexpr std::string_view quitsWithoutAsking = "quitsWithoutAsking";

} // namespace LumoSuite::SuiteSettings
