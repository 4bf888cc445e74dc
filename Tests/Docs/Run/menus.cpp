#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>

void makeMenus();

int main()
{
    makeMenus();
    const auto inbox = LumoKit::NSApplication::shared().mainMenu()->items().at(0)->submenu();
    inbox->items().back()->performAction();
}
