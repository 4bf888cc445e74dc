#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace LumoKit {

/// All bytes of a file.
///
/// Errors: nothing where there is no regular file that can be read.
/// Thread: any.
[[nodiscard]] std::optional<std::string> readFile(const std::filesystem::path& file);

/// How a file is written.
enum class FileWriting {
    /// Whoever reads meanwhile finds the old file or the new one.
    atomic,
    /// And so does whoever reads after the machine lost its power.
    atomicAndLasting,
};

/// Makes a file with these bytes, for the user alone, in place of what has its name.
///
/// Errors: in the domain "POSIX"; then nothing has changed, and nothing is left behind.
/// Thread: any.
[[nodiscard]] std::expected<void, Error> writeFile(const std::filesystem::path& file, std::string_view bytes,
    FileWriting how = FileWriting::atomicAndLasting);

/// The text in a file, as UTF-8. A byte order mark says that it is UTF-8, UTF-16 or UTF-32, and is left out;
/// without one it must be UTF-8.
///
/// Errors: nothing where the file cannot be read or is no such text.
/// Thread: any.
[[nodiscard]] std::optional<std::string> readText(const std::filesystem::path& file);

} // namespace LumoKit
