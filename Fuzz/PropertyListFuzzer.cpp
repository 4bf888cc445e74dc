// Any bytes are a property list or nothing, in bounded time and memory.

#include <LumoKit/Platform/Foundation/PropertyList.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto list = LumoKit::readPropertyList(std::as_bytes(std::span(data, size)));
    if (list)
        static_cast<void>(list->description());
    return 0;
}
