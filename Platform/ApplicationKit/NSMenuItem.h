#pragma once

#include <LumoKit/Platform/ApplicationKit/NSEvent.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoKit {

class NSMenu;

/// A line of a menu: a command, a submenu, or a separator.
///
/// Thread: the main thread.
/// Observable: "title", "keyEquivalent", "enabled", "hidden", "state".
class NSMenuItem : public NSObject {
public:
    using Action = std::function<void(NSMenuItem&)>;
    enum class State { off = 0, on = 1, mixed = -1 };

    /// A command. `keyEquivalent` is the character that, with Command held, performs it; an upper-case letter wants
    /// Shift, too, and an empty text is no key. Keys that type nothing have characters of their own, such as
    /// `NSF5FunctionKey`.
    explicit NSMenuItem(std::string title, Action action = {}, std::string keyEquivalent = {});
    ~NSMenuItem() override;
    /// A line between other items.
    [[nodiscard]] static std::shared_ptr<NSMenuItem> separator();
    [[nodiscard]] bool isSeparatorItem() const { return separates; }

    [[nodiscard]] const std::string& title() const { return name; }
    void setTitle(std::string title);
    [[nodiscard]] const std::string& keyEquivalent() const { return key; }
    void setKeyEquivalent(std::string key);
    /// The modifiers that must be held with the key, and no others of Shift, Control, Option and Command; at first
    /// Command.
    [[nodiscard]] NSEvent::ModifierFlags keyEquivalentModifierMask() const { return mask; }
    void setKeyEquivalentModifierMask(NSEvent::ModifierFlags mask);
    [[nodiscard]] bool isEnabled() const { return enabled; }
    void setEnabled(bool enabled);
    [[nodiscard]] bool isHidden() const { return hidden; }
    void setHidden(bool hidden);
    /// The mark before the title.
    [[nodiscard]] State state() const { return mark; }
    void setState(State state);

    void setAction(Action action);
    /// Does what a click on the item does: nothing while it is disabled.
    void performAction();

    [[nodiscard]] const std::shared_ptr<NSMenu>& submenu() const { return below; }
    /// Errors: stops the process if the submenu holds this item.
    void setSubmenu(std::shared_ptr<NSMenu> submenu);
    /// The menu that the item is in; null if it is in none.
    [[nodiscard]] std::shared_ptr<NSMenu> menu() const;

    /// Whether a key is the item's key equivalent, whatever the item's state.
    [[nodiscard]] bool hasKeyEquivalent(const NSEvent& event) const;

    [[nodiscard]] Value value(std::string_view forKey) const override;

private:
    friend class NSMenu;

    std::string name;
    Action action;
    std::string key;
    NSEvent::ModifierFlags mask = NSEvent::ModifierFlags::command;
    bool enabled = true;
    bool hidden = false;
    bool separates = false;
    State mark = State::off;
    std::shared_ptr<NSMenu> below;
    std::weak_ptr<NSMenu> holder;
};

} // namespace LumoKit
