#pragma once

#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <array>
#include <memory>
#include <vector>

namespace LumoKit {

class NSMenu;

namespace detail {

class DropDownMenu;

/// The title bar that a window makes itself, on its content: a view in which the three buttons are, in a view that lies
/// at the top of the window. Presses that miss the buttons are for what is behind it.
///
/// The buttons stand at the left, close first; at first in the middle of a bar of 22 points. Whoever gives the bar
/// another frame places them.
class TitleBar : public NSView {
public:
    /// Adds a title bar to what lies over the window's content.
    [[nodiscard]] static std::shared_ptr<TitleBar> create(NSWindow& window, GtkOverlay* overlay);
    /// Made by `create`.
    TitleBar(NSWindow& window, GtkOverlay* overlay);
    ~TitleBar() override;

    /// In the window's coordinates.
    void setFrame(const CGRect& frame) override;

    /// Looks as the window's properties want it.
    void show();
    /// A button for a menu at the right end; null takes it away.
    void showMenu(const std::shared_ptr<NSMenu>& menu);
    /// Drops that menu down; false where there is none.
    [[nodiscard]] bool openMenu() const;

    [[nodiscard]] const std::shared_ptr<NSButton>& button(NSWindow::ButtonType type) const
    {
        return buttons[static_cast<std::size_t>(type)];
    }

private:
    void fill();
    [[nodiscard]] gboolean place(GdkRectangle& at);
    void paint(GtkWidget* onto, cairo_t* with) const;
    void keepOnTop() const;

    NSWindow& window;
    GtkOverlay* const overlay;
    const std::shared_ptr<NSView> bar;
    std::array<std::shared_ptr<NSButton>, 3> buttons; // in the order of NSWindow::ButtonType
    std::shared_ptr<NSView> menuButton;
    std::unique_ptr<DropDownMenu> menu;
    double fromTop = 0; // of the window
    double fromRight = 0;
    SignalConnection redrawnForMenu;
    std::vector<SignalConnection> connections;
};

} // namespace detail
} // namespace LumoKit
