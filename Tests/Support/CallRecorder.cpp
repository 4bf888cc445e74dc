// Loaded into a program (LD_PRELOAD) whose parts are built with LUMOKIT_RECORD_CALLS, it writes which of their functions were
// called into the file $LUMOKIT_CALLS when the program ends: "MODULE OFFSET", a line each. What the program starts is not
// listened to.

#include <dlfcn.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// More than there are functions; those that find no room are not written.
constexpr std::size_t room = 1 << 15;
constinit std::array<std::atomic<void*>, room> called{};

std::string& file()
{
    static std::string name;
    return name;
}

[[gnu::constructor]] void begin()
{
    if (const char* name = std::getenv("LUMOKIT_CALLS"))
        file() = name;
    ::unsetenv("LUMOKIT_CALLS");
    ::unsetenv("LD_PRELOAD");
}

[[gnu::destructor]] void end()
{
    std::FILE* written = file().empty() ? nullptr : std::fopen(file().c_str(), "w");
    if (!written)
        return;
    for (const auto& entry : called) {
        Dl_info module{};
        auto* const function = static_cast<char*>(entry.load(std::memory_order_relaxed));
        if (function && ::dladdr(function, &module))
            std::fprintf(
                written, "%s %#tx\n", module.dli_fname, function - static_cast<char*>(module.dli_fbase));
    }
    std::fclose(written);
}

} // namespace

extern "C" void __cyg_profile_func_enter(void* function, void*)
{
    const std::size_t first = (reinterpret_cast<std::uintptr_t>(function) >> 4) % room;
    for (std::size_t step = 0; step < room; ++step) {
        auto& entry = called[(first + step) % room];
        void* there = entry.load(std::memory_order_relaxed);
        if (there == function)
            return;
        if (!there
            && (entry.compare_exchange_strong(there, function, std::memory_order_relaxed)
                || there == function))
            return;
    }
}
