#pragma once

#include "ModalSession.h"

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <vector>

namespace LumoKit::detail {

/// A dialog that asks the user something: as a sheet of a window, which blocks that window alone until it is
/// answered, or modally, which blocks all others and returns with the answer.
///
/// A window shows one sheet at a time; the others wait in their order. A sheet goes where its window goes: it is
/// hidden and shown with it, and ends with `NSModalResponseCancel` when the window is closed or destroyed.
///
/// Lifetime: shown once. The dialog is destroyed with this object, which lives until the answer has been handed on.
/// Thread: the main thread.
class Panel : public std::enable_shared_from_this<Panel> {
public:
    using Ended = std::move_only_function<void(NSModalResponse)>;

    /// Takes the dialog over.
    explicit Panel(GtkWindow* dialog);
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    /// Shows the dialog over `parent`, which is shown first if it is not on screen, and returns at once. `ended`
    /// is called once, when the dialog has been hidden: from within `end`, or from the main queue if the window
    /// went.
    void beginSheet(NSWindow& parent, Ended ended);

    /// Shows the dialog and returns when it has been hidden.
    [[nodiscard]] NSModalResponse runModal();

    /// Ends the panel with an answer.
    void end(NSModalResponse response);

    [[nodiscard]] GtkWindow* dialog() const { return window.get(); }

private:
    friend class SheetQueue;
    void show(GtkWindow* above);
    void hide();

    ObjectPtr<GtkWindow> window;
    std::weak_ptr<NSWindow> parent; // of a sheet
    Ended ended; // of a sheet
    ModalSession* session = nullptr; // of a modal one, while it runs
    std::vector<SignalConnection> connections;
};

/// The sheets of a window.
class SheetQueue {
public:
    ~SheetQueue();

    /// The one that is shown, if it is; null without any.
    [[nodiscard]] const Panel* attached() const { return sheets.empty() ? nullptr : sheets.front().get(); }

    void add(NSWindow& window, std::shared_ptr<Panel> panel);
    /// Takes a panel out and shows the next.
    void remove(NSWindow& window, const Panel& panel);
    /// Hides all and ends them, from the main queue.
    void cancelAll();
    /// The window came on screen, or left it.
    void setVisible(NSWindow& window, bool visible);

private:
    std::vector<std::shared_ptr<Panel>> sheets; // the first is attached
};

} // namespace LumoKit::detail
