#pragma once

#include <LumoKit/Platform/ApplicationKit/NSMenuItem.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace LumoKit {

/// A list of menu items. `NSApplication::setMainMenu` makes one the application's: each item with a submenu is a
/// menu of the bar at the top of the windows.
///
/// Ownership: a menu keeps its items; an item is in one menu at most.
/// Thread: the main thread.
/// Observable: "items", as their number.
class NSMenu : public NSObject {
public:
    explicit NSMenu(std::string title = {});
    ~NSMenu() override;

    [[nodiscard]] const std::string& title() const { return name; }

    /// Errors: stops the process if `item` is null, is in a menu, or holds this menu.
    void addItem(const std::shared_ptr<NSMenuItem>& item);
    /// At the end, if there are fewer items. Errors: as `addItem`.
    void insertItem(const std::shared_ptr<NSMenuItem>& item, std::size_t at);
    /// Does nothing with an item that is not in this menu.
    void removeItem(const std::shared_ptr<NSMenuItem>& item);
    void removeAllItems();
    [[nodiscard]] const std::vector<std::shared_ptr<NSMenuItem>>& items() const { return entries; }
    /// The first item of that title; null if there is none.
    [[nodiscard]] std::shared_ptr<NSMenuItem> item(std::string_view withTitle) const;

    /// Performs the first item, in this menu or below it, that the key is for; true if there is one. Items that
    /// are disabled or hidden, and those in a submenu of such an item, are passed over.
    virtual bool performKeyEquivalent(const NSEvent& with);

    [[nodiscard]] Value value(std::string_view forKey) const override;

private:
    friend class NSMenuItem;
    [[nodiscard]] bool holds(const NSMenu& other) const;

    const std::string name;
    std::vector<std::shared_ptr<NSMenuItem>> entries;
};

} // namespace LumoKit
