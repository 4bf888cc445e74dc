#include "MenuBar.h"

#include "KeyTable.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <utility>
#include <vector>

namespace LumoKit::detail {

namespace {

GdkModifierType shownModifiers(const NSMenuItem& item)
{
    using Flags = NSEvent::ModifierFlags;
    const Flags mask = item.keyEquivalentModifierMask();
    const bool super = NSApplication::shared().commandKey() == NSApplication::CommandKey::super;
    guint state = 0;
    if (mask.contains(Flags::shift) || lowercased(item.keyEquivalent()) != item.keyEquivalent())
        state |= GDK_SHIFT_MASK;
    if (mask.contains(Flags::control))
        state |= super ? guint(GDK_CONTROL_MASK) : guint(GDK_SUPER_MASK);
    if (mask.contains(Flags::option))
        state |= GDK_MOD1_MASK;
    if (mask.contains(Flags::command))
        state |= super ? guint(GDK_SUPER_MASK) : guint(GDK_CONTROL_MASK);
    return static_cast<GdkModifierType>(state);
}

} // namespace

/// One item on screen.
class MenuLine {
public:
    MenuLine(const std::shared_ptr<NSMenuItem>& item, std::function<void()> rebuild);
    ~MenuLine();
    MenuLine(const MenuLine&) = delete;
    MenuLine& operator=(const MenuLine&) = delete;

    [[nodiscard]] GtkWidget* widget() const { return line.get(); }

private:
    void show(const NSMenuItem& item);

    ObjectPtr<GtkWidget> line;
    bool showing = false;
    std::unique_ptr<MenuLines> below;
    std::vector<KeyValueObservation> observations;
    SignalConnection activated;
};

/// The items of a menu in a shell, a bar or a menu that drops down.
class MenuLines {
public:
    MenuLines(const std::shared_ptr<NSMenu>& menu, GtkMenuShell* shell)
        : shell(ObjectPtr<GtkMenuShell>::retain(shell))
        , menu(menu)
    {
        build();
        // What changes the menu may be an item of it that is being chosen: the toolkit's objects stay until then.
        changed = menu->observe("items", [this](const auto&) { build(); });
    }

private:
    void build()
    {
        const auto shown = menu.lock();
        lines.clear();
        if (!shown)
            return;
        for (const auto& item : shown->items()) {
            lines.push_back(std::make_unique<MenuLine>(item, [this] { build(); }));
            gtk_menu_shell_append(shell.get(), lines.back()->widget());
        }
    }

    const ObjectPtr<GtkMenuShell> shell;
    const std::weak_ptr<NSMenu> menu;
    std::vector<std::unique_ptr<MenuLine>> lines;
    KeyValueObservation changed;
};

MenuLine::MenuLine(const std::shared_ptr<NSMenuItem>& item, std::function<void()> rebuild)
{
    if (item->isSeparatorItem())
        line = ObjectPtr<GtkWidget>::adopt(gtk_separator_menu_item_new());
    else if (item->state() != NSMenuItem::State::off && !item->submenu())
        line = ObjectPtr<GtkWidget>::adopt(gtk_check_menu_item_new_with_label(""));
    else
        line = ObjectPtr<GtkWidget>::adopt(gtk_menu_item_new_with_label(""));
    show(*item);
    const std::weak_ptr<NSMenuItem> weak = item;
    const auto follow = [this, weak](const auto&) {
        if (const auto alive = weak.lock())
            show(*alive);
    };
    for (const char* key : {"title", "keyEquivalent", "enabled", "hidden"})
        observations.push_back(item->observe(key, follow));
    // A line with a mark is another widget.
    observations.push_back(item->observe("state", [rebuild = std::move(rebuild)](const auto&) {
        const auto called = rebuild; // it destroys this handler
        called();
    }));
    observations.push_back(NSApplication::shared().observe("commandKey", follow));
    if (const auto& submenu = item->submenu()) {
        GtkWidget* menu = gtk_menu_new();
        gtk_menu_item_set_submenu(GTK_MENU_ITEM(line.get()), menu);
        below = std::make_unique<MenuLines>(submenu, GTK_MENU_SHELL(menu));
        return;
    }
    activated = SignalConnection::connect<void(GtkMenuItem*)>(line.get(), "activate", [this, weak](auto*) {
        const auto chosen = weak.lock();
        if (showing || !chosen)
            return;
        // The toolkit turns the mark around by itself; whether it changes is the item's business.
        const auto kept = line;
        show(*chosen);
        chosen->performAction();
    });
}

MenuLine::~MenuLine()
{
    activated = {};
    observations.clear();
    gtk_widget_destroy(line.get());
}

void MenuLine::show(const NSMenuItem& item)
{
    gtk_widget_set_visible(line.get(), !item.isHidden());
    if (item.isSeparatorItem())
        return;
    showing = true;
    GtkWidget* label = gtk_bin_get_child(GTK_BIN(line.get()));
    gtk_label_set_text(GTK_LABEL(label), item.title().c_str());
    const guint key = item.keyEquivalent().empty() ? 0 : keyvalOf(lowercased(item.keyEquivalent()));
    gtk_accel_label_set_accel(
        GTK_ACCEL_LABEL(label), key, key ? shownModifiers(item) : static_cast<GdkModifierType>(0));
    gtk_widget_set_sensitive(line.get(), item.isEnabled());
    if (GTK_IS_CHECK_MENU_ITEM(line.get())) {
        auto* check = GTK_CHECK_MENU_ITEM(line.get());
        gtk_check_menu_item_set_active(check, item.state() == NSMenuItem::State::on);
        gtk_check_menu_item_set_inconsistent(check, item.state() == NSMenuItem::State::mixed);
    }
    showing = false;
}

MenuBar::MenuBar(const std::shared_ptr<NSMenu>& menu)
    : bar(ObjectPtr<GtkWidget>::adopt(gtk_menu_bar_new()))
    , lines(std::make_unique<MenuLines>(menu, GTK_MENU_SHELL(bar.get())))
{
    gtk_widget_show(bar.get());
}

DropDownMenu::DropDownMenu(const std::shared_ptr<NSMenu>& menu)
    : dropped(ObjectPtr<GtkWidget>::adopt(gtk_menu_new()))
    , lines(std::make_unique<MenuLines>(menu, GTK_MENU_SHELL(dropped.get())))
{
}

DropDownMenu::~DropDownMenu()
{
    lines.reset();
    gtk_widget_destroy(dropped.get());
}

MenuBar::~MenuBar()
{
    lines.reset();
    gtk_widget_destroy(bar.get());
}

} // namespace LumoKit::detail
