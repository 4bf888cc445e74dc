#include <LumoKit/Extensions/NSWindowController.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>

#include <utility>
#include <vector>

namespace LumoKit {

void onClose(const NSWindowController& controller, std::function<void()> handler)
{
    static auto& observers = *new std::vector<NotificationObserver>; // for the rest of the process
    observers.push_back(NotificationCenter::defaultCenter().addObserver(NSWindow::willCloseNotification,
        controller.window(), [handler = std::move(handler)](const Notification&) { handler(); }));
}

} // namespace LumoKit
