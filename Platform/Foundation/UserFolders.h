#pragma once

#include <filesystem>
#include <optional>

namespace LumoKit::detail {

/// The user's folder for one kind of files: what an environment variable names, or a place below the home folder.
/// Errors: nothing where the environment names neither. Nothing is made.
/// Thread: any, as long as none changes the environment.
/// Source: XDG Base Directory Specification.
[[nodiscard]] std::optional<std::filesystem::path> userFolder(
    const char* variable, const std::filesystem::path& belowHome);

/// This application's own folder in a folder of the user's, named after the bundle identifier, or after the program
/// where there is none; arguments and errors as above.
[[nodiscard]] std::optional<std::filesystem::path> applicationFolder(
    const char* variable, const std::filesystem::path& belowHome);

/// Makes a folder and those that lead to it, each for the user alone; those that exist stay as they are.
/// Errors: whoever uses the folder finds out.
/// Thread: any.
void makePrivateFolders(const std::filesystem::path& folder);

} // namespace LumoKit::detail
