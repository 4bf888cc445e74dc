#include <LumoKit/Platform/Foundation/FileManager.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

namespace LumoKit {

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

std::vector<URL> FileManager::applicationSupportDirectories()
{
    auto folder = folderIn("XDG_DATA_HOME");
    if (!folder) {
        const auto home = folderIn("HOME");
        if (!home)
            return {};
        folder = *home / ".local" / "share";
    }
    std::error_code ignored; // whoever uses the folder finds out
    fs::path made;
    for (const fs::path& part : *folder) {
        made /= part;
        if (!fs::exists(made, ignored))
            ::mkdir(made.c_str(), 0700);
    }
    return {URL::fileURL(folder->string())};
}

bool FileManager::fileExists(const std::string& path)
{
    std::error_code ignored;
    return fs::exists(path, ignored);
}

std::expected<void, Error> FileManager::createDirectory(const std::string& path)
{
    if (::mkdir(path.c_str(), 0700) == 0)
        return {};
    return std::unexpected(Error{"POSIX", errno, path + ": " + std::strerror(errno)});
}

} // namespace LumoKit
