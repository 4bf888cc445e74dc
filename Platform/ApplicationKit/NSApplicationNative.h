#pragma once

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Source.h>

#include <glib.h>

namespace LumoKit {

/// The platform's side of the application.
struct NSApplication::Native {
    /// Windows tell the application of themselves.
    void add(const std::shared_ptr<NSWindow>& window);
    void keep(const std::shared_ptr<NSWindow>& window);
    /// Whether it was kept.
    bool letGo(const NSWindow& window);
    void closed(const NSWindow& window);

    std::weak_ptr<NSApplicationDelegate> delegate;
    std::vector<std::weak_ptr<NSWindow>> windows; // all, in the order in which they were made
    std::vector<std::shared_ptr<NSWindow>> onScreen; // kept while they are
    GMainLoop* loop = nullptr; // while running
    bool terminating = false;
};

} // namespace LumoKit
