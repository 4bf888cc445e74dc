#include "OperatingSystemVersion.h"

#include <LumoKit/Platform/Native/Handles.h>

#include <sys/utsname.h>

#include <charconv>

namespace LumoKit {

std::string ProcessInfo::operatingSystemVersionString()
{
    utsname kernel{};
    ::uname(&kernel);
    std::string version = std::string(kernel.sysname) + " " + kernel.release;
    if (const detail::GText name(g_get_os_info(G_OS_INFO_KEY_PRETTY_NAME)); name)
        version.insert(0, std::string(name.get()) + ", ");
    return version;
}

OperatingSystemVersion detail::versionIn(std::string_view text)
{
    OperatingSystemVersion version;
    for (int* number : {&version.majorVersion, &version.minorVersion, &version.patchVersion}) {
        const char* end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data(), end, *number);
        if (error != std::errc() || *number < 0) {
            *number = 0;
            break;
        }
        if (rest == end || *rest != '.')
            break;
        text = {rest + 1, end};
    }
    return version;
}

OperatingSystemVersion ProcessInfo::operatingSystemVersion()
{
    if (const detail::GText identifier(g_get_os_info(G_OS_INFO_KEY_VERSION_ID)); identifier)
        return detail::versionIn(identifier.get());
    utsname kernel{};
    ::uname(&kernel);
    return detail::versionIn(kernel.release);
}

} // namespace LumoKit
