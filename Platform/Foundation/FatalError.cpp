#include <LumoKit/Platform/Foundation/FatalError.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace LumoKit {

void fatalError(std::string_view message, std::source_location where)
{
    std::string line =
        std::string(where.file_name()) + ":" + std::to_string(where.line()) + ": Fatal error: ";
    line.append(message).append("\n");
    std::fwrite(line.data(), 1, line.size(), stderr); // whole, so that lines of several threads do not mix
    std::fflush(stderr);
    std::abort();
}

void unimplementedInitializer(
    std::string_view className, std::string_view initializer, std::source_location where)
{
    std::string message = "Use of unimplemented initializer '";
    message.append(initializer).append("' for class '").append(className).append("'");
    fatalError(message, where);
}

} // namespace LumoKit
