#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <map>
#include <string>
#include <string_view>

namespace LumoKit {

/// The facts that a request for help tells of the application, and the address of a web form that has them filled
/// in.
///
/// Thread: any.
class HelpRequestInfo {
public:
    HelpRequestInfo() = delete;

    /// The main bundle's "CFBundleName"; empty where it has no such text.
    [[nodiscard]] static std::string applicationName();
    /// The main bundle's "CFBundleShortVersionString"; empty where it has no such text.
    [[nodiscard]] static std::string versionNumber();
    /// The main bundle's "CFBundleVersion"; empty where it has no such text.
    [[nodiscard]] static std::string buildNumber();
    /// The operating system and its version, in words for a person.
    [[nodiscard]] static std::string macOsVersion();

    /// The address of a form whose fields have values: `base`, and for each field, in the map's own order,
    /// "prefill_", its name, "=" and its value. Of both everything but letters, marks and digits is
    /// percent-encoded.
    ///
    /// The first field follows a "?", whether or not `base` has one, every other one a "&". A field that cannot be
    /// encoded, being no UTF-8, is left out and still counts.
    /// Errors: `base` when what results is no URL. Letters beyond ASCII are left as they are and make it none.
    template <class Map = std::map<std::string, std::string>>
    [[nodiscard]] static URL prefillAirtableURL(const URL& base, const Map& prefills)
    {
        std::string text = base.absoluteString();
        char separator = '?';
        for (const auto& [name, value] : prefills) {
            append(text, separator, name, value);
            separator = '&';
        }
        return URL::parse(text).value_or(base);
    }

private:
    static void append(std::string& text, char separator, std::string_view name, std::string_view value);
};

} // namespace LumoKit
