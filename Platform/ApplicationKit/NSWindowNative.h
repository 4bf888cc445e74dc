#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <vector>

namespace LumoKit {

/// The platform's side of a window.
struct NSWindow::Native {
    ~Native();

    detail::ObjectPtr<GtkWindow> window;
    detail::ObjectPtr<GtkCssProvider> background;
    std::shared_ptr<NSView> contentView;
    std::weak_ptr<NSWindowDelegate> delegate;
    CGPoint origin; // as last asked for
    bool key = false;
    bool closing = false;
    std::vector<detail::SignalConnection> connections; // last, so that no handler runs while the rest goes
};

} // namespace LumoKit
