#include "NSWindowNative.h"

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>

#include <utility>

namespace LumoKit {

NSWindowController::NSWindowController() = default;

NSWindowController::NSWindowController(std::shared_ptr<NSWindow> window)
{
    setWindow(std::move(window));
}

NSWindowController::~NSWindowController()
{
    setWindow(nullptr);
}

void NSWindowController::setWindow(std::shared_ptr<NSWindow> window)
{
    assertMainThread();
    if (window == controlled)
        return;
    if (const auto before = std::exchange(controlled, nullptr))
        before->nativeWindow().controller = nullptr;
    if (!window)
        return;
    if (NSWindowController* other = window->nativeWindow().controller)
        other->controlled = nullptr;
    window->nativeWindow().controller = this;
    controlled = std::move(window);
    showContent();
}

void NSWindowController::setContentViewController(std::shared_ptr<NSViewController> controller)
{
    assertMainThread();
    content = std::move(controller);
    showContent();
}

void NSWindowController::showContent()
{
    if (content && controlled)
        controlled->setContentView(content->view());
}

void NSWindowController::showWindow()
{
    if (controlled)
        controlled->makeKeyAndOrderFront();
}

void NSWindowController::close()
{
    const auto alive = weak_from_this().lock(); // whoever is told may let go of it
    if (const auto window = controlled)
        window->close();
}

} // namespace LumoKit
