#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <expected>
#include <string>
#include <vector>

namespace LumoKit {

/// The user's folders and what may be done in them.
///
/// Thread: any.
class FileManager {
public:
    /// Where the user's applications keep their data: one folder, which is made (for the user alone) if it
    /// does not exist; none where the environment names no place for it.
    /// Source: XDG Base Directory Specification, `$XDG_DATA_HOME` or `$HOME/.local/share`.
    [[nodiscard]] static std::vector<URL> applicationSupportDirectories();

    /// Whether there is anything at a path. A link counts as what it leads to.
    [[nodiscard]] static bool fileExists(const std::string& path);

    /// Makes one folder, for the user alone; its parent must exist.
    [[nodiscard]] static std::expected<void, Error> createDirectory(const std::string& path);
};

} // namespace LumoKit
