#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>
#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <string>

namespace LumoKit {

class NSView;
class NSWindow;
class NSWindowController;
struct NSEvent;

/// What a window may be asked and is told. Every operation has the platform's default.
class NSWindowDelegate {
public:
    virtual ~NSWindowDelegate() = default;

    /// The user asks to close the window; false keeps it open.
    virtual bool windowShouldClose(NSWindow&) { return true; }
    /// The window is about to close.
    virtual void windowWillClose(NSWindow&) { }
    virtual void windowDidBecomeKey(NSWindow&) { }
    virtual void windowDidResignKey(NSWindow&) { }
    virtual void windowDidResize(NSWindow&) { }
};

/// A window of the desktop.
///
/// Ownership: the application keeps a window while it is on screen; closing lets go of it.
/// Thread: the main thread. Posts `willCloseNotification`, `didBecomeKeyNotification`,
/// `didResignKeyNotification` and `didResizeNotification` to the default notification centre, with itself as
/// the object.
/// Observable: "title".
class NSWindow : public NSObject {
public:
    static constexpr const char* willCloseNotification = "NSWindowWillCloseNotification";
    static constexpr const char* didBecomeKeyNotification = "NSWindowDidBecomeKeyNotification";
    static constexpr const char* didResignKeyNotification = "NSWindowDidResignKeyNotification";
    static constexpr const char* didResizeNotification = "NSWindowDidResizeNotification";

    struct StyleMask {
        /// With a title bar and a frame from the desktop.
        bool titled = true;
        bool closable = true;
        bool resizable = true;
    };

    /// A window that is not on screen yet; the content is `contentRect.size` large.
    [[nodiscard]] static std::shared_ptr<NSWindow> create(const CGRect& contentRect, StyleMask style);
    [[nodiscard]] static std::shared_ptr<NSWindow> create(const CGRect& contentRect)
    {
        return create(contentRect, StyleMask());
    }
    ~NSWindow() override;

    [[nodiscard]] std::string title() const;
    void setTitle(const std::string& title);

    /// The number by which events name the window; never 0.
    [[nodiscard]] int windowNumber() const;

    /// The view that fills the window, below its menu bar; an empty one at first.
    [[nodiscard]] const std::shared_ptr<NSView>& contentView() const;
    /// An empty view takes the place of none.
    void setContentView(std::shared_ptr<NSView> view);

    /// Origin and size of the content, with the menu bar. Where the desktop does not tell positions (Wayland), the origin is
    /// that of the last `setFrame`.
    [[nodiscard]] CGRect frame() const;
    /// Moves and resizes; where the desktop does not let windows move themselves, only resizes.
    void setFrame(const CGRect& frame);
    void setMinSize(const CGSize& size);
    /// Moves the window to the middle of its screen, where the desktop lets it.
    void center();

    /// Whether the window shows the application's main menu, where there is one; true at first for a titled window.
    [[nodiscard]] bool showsMenuBar() const;
    void setShowsMenuBar(bool shows);

    /// Offers a key to the views of the window, then to what has the keyboard, then to the main menu. A page that
    /// has the keyboard is one of the views; it answers later, and what it does not handle goes on to the menu.
    void sendEvent(const NSEvent& event);
    /// Asks the views, and with them a page that has the keyboard; true if one of them took the event.
    bool performKeyEquivalent(const NSEvent& with);
    /// The view that has the window's keyboard, or holds the control that has it; null if there is none.
    [[nodiscard]] std::shared_ptr<NSView> firstResponder() const;
    /// Gives a view the window's keyboard; null takes it from all. False for a view that is not in this window or
    /// takes no keys.
    bool makeFirstResponder(const std::shared_ptr<NSView>& view);

    /// The colour behind the content. Where the desktop composes its windows, one that is not opaque shows what is
    /// behind the window.
    void setBackgroundColor(const NSColor& color);

    /// Shows the window in front of the others and gives it the keyboard.
    void makeKeyAndOrderFront();
    /// Takes the window off the screen without closing it.
    void orderOut();
    [[nodiscard]] bool isVisible() const;
    [[nodiscard]] bool isKeyWindow() const;

    /// Closes the window as its close button does: the delegate is asked.
    void performClose();
    /// Closes the window without asking.
    void close();

    /// Not kept.
    void setDelegate(const std::weak_ptr<NSWindowDelegate>& delegate);

    /// Who is in charge of the window; null for nobody. See `NSWindowController::setWindow`.
    [[nodiscard]] std::shared_ptr<NSWindowController> windowController() const;

    [[nodiscard]] Value value(std::string_view forKey) const override;

    struct Native;
    /// The platform's side of the window, for the platform layer itself.
    [[nodiscard]] Native& nativeWindow() const { return *native; }

private:
    NSWindow();
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
