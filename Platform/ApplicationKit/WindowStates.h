#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Native/SignalConnection.h>
#include <LumoKit/Platform/Native/Source.h>

#include <gtk/gtk.h>

#include <optional>

namespace LumoKit {

class NSWindow;

namespace detail {

/// Whether a window is in full screen, zoomed or put away. A window manager does it and tells of it; where there is none,
/// the window moves and resizes by itself, and stays where it is instead of being put away.
///
/// Lifetime: as long as the window.
class WindowStates {
public:
    explicit WindowStates(NSWindow& window);

    [[nodiscard]] bool isFullScreen() const { return fullScreen; }
    [[nodiscard]] bool isZoomed() const { return zoomed; }
    [[nodiscard]] bool isMiniaturized() const { return miniaturized; }

    void setFullScreen(bool full);
    void setZoomed(bool zoom);
    void setMiniaturized(bool miniature) const;

    /// Whether the window may move itself as it is now.
    [[nodiscard]] bool canBePlaced() const;
    /// The window has a new size, and has told of it.
    void resized();

private:
    void changed(GdkWindowState now);
    void changedFullScreen(bool full);
    /// Fills the screen, or goes back.
    void fill(bool screen);
    [[nodiscard]] bool isManaged() const;
    [[nodiscard]] bool fillsScreen() const;
    void tellOfFullScreen();

    NSWindow& window;
    bool fullScreen = false;
    bool zoomed = false;
    bool miniaturized = false;
    std::optional<CGRect> before; // where the window goes back to by itself
    Source untold; // as long as the window is not told of a change of `fullScreen`
    SignalConnection connection;
};

} // namespace detail
} // namespace LumoKit
