#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <utility>

namespace LumoKit {

namespace {

using Flags = NSEvent::ModifierFlags;
constexpr Flags modifiers = Flags::shift | Flags::control | Flags::option | Flags::command;

} // namespace

NSMenuItem::NSMenuItem(std::string title, Action action, std::string keyEquivalent)
    : name(std::move(title))
    , action(std::move(action))
    , key(std::move(keyEquivalent))
{
    assertMainThread();
}

NSMenuItem::~NSMenuItem() = default;

std::shared_ptr<NSMenuItem> NSMenuItem::separator()
{
    auto item = std::make_shared<NSMenuItem>("");
    item->separates = true;
    item->enabled = false;
    return item;
}

void NSMenuItem::setTitle(std::string title)
{
    willChangeValue("title");
    name = std::move(title);
    didChangeValue("title");
}

void NSMenuItem::setKeyEquivalent(std::string changed)
{
    willChangeValue("keyEquivalent");
    key = std::move(changed);
    didChangeValue("keyEquivalent");
}

void NSMenuItem::setKeyEquivalentModifierMask(Flags changed)
{
    willChangeValue("keyEquivalent");
    mask = changed;
    didChangeValue("keyEquivalent");
}

void NSMenuItem::setEnabled(bool changed)
{
    willChangeValue("enabled");
    enabled = changed && !separates;
    didChangeValue("enabled");
}

void NSMenuItem::setHidden(bool changed)
{
    willChangeValue("hidden");
    hidden = changed;
    didChangeValue("hidden");
}

void NSMenuItem::setState(State state)
{
    willChangeValue("state");
    mark = state;
    didChangeValue("state");
}

void NSMenuItem::setAction(Action changed)
{
    action = std::move(changed);
}

void NSMenuItem::performAction()
{
    const auto alive = shared_from_this(); // the action may remove the item
    const auto doing = action; // or give it another action
    if (enabled && doing)
        doing(*this);
}

void NSMenuItem::setSubmenu(std::shared_ptr<NSMenu> submenu)
{
    const auto in = menu();
    if (in && submenu && submenu->holds(*in))
        fatalError("a menu cannot be put into itself");
    below = std::move(submenu);
    if (in) // whoever shows the menu looks at its items again
        in->didChangeValue("items", in->value("items"));
}

std::shared_ptr<NSMenu> NSMenuItem::menu() const
{
    return holder.lock();
}

bool NSMenuItem::hasKeyEquivalent(const NSEvent& event) const
{
    if (key.empty())
        return false;
    const std::string lower = lowercased(key);
    const Flags held = event.modifierFlags & modifiers;
    const Flags wanted = (mask & modifiers) | (key == lower ? Flags() : Flags::shift);
    const std::string& typed = event.charactersIgnoringModifiers;
    if (held == wanted && (lowercased(typed) == lower || event.charactersApplying(Flags()) == lower))
        return true;
    // A sign that is typed with Shift, such as "+", is named without it.
    return held == (wanted | Flags::shift) && typed == key && lower == uppercased(key);
}

Value NSMenuItem::value(std::string_view forKey) const
{
    if (forKey == "title")
        return name;
    if (forKey == "keyEquivalent")
        return key;
    if (forKey == "enabled")
        return enabled;
    if (forKey == "hidden")
        return hidden;
    if (forKey == "state")
        return static_cast<std::int64_t>(mark);
    return NSObject::value(forKey);
}

} // namespace LumoKit
