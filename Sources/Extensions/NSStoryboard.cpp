#include <LumoKit/Extensions/NSStoryboard.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Utility/FramelessWindowBehaviour.h>
#include <LumoKit/Utility/WindowDraggingView.h>
#include <LumoKit/View/BackgroundView.h>
#include <LumoKit/View/ImageButton.h>

namespace LumoKit {

namespace {

std::shared_ptr<NSWindowController> windowController(const std::shared_ptr<NSObject>& controller)
{
    auto made = std::dynamic_pointer_cast<NSWindowController>(controller);
    if (!made)
        fatalError("the interface file's controller is no window controller");
    return made;
}

} // namespace

std::shared_ptr<NSStoryboard> storyboard(std::string_view named)
{
    static const bool known = [] { // once, so that a host may put classes of its own in their place
        NSStoryboard::registerClass<BackgroundView>("BackgroundView");
        NSStoryboard::registerClass<ImageButton>("ImageButton");
        NSStoryboard::registerClass<LMFramelessWindowBehaviour>("LMFramelessWindowBehaviour");
        NSStoryboard::registerClass<WindowDraggingView>("WindowDraggingView");
        return true;
    }();
    static_cast<void>(known);
    return NSStoryboard::create(named, Bundle::main());
}

std::shared_ptr<NSWindowController> loadWindowController(const NSStoryboard& storyboard, std::string_view id)
{
    return windowController(storyboard.instantiateController(id));
}

std::shared_ptr<NSWindowController> loadInitialWindowController(const NSStoryboard& storyboard)
{
    return windowController(storyboard.instantiateInitialController());
}

} // namespace LumoKit
