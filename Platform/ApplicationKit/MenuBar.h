#pragma once

#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gtk/gtk.h>

#include <memory>

namespace LumoKit::detail {

class MenuLines;

/// The toolkit's menu bar that shows a menu, and follows it.
/// Thread: the main thread.
class MenuBar {
public:
    explicit MenuBar(const std::shared_ptr<NSMenu>& menu);
    ~MenuBar();

    [[nodiscard]] GtkWidget* widget() const { return bar.get(); }

private:
    const ObjectPtr<GtkWidget> bar;
    std::unique_ptr<MenuLines> lines;
};

/// A menu that drops down from a button, and follows what it shows.
/// Thread: the main thread.
class DropDownMenu {
public:
    explicit DropDownMenu(const std::shared_ptr<NSMenu>& menu);
    ~DropDownMenu();

    [[nodiscard]] GtkWidget* widget() const { return dropped.get(); }

private:
    const ObjectPtr<GtkWidget> dropped;
    std::unique_ptr<MenuLines> lines;
};

} // namespace LumoKit::detail
