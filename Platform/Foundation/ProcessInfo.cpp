#include <LumoKit/Platform/Foundation/ProcessInfo.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <sys/utsname.h>

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

} // namespace LumoKit
