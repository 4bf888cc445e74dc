#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <algorithm>
#include <utility>

namespace LumoKit {

namespace {
constexpr const char* itemsKey = "items";
}

NSMenu::NSMenu(std::string title)
    : name(std::move(title))
{
    assertMainThread();
}

NSMenu::~NSMenu() = default;

void NSMenu::addItem(const std::shared_ptr<NSMenuItem>& item)
{
    insertItem(item, entries.size());
}

void NSMenu::insertItem(const std::shared_ptr<NSMenuItem>& item, std::size_t at)
{
    if (!item)
        fatalError("there is no menu item to add");
    if (item->menu())
        fatalError("a menu item is in one menu at most");
    if (item->submenu() && item->submenu()->holds(*this))
        fatalError("a menu cannot be put into itself");
    willChangeValue(itemsKey);
    item->holder = std::static_pointer_cast<NSMenu>(shared_from_this());
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(std::min(at, entries.size())), item);
    didChangeValue(itemsKey);
}

void NSMenu::removeItem(const std::shared_ptr<NSMenuItem>& item)
{
    const auto place = std::ranges::find(entries, item);
    if (place == entries.end())
        return;
    const auto removed = *place; // `item` may be the menu's own
    willChangeValue(itemsKey);
    removed->holder.reset();
    entries.erase(place);
    didChangeValue(itemsKey);
}

void NSMenu::removeAllItems()
{
    willChangeValue(itemsKey);
    for (const auto& item : entries)
        item->holder.reset();
    const auto removed = std::exchange(entries, {});
    didChangeValue(itemsKey);
}

std::shared_ptr<NSMenuItem> NSMenu::item(std::string_view withTitle) const
{
    const auto place =
        std::ranges::find_if(entries, [&](const auto& item) { return item->title() == withTitle; });
    return place == entries.end() ? nullptr : *place;
}

bool NSMenu::performKeyEquivalent(const NSEvent& with)
{
    if (with.type != NSEvent::EventType::keyDown)
        return false;
    const auto asked = entries; // what an action does may change the menu
    for (const auto& item : asked) {
        if (!item->isEnabled() || item->isHidden())
            continue;
        if (const auto submenu = item->submenu()) {
            if (submenu->performKeyEquivalent(with))
                return true;
        } else if (item->hasKeyEquivalent(with)) {
            item->performAction();
            return true;
        }
    }
    return false;
}

Value NSMenu::value(std::string_view forKey) const
{
    return forKey == itemsKey ? Value(static_cast<std::int64_t>(entries.size())) : NSObject::value(forKey);
}

bool NSMenu::holds(const NSMenu& other) const
{
    return this == &other || std::ranges::any_of(entries, [&](const auto& item) {
        return item->submenu() && item->submenu()->holds(other);
    });
}

} // namespace LumoKit
