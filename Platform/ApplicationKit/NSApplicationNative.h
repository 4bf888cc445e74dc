#pragma once

#include "SettingsPortal.h"
#include "SingleInstance.h"
#include "ToolkitTheme.h"

#include <LumoKit/Platform/ApplicationKit/NSAppearance.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Source.h>

#include <gtk/gtk.h>

#include <optional>

namespace LumoKit {

/// The platform's side of the application.
struct NSApplication::Native {
    /// Windows tell the application of themselves.
    void add(const std::shared_ptr<NSWindow>& window);
    void keep(const std::shared_ptr<NSWindow>& window);
    /// Whether it was kept.
    bool letGo(const NSWindow& window);
    void closed(const NSWindow& window);
    void becameKey(const NSWindow& window);
    /// A panel above this window has gone, and with it the keyboard comes back.
    void expectKey(GtkWindow* window);

    /// Whether the main loop has been told to end: nothing that waits for the user may begin.
    [[nodiscard]] bool isEnding() const;

    /// Ends the process where another instance has taken over what it was started for.
    void becomeTheOne(const std::string& identifier, const detail::StartRequest& request);
    /// Takes what this or a further start was made for.
    detail::SingleInstance::Answer take(const detail::StartRequest& request);
    void reopen();

    /// Where the desktop's appearance comes from.
    struct Desktop {
        explicit Desktop(NSApplication& application);
        [[nodiscard]] std::shared_ptr<NSAppearance> appearance(detail::ColorScheme scheme) const;

        detail::ToolkitTheme theme;
        detail::SettingsPortal portal;
    };

    /// Makes windows and pages follow, and tells of a change where there is one.
    void show(NSApplication& application, const NSAppearance& effective);

    std::optional<Desktop> desktop; // once there is a display
    std::shared_ptr<NSAppearance> appearance; // null: the desktop's
    unsigned shows = 0; // how often `show` was called
    std::string shown; // the name of the appearance that windows and pages have
    std::weak_ptr<NSApplicationDelegate> delegate;
    std::vector<std::weak_ptr<NSWindow>> windows; // all, in the order in which they were made
    std::vector<std::shared_ptr<NSWindow>>
        onScreen; // kept while they are; the one that was used last at the end
    std::weak_ptr<NSWindow> expectedKey; // until a window becomes key
    std::optional<detail::SingleInstance> instance; // in a bundle
    std::shared_ptr<NSMenu> mainMenu;
    CommandKey commandKey = CommandKey::control;
    int lastWindowNumber = 0;
    bool reopening = false; // soon
    GMainLoop* loop = nullptr; // while running
    bool terminating = false;
};

} // namespace LumoKit
