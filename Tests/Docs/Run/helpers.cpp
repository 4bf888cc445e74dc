#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Utility/DispatchQueue.h>

void helpers();

int main()
{
    auto& application = LumoKit::NSApplication::shared();
    helpers();
    LumoKit::delay(
        0.6, LumoKit::DispatchQueue::main(), [&application] { application.terminate(); }); // after its own
    application.run();
}
