#include <LumoKit/Platform/Dispatch/MainThread.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace LumoKit {

bool isMainThread()
{
    static thread_local const bool main = ::gettid() == ::getpid();
    return main;
}

void assertMainThread([[maybe_unused]] std::source_location where)
{
#ifndef NDEBUG
    if (isMainThread())
        return;
    std::fprintf(stderr, "%s:%u: Fatal error: %s must be called on the main thread\n", where.file_name(),
        static_cast<unsigned>(where.line()), where.function_name());
    std::abort();
#endif
}

} // namespace LumoKit
