// Any bytes are JSON or nothing; what is read can be described, and is equal to itself read again.

#include <LumoKit/Platform/Foundation/JSON.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto value = LumoKit::readJSON(text);
    if (!value)
        return 0;
    static_cast<void>(value->description());
    if (LumoKit::readJSON(text) != value)
        std::abort();
    return 0;
}
