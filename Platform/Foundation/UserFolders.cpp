#include "UserFolders.h"

#include <LumoKit/Platform/Foundation/Bundle.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace LumoKit::detail {

namespace fs = std::filesystem;

namespace {

/// A folder that the environment names. "If an implementation encounters a relative path in any of these
/// variables it should consider the path invalid and ignore it."
std::optional<fs::path> folderIn(const char* variable)
{
    const char* value = std::getenv(variable);
    if (!value || *value != '/')
        return std::nullopt;
    return fs::path(value);
}

} // namespace

std::optional<fs::path> userFolder(const char* variable, const fs::path& belowHome)
{
    if (auto folder = folderIn(variable))
        return folder;
    if (const auto home = folderIn("HOME"))
        return *home / belowHome;
    return std::nullopt;
}

std::optional<fs::path> applicationFolder(const char* variable, const fs::path& belowHome)
{
    const auto folder = userFolder(variable, belowHome);
    if (!folder)
        return std::nullopt;
    std::string application = Bundle::main().bundleIdentifier().value_or(program_invocation_short_name);
    std::ranges::replace(application, '/', '_');
    return *folder / application;
}

void makePrivateFolders(const fs::path& folder)
{
    std::error_code ignored;
    fs::path made;
    for (const fs::path& part : folder) {
        made /= part;
        if (!fs::exists(made, ignored))
            ::mkdir(made.c_str(), 0700);
    }
}

} // namespace LumoKit::detail
