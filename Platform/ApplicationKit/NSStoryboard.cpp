#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSStepper.h>
#include <LumoKit/Platform/ApplicationKit/NSStoryboard.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/PropertyList.h>

#include <map>
#include <optional>
#include <span>
#include <utility>

namespace LumoKit {

namespace {

template <class T> std::shared_ptr<NSObject> make(const NSCoder& coder)
{
    if constexpr (std::constructible_from<T, const NSCoder&>)
        return std::make_shared<T>(coder);
    else
        return std::make_shared<T>();
}

auto& makers()
{
    // Never destroyed, like the application.
    static auto& known =
        *new std::map<std::string, std::function<std::shared_ptr<NSObject>(const NSCoder&)>, std::less<>>{
            {"NSButton", &make<NSButton>},
            {"NSStepper", &make<NSStepper>},
            {"NSTextField", &make<NSTextField>},
            {"NSView", &make<NSView>},
            {"NSViewController", &make<NSViewController>},
            {"NSWindowController", &make<NSWindowController>},
        };
    return known;
}

/// An object of the class that a file names.
template <class Base>
std::shared_ptr<Base> object(const NSCoder& coder, const std::string& withoutClass, std::string_view kind)
{
    const std::string name = coder.containsValue("class") ? coder.decodeString("class") : withoutClass;
    const auto maker = makers().find(name);
    if (maker == makers().end())
        fatalError("the interface names the class '" + name + "', which is not registered");
    auto made = std::dynamic_pointer_cast<Base>(maker->second(coder));
    if (!made)
        fatalError("the interface needs a " + std::string(kind) + ", which '" + name + "' is not");
    return made;
}

/// A view with what is in it. One that fills something has the size of that before there is anything in it.
std::shared_ptr<NSView> view(const NSCoder& coder, const std::optional<CGSize>& fills = std::nullopt)
{
    auto made = object<NSView>(coder, "NSView", "view");
    if (fills)
        made->setFrame({{}, *fills});
    const Value subviews = coder.decodeObject("subviews");
    if (const auto* list = subviews.asArray())
        for (const Value& each : *list) {
            const auto* described = each.asDictionary();
            made->addSubview(view(described ? NSCoder(*described) : NSCoder()));
        }
    return made;
}

std::shared_ptr<NSViewController> viewController(
    const NSCoder& coder, const std::optional<CGSize>& fills = std::nullopt)
{
    auto made = object<NSViewController>(coder, "NSViewController", "view controller");
    if (coder.containsValue("view"))
        made->setView(view(coder.decodeDictionary("view"), fills));
    return made;
}

/// What goes with a window: its values first, so that an outlet finds them.
void addObject(NSWindowController& controller, const NSCoder& coder)
{
    const auto made = object<NSObject>(coder, "NSObject", "object");
    const Value values = coder.decodeObject("values");
    if (const auto* all = values.asDictionary())
        for (const auto& [key, value] : *all)
            made->setValue(value, key);
    const NSCoder outlets = coder.decodeDictionary("outlets");
    const Value named = coder.decodeObject("outlets");
    if (const auto* all = named.asDictionary())
        for (const auto& [key, ignored] : *all) {
            const std::string to = outlets.decodeString(key);
            std::shared_ptr<NSObject> target;
            if (to == "controller")
                target = controller.shared_from_this();
            else if (to == "window")
                target = controller.window();
            else
                target = controller.window()->contentView()->view(to);
            if (!target)
                fatalError("the interface connects '" + key + "' to '" + to + "', which is not there");
            made->setOutlet(target, key);
        }
}

void load(NSWindowController& controller, const NSCoder& coder, const NSCoder& window)
{
    const auto is = [&](const char* key) { return !window.containsValue(key) || window.decodeBool(key); };
    const CGRect frame = window.decodeRect("frame");
    const auto made = NSWindow::create(frame,
        {.titled = is("titled"),
            .closable = is("closable"),
            .miniaturizable = is("miniaturizable"),
            .resizable = is("resizable"),
            .fullSizeContentView = false});
    made->setTitle(window.decodeString("title"));
    if (window.containsValue("view"))
        made->setContentView(view(window.decodeDictionary("view"), frame.size));
    controller.setWindow(made);
    if (window.containsValue("viewController"))
        controller.setContentViewController(
            viewController(window.decodeDictionary("viewController"), frame.size));
    const Value objects = coder.decodeObject("objects");
    if (const auto* list = objects.asArray())
        for (const Value& each : *list) {
            const auto* described = each.asDictionary();
            addObject(controller, described ? NSCoder(*described) : NSCoder());
        }
    controller.windowDidLoad();
}

} // namespace

NSStoryboard::NSStoryboard(std::string name, NSCoder contents)
    : name(std::move(name))
    , contents(std::move(contents))
{
}

std::shared_ptr<NSStoryboard> NSStoryboard::create(std::string_view name, const Bundle& bundle)
{
    const auto file = bundle.path(name, "storyboard");
    if (!file)
        fatalError("there is no interface file '" + std::string(name) + ".storyboard' in the bundle");
    const auto bytes = readFile(*file);
    const auto list = bytes ? readPropertyList(std::as_bytes(std::span(*bytes))) : std::nullopt;
    if (!list || !list->asDictionary())
        fatalError("the interface file '" + std::string(name) + ".storyboard' is no property list");
    return std::shared_ptr<NSStoryboard>(new NSStoryboard(std::string(name), NSCoder(*list->asDictionary())));
}

void NSStoryboard::add(std::string name, Maker maker)
{
    assertMainThread();
    makers().insert_or_assign(std::move(name), std::move(maker));
}

std::shared_ptr<NSObject> NSStoryboard::instantiateInitialController() const
{
    return contents.containsValue("initial") ? instantiateController(contents.decodeString("initial"))
                                             : nullptr;
}

std::shared_ptr<NSObject> NSStoryboard::instantiateController(std::string_view withIdentifier) const
{
    assertMainThread();
    const NSCoder controllers = contents.decodeDictionary("controllers");
    if (!controllers.containsValue(withIdentifier))
        fatalError(
            "the interface file '" + name + "' has no controller '" + std::string(withIdentifier) + "'");
    const NSCoder coder = controllers.decodeDictionary(withIdentifier);
    if (!coder.containsValue("window"))
        return viewController(coder);
    auto made = object<NSWindowController>(coder, "NSWindowController", "window controller");
    load(*made, coder, coder.decodeDictionary("window"));
    return made;
}

} // namespace LumoKit
