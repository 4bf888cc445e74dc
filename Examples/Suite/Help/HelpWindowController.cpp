#include "Help/HelpWindowController.h"

#include <LumoKit/Extensions/NSStoryboard.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>

namespace LumoSuite {

using namespace LumoKit;

std::shared_ptr<HelpWindowController> HelpWindowController::open(
    const std::shared_ptr<const HelpServices>& services)
{
    NSStoryboard::registerClass<HelpWindowController>("HelpWindowController");
    NSStoryboard::registerClass<HelpViewController>("HelpViewController");
    NSStoryboard::registerClass<HelpView>("HelpView");
    const auto controller =
        std::static_pointer_cast<HelpWindowController>(loadInitialWindowController(*storyboard("Help")));
    controller->help()->setDependencies(services);
    controller->window()->center();
    controller->showWindow();
    return controller;
}

} // namespace LumoSuite
