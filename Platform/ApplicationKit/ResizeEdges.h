#pragma once

#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <array>
#include <vector>

namespace LumoKit {

class NSWindow;

namespace detail {

/// The edges by which the mouse resizes a window that has no frame from the desktop: a few points of its content that
/// nobody sees. There are none while the window cannot be resized.
///
/// Lifetime: as long as the window.
class ResizeEdges {
public:
    explicit ResizeEdges(NSWindow& window);
    ResizeEdges(const ResizeEdges&) = delete;
    ResizeEdges& operator=(const ResizeEdges&) = delete;
    ~ResizeEdges();

    [[nodiscard]] bool has(const GdkWindow* surface) const;

private:
    void make();
    void forget();
    void lay() const;
    [[nodiscard]] bool areUseful() const;
    gboolean pressed(const GdkEventButton& event) const;

    NSWindow& window;
    std::array<GdkWindow*, 8>
        surfaces{}; // in the order of GdkWindowEdge; null while the window is not realized
    std::vector<SignalConnection> connections;
};

} // namespace detail
} // namespace LumoKit
