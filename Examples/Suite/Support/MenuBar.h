#pragma once

#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSMenuItem.h>

#include <memory>
#include <string>
#include <vector>

namespace LumoSuite {

using MenuItems = std::vector<std::shared_ptr<LumoKit::NSMenuItem>>;

/// Adds a menu of items to a menu bar.
inline void addMenu(LumoKit::NSMenu& bar, const std::string& title, const MenuItems& items)
{
    const auto menu = std::make_shared<LumoKit::NSMenu>(title);
    for (const auto& item : items)
        menu->addItem(item);
    const auto entry = std::make_shared<LumoKit::NSMenuItem>(title);
    entry->setSubmenu(menu);
    bar.addItem(entry);
}

} // namespace LumoSuite
