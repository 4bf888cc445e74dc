#pragma once

#include <LumoKit/Platform/ApplicationKit/NSModalResponse.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <optional>

namespace LumoKit::detail {

/// One window of the application, and the windows above it, to which all input goes until it is stopped. Sessions
/// nest; the innermost one has the input.
///
/// GTK's own modal windows block the windows of their group only, and each of the kit's windows is a group, so
/// that the sheet of one does not block the others. A session therefore looks at the events before GTK does.
///
/// Lifetime: sessions end in the reverse of the order in which they began.
/// Thread: the main thread.
class ModalSession {
public:
    explicit ModalSession(GtkWindow* window);
    ~ModalSession();
    ModalSession(const ModalSession&) = delete;
    ModalSession& operator=(const ModalSession&) = delete;

    /// Runs the main loop until the session is stopped, and those within it have ended.
    [[nodiscard]] NSModalResponse run();

    /// Ends the session; what it was first stopped with counts. A window that is hidden aborts its session.
    void stop(NSModalResponse response);

    /// The innermost session; null if there is none.
    [[nodiscard]] static ModalSession* current();
    static void abortAll();

private:
    [[nodiscard]] bool allows(GtkWidget* target) const;
    static bool letsThrough(GdkEvent* event);

    ObjectPtr<GtkWindow> window;
    SignalConnection hidden;
    GMainLoop* loop = nullptr; // while running
    std::optional<NSModalResponse> ended;
};

} // namespace LumoKit::detail
