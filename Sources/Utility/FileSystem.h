#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

namespace LumoKit {

/// The files of one application.
class FileSystemUtils {
public:
    FileSystemUtils() = delete;

    /// The application's data directory: a folder named after the bundle identifier where the user's
    /// applications keep their data. It is looked for at every call, and made if nothing has its name; a
    /// failure is printed, and shows at the first use.
    /// Errors: stops the process when the user has no such place, or the main bundle no identifier.
    /// Thread: any.
    [[nodiscard]] static URL applicationDataDirectoryURL();
};

} // namespace LumoKit
