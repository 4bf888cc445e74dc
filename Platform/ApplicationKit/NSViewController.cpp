#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <utility>

namespace LumoKit {

NSViewController::NSViewController() = default;

NSViewController::~NSViewController() = default;

const std::shared_ptr<NSView>& NSViewController::view()
{
    assertMainThread();
    if (!loaded)
        loadView();
    if (!loaded)
        fatalError("loadView made no view");
    return loaded;
}

void NSViewController::setView(std::shared_ptr<NSView> view)
{
    assertMainThread();
    loaded = std::move(view);
    if (loaded && !std::exchange(told, true))
        viewDidLoad();
}

void NSViewController::loadView()
{
    setView(std::make_shared<NSView>());
}

} // namespace LumoKit
