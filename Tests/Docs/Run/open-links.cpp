#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Print.h>

int runHost();

int main()
{
    LumoKit::DispatchQueue::main()->async([] {
        LumoKit::print("running");
        LumoKit::NSApplication::shared().terminate();
    });
    return runHost();
}
