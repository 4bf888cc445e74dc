// Any answer of the user agent service gives a user agent or none: a UTF-8 text in which no place is left for the version.

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/WebView/UserAgentTexts.h>

#include <cstdlib>

using namespace LumoKit;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string_view answer(reinterpret_cast<const char*>(data), size);
    const auto userAgent = detail::userAgentIn(answer, {14, 7, 2});
    if (userAgent && (userAgent->find("OS_VERSION") != userAgent->npos || !isUTF8(*userAgent)))
        std::abort();
    return 0;
}
