#pragma once

#include "KeyDispatch.h"
#include "MenuBar.h"
#include "MouseDispatch.h"
#include "Panel.h"
#include "ResizeEdges.h"
#include "TitleBar.h"
#include "WindowStates.h"

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
    void resize(const CGSize& to);
    void decorate(bool decorated);
    /// Moves the window to the frame's origin; the size is the one that it has.
    void move(const CGRect& frame);
    /// The frame of a window that fills the screen that this one is on.
    [[nodiscard]] CGRect screen() const;
    /// Puts the widget of the content view into the window.
    void showContent(GtkWidget* content);
    /// Makes, changes or takes away what the style asks for.
    void showStyle(NSWindow& window);
    /// Whether something else of the application has taken the window's keyboard, such as a panel over it.
    [[nodiscard]] bool isBlocked() const;

    detail::ObjectPtr<GtkWindow> window;
    detail::ObjectPtr<GtkWindowGroup> group;
    detail::SheetQueue sheets;
    detail::ObjectPtr<GtkCssProvider> background;
    GtkOverlay* overlay = nullptr; // the box, and a title bar on it; the window keeps both
    GtkBox* box = nullptr; // menu bar and content
    StyleMask style; // without `fullScreen`
    TitleVisibility titleVisibility = TitleVisibility::visible;
    bool titlebarAppearsTransparent = false;
    bool movableByBackground = false;
    std::shared_ptr<detail::TitleBar> titleBar; // where the window makes its own
    std::optional<detail::ResizeEdges> edges; // with it
    std::optional<detail::WindowStates> states;
    std::optional<detail::MouseDispatch> mouse;
    std::optional<detail::MenuBar> menuBar;
    bool showsMenuBar = false;
    int number = 0;
    std::shared_ptr<NSView> contentView;
    std::weak_ptr<NSWindowDelegate> delegate;
    NSWindowController* controller = nullptr; // as long as it keeps the window
    // As last asked for:
    CGPoint origin;
    CGSize size;
    // Until these times, even if the desktop has not come to it yet:
    gint64 originCounts = 0;
    gint64 sizeCounts = 0;
    bool key = false;
    bool closing = false;
    std::optional<detail::KeyDispatch> keys;
    std::vector<detail::SignalConnection> connections; // last, so that no handler runs while the rest goes
};

} // namespace LumoKit
