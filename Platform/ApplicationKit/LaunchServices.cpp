#include "DesktopEntry.h"

#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/FileManager.h>
#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <memory>
#include <vector>

namespace LumoKit {

namespace fs = std::filesystem;
using detail::GErrorPtr;
using detail::GText;
using detail::ObjectPtr;

namespace {

using Entry = ObjectPtr<GDesktopAppInfo>;

std::unexpected<Error> failure(std::string description)
{
    return std::unexpected(Error{"LumoKit.LaunchServices", 1, std::move(description)});
}

std::string inLowerCase(std::string_view text)
{
    std::string lower;
    std::ranges::transform(text, std::back_inserter(lower),
        [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

std::string contentType(const std::string& scheme)
{
    return "x-scheme-handler/" + scheme;
}

/// Whether an entry starts a program with the links of all schemes.
bool starts(const Entry& entry, const fs::path& program, const std::vector<std::string>& schemes)
{
    const auto info = G_APP_INFO(entry.get());
    char** words = nullptr;
    if (!g_shell_parse_argv(g_app_info_get_commandline(info), nullptr, &words, nullptr))
        return false;
    const std::unique_ptr<char*, detail::FreedBy<g_strfreev>> owned(words);
    const GText found(g_find_program_in_path(words[0]));
    std::error_code missing;
    if (!found || !fs::equivalent(found.get(), program, missing) || !g_app_info_supports_uris(info))
        return false;
    const char** types = g_app_info_get_supported_types(info);
    return types && std::ranges::all_of(schemes, [&](const std::string& scheme) {
        return g_strv_contains(types, contentType(scheme).c_str());
    });
}

/// The desktop's entry for the main bundle; written where there is none that starts it.
std::expected<Entry, Error> entryOfThisApplication(const std::string& identifier)
{
    std::error_code unreadable;
    const fs::path program = fs::read_symlink("/proc/self/exe", unreadable);
    const auto schemes = Bundle::main().urlSchemes();
    const std::string fileName = identifier + ".desktop";
    if (auto entry = Entry::adopt(g_desktop_app_info_new(fileName.c_str()));
        entry && starts(entry, program, schemes))
        return entry;

    const auto places = FileManager::applicationSupportDirectories();
    if (places.empty())
        return failure("There is no place for the user's applications");
    const fs::path folder = fs::path(places.front().path()) / "applications";
    const Value called = Bundle::main().object("CFBundleName");
    const std::string text =
        detail::desktopEntry(called.asText() ? *called.asText() : identifier, program.string(), schemes);
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        return failure("A desktop entry cannot name " + program.string());
    GErrorPtr error;
    const fs::path file = folder / fileName;
    fs::create_directory(folder, unreadable);
    if (!g_file_set_contents_full(file.c_str(), text.data(), static_cast<gssize>(text.size()),
            G_FILE_SET_CONTENTS_CONSISTENT, 0644, error.out()))
        return failure(error->message);
    // GIO knows the entry when its watch of the folder, on a thread of its own, has seen the file: in less than a
    // millisecond, mostly.
    const gint64 end = g_get_monotonic_time() + G_USEC_PER_SEC;
    auto entry = Entry::adopt(g_desktop_app_info_new(fileName.c_str()));
    while (!entry && g_get_monotonic_time() < end) {
        g_usleep(1000);
        entry = Entry::adopt(g_desktop_app_info_new(fileName.c_str()));
    }
    if (!entry)
        return failure("The desktop does not list " + file.string());
    return entry;
}

} // namespace

std::expected<void, Error> LaunchServices::setDefaultHandler(std::string_view forURLScheme)
{
    const auto identifier = Bundle::main().bundleIdentifier();
    if (!identifier || !g_application_id_is_valid(identifier->c_str()))
        return failure("The program has no bundle with an identifier that the desktop can use");
    const std::string scheme = inLowerCase(forURLScheme);
    const auto schemes = Bundle::main().urlSchemes();
    if (std::ranges::find(schemes, scheme) == schemes.end())
        return failure("The bundle's CFBundleURLTypes do not name the scheme " + scheme);
    const auto entry = entryOfThisApplication(*identifier);
    if (!entry)
        return std::unexpected(entry.error());
    GErrorPtr error;
    if (!g_app_info_set_as_default_for_type(
            G_APP_INFO(entry->get()), contentType(scheme).c_str(), error.out()))
        return failure(error->message);
    const auto now = defaultHandler(scheme);
    if (now != identifier)
        return failure("The desktop opens links of the scheme " + scheme + " with "
            + now.value_or("no application") + " all the same");
    return {};
}

std::optional<std::string> LaunchServices::defaultHandler(std::string_view forURLScheme)
{
    const auto entry = ObjectPtr<GAppInfo>::adopt(
        g_app_info_get_default_for_type(contentType(inLowerCase(forURLScheme)).c_str(), FALSE));
    const char* name = entry ? g_app_info_get_id(entry.get()) : nullptr;
    if (!name)
        return std::nullopt;
    std::string_view identifier = name;
    if (identifier.ends_with(".desktop"))
        identifier.remove_suffix(std::string_view(".desktop").size());
    return std::string(identifier);
}

} // namespace LumoKit
