#pragma once

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>

#include <concepts>
#include <memory>
#include <vector>

namespace LumoKit {

/// Tells every controller of a window that is of a class, or derives from it, to close, in the order in which the windows
/// were made:
///
///     closeWindowControllers<ConversationController>();
///
/// Which these are is found before the first one closes.
/// Thread: the main thread.
template <std::derived_from<NSWindowController> Of> void closeWindowControllers()
{
    std::vector<std::shared_ptr<NSWindowController>> controllers;
    for (const auto& window : NSApplication::shared().windows())
        controllers.push_back(window->windowController());
    for (const auto& controller : controllers)
        if (dynamic_cast<Of*>(controller.get()))
            controller->close();
}

} // namespace LumoKit
