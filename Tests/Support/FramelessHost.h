#pragma once

#include "Support/Waiting.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Utility/FramelessWindowBehaviour.h>
#include <LumoKit/Utility/WindowDraggingView.h>

#include <memory>
#include <vector>

namespace LumoKit::Test {

/// What keeps a behaviour.
class Owner : public NSObject { };

/// A window and what makes it frameless.
struct FramelessHost {
    explicit FramelessHost(const CGRect& rect = {{100, 100}, {400, 300}})
    {
        static_cast<void>(NSApplication::shared());
        window = NSWindow::create(rect);
    }
    ~FramelessHost()
    {
        if (window)
            window->close();
    }
    FramelessHost(const FramelessHost&) = delete;
    FramelessHost& operator=(const FramelessHost&) = delete;

    void makeFrameless(double height = 40) const
    {
        behaviour->titlebarHeight = height;
        behaviour->setOwner(owner);
        behaviour->setWindow(window);
    }
    [[nodiscard]] bool show() const
    {
        window->makeKeyAndOrderFront();
        GtkWidget* widget = GTK_WIDGET(gtkWindow(*window));
        return waitUntil([&] {
            return window->isKeyWindow()
                || (!hasKeyboard() && gtk_widget_get_mapped(widget)
                    && gtk_widget_get_allocated_width(widget) > 1);
        });
    }
    /// Whether the screen has a keyboard, which a window can get.
    [[nodiscard]] static bool hasKeyboard()
    {
        return gdk_display_get_default_seat(gdk_display_get_default()) != nullptr;
    }
    [[nodiscard]] std::shared_ptr<NSButton> button(NSWindow::ButtonType type) const
    {
        return window->standardWindowButton(type);
    }
    /// The bar in which the buttons are.
    [[nodiscard]] std::shared_ptr<NSView> container() const
    {
        return button(NSWindow::ButtonType::closeButton)->superview()->superview();
    }
    /// The origins of close, minimise and zoom.
    [[nodiscard]] std::vector<CGPoint> places() const
    {
        using Button = NSWindow::ButtonType;
        std::vector<CGPoint> all;
        for (const auto type : {Button::closeButton, Button::miniaturizeButton, Button::zoomButton})
            if (const auto made = button(type))
                all.push_back(made->frame().origin);
        return all;
    }
    /// Where a button is on screen, from the window's top left.
    [[nodiscard]] CGRect drawn(NSWindow::ButtonType type) const
    {
        GtkWidget* widget = gtkWidget(*button(type));
        int x = 0;
        int y = 0;
        gtk_widget_translate_coordinates(widget, GTK_WIDGET(gtkWindow(*window)), 0, 0, &x, &y);
        return {{double(x), double(y)},
            {double(gtk_widget_get_allocated_width(widget)),
                double(gtk_widget_get_allocated_height(widget))}};
    }
    /// Null without one.
    [[nodiscard]] std::shared_ptr<WindowDraggingView> strip() const
    {
        for (const auto& view : window->contentView()->subviews())
            if (auto found = std::dynamic_pointer_cast<WindowDraggingView>(view))
                return found;
        return nullptr;
    }

    std::shared_ptr<NSWindow> window;
    std::shared_ptr<Owner> owner = std::make_shared<Owner>();
    std::shared_ptr<LMFramelessWindowBehaviour> behaviour = std::make_shared<LMFramelessWindowBehaviour>();
};

} // namespace LumoKit::Test
