#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace LumoKit {

/// All bytes of a file.
///
/// Errors: nothing where there is no regular file that can be read.
/// Thread: any.
[[nodiscard]] std::optional<std::string> readFile(const std::filesystem::path& file);

} // namespace LumoKit
