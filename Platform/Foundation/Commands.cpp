#include "Commands.h"

#include <dlfcn.h>

namespace LumoKit::detail {

namespace fs = std::filesystem;

std::optional<fs::path> commandsFolder()
{
    static const char ofThisLibrary = 0;
    Dl_info library{};
    if (::dladdr(&ofThisLibrary, &library) == 0 || !library.dli_fname)
        return std::nullopt;
    std::error_code missing;
    const fs::path folder = fs::canonical(library.dli_fname, missing).parent_path();
    // As it is installed, and as it is built.
    for (const char* place : {LUMOKIT_COMMANDS_FROM_LIBRARY, "commands"})
        if (fs::path found = (folder / place).lexically_normal(); fs::exists(found / "open", missing))
            return found;
    return std::nullopt;
}

} // namespace LumoKit::detail
