#include <LumoKit/Platform/Foundation/Print.h>

#include <cstdio>

namespace LumoKit {

void print(std::string_view line)
{
    ::flockfile(stdout);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
    ::funlockfile(stdout);
}

} // namespace LumoKit
