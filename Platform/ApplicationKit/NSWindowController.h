#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>

namespace LumoKit {

class NSViewController;
class NSWindow;

/// Whoever is in charge of a window.
///
/// Ownership: the controller keeps its window; the window knows its controller without keeping it. A window that is on
/// screen stays there when its controller goes.
/// Thread: the main thread.
class NSWindowController : public NSObject {
public:
    /// Without a window.
    NSWindowController();
    explicit NSWindowController(std::shared_ptr<NSWindow> window);
    ~NSWindowController() override;

    /// Null at first.
    [[nodiscard]] const std::shared_ptr<NSWindow>& window() const { return controlled; }
    /// Takes charge of a window, in place of its controller, or of none.
    void setWindow(std::shared_ptr<NSWindow> window);

    /// Whose view is the window's content; null at first.
    [[nodiscard]] const std::shared_ptr<NSViewController>& contentViewController() const { return content; }
    /// Nothing is shown without a window; one that comes later shows it.
    void setContentViewController(std::shared_ptr<NSViewController> controller);

    /// Shows the window in front of the others; nothing without one.
    void showWindow();
    /// Closes the window without asking; nothing without one.
    void close();

    /// The window that an interface file describes is there, with what is in it.
    virtual void windowDidLoad() { }

private:
    void showContent();
    std::shared_ptr<NSWindow> controlled;
    std::shared_ptr<NSViewController> content;
};

} // namespace LumoKit
