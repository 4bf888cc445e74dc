#include "UserFolders.h"

#include <LumoKit/Platform/Foundation/FileManager.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace LumoKit {

namespace fs = std::filesystem;

std::vector<URL> FileManager::applicationSupportDirectories()
{
    const auto folder = detail::userFolder("XDG_DATA_HOME", ".local/share");
    if (!folder)
        return {};
    detail::makePrivateFolders(*folder);
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
