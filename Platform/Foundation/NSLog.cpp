#include <LumoKit/Platform/Foundation/NSLog.h>

#include <glib.h>

#include <string>

namespace LumoKit {

void NSLog(std::string_view line)
{
    const std::string text(line);
    g_log_structured("LumoKit", G_LOG_LEVEL_MESSAGE, "MESSAGE", "%s", text.c_str());
}

} // namespace LumoKit
