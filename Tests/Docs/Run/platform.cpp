#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

int runHost();

int main()
{
    LumoKit::DispatchQueue::main()->async([] { LumoKit::NSApplication::shared().windows().at(0)->close(); });
    return runHost(); // which ends with its last window
}
