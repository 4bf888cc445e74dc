#include <LumoKit/Platform/Foundation/Files.h>

#include <fstream>
#include <sstream>

namespace LumoKit {

std::optional<std::string> readFile(const std::filesystem::path& file)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) // a pipe would be waited for
        return std::nullopt;
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream bytes;
    if (stream.peek() != std::ifstream::traits_type::eof())
        bytes << stream.rdbuf();
    if (!stream.is_open() || stream.bad() || bytes.fail())
        return std::nullopt;
    return std::move(bytes).str();
}

} // namespace LumoKit
