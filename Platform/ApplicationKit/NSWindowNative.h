#pragma once

#include "KeyDispatch.h"
#include "MenuBar.h"
#include "Panel.h"

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <optional>
#include <vector>

namespace LumoKit {

/// The platform's side of a window.
struct NSWindow::Native {
    ~Native();

    /// Shows the application's main menu, or none, as the window is to.
    void showMenuBar();
    /// Whether something else of the application has taken the window's keyboard, such as a panel over it.
    [[nodiscard]] bool isBlocked() const;

    detail::ObjectPtr<GtkWindow> window;
    detail::ObjectPtr<GtkWindowGroup> group;
    detail::SheetQueue sheets;
    detail::ObjectPtr<GtkCssProvider> background;
    GtkBox* box = nullptr; // menu bar and content; the window keeps it
    std::optional<detail::MenuBar> menuBar;
    bool showsMenuBar = false;
    int number = 0;
    std::shared_ptr<NSView> contentView;
    std::weak_ptr<NSWindowDelegate> delegate;
    NSWindowController* controller = nullptr; // as long as it keeps the window
    CGPoint origin; // as last asked for
    bool key = false;
    bool closing = false;
    std::optional<detail::KeyDispatch> keys;
    std::vector<detail::SignalConnection> connections; // last, so that no handler runs while the rest goes
};

} // namespace LumoKit
