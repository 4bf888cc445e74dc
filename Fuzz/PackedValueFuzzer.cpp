// Any bytes where an array or a dictionary is kept are one or nothing; one is kept again as it was read.

#include "Foundation/PackedValue.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace LumoKit;
    const auto value = detail::unpacked({reinterpret_cast<const char*>(data), size});
    if (!value)
        return 0;
    if (!detail::isPropertyList(*value))
        std::abort();
    const std::string bytes = detail::packed(*value);
    const auto again = detail::unpacked(bytes);
    if (!again || detail::packed(*again) != bytes)
        std::abort();
    return 0;
}
