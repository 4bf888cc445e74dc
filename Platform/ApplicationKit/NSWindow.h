#pragma once

#include <LumoKit/Platform/ApplicationKit/NSColor.h>
#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <cstdint>
#include <memory>
#include <string>

namespace LumoKit {

class NSButton;
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
/// Thread: the main thread. Posts the notifications below to the default notification centre, with itself as the object.
/// Observable: "title".
class NSWindow : public NSObject {
public:
    static constexpr const char* willCloseNotification = "NSWindowWillCloseNotification";
    static constexpr const char* didBecomeKeyNotification = "NSWindowDidBecomeKeyNotification";
    static constexpr const char* didResignKeyNotification = "NSWindowDidResignKeyNotification";
    static constexpr const char* didResizeNotification = "NSWindowDidResizeNotification";
    /// Once the window has its new size.
    static constexpr const char* didEnterFullScreenNotification = "NSWindowDidEnterFullScreenNotification";
    static constexpr const char* didExitFullScreenNotification = "NSWindowDidExitFullScreenNotification";

    struct StyleMask {
        /// With a title bar and a frame.
        bool titled = true;
        bool closable = true;
        bool miniaturizable = true;
        bool resizable = true;
        /// As long as it is; see `toggleFullScreen`.
        bool fullScreen = false;
        /// The title bar lies on the content, and is the window's own instead of the desktop's. What the desktop gives a
        /// window beside a title bar, edges to resize it by, the window has by itself then. The main menu is behind a
        /// button at the right end of the title bar, and F10.
        bool fullSizeContentView = false;

        /// The parts as a set of bits.
        [[nodiscard]] constexpr std::uint64_t rawValue() const
        {
            return std::uint64_t(titled) | std::uint64_t(closable) << 1 | std::uint64_t(miniaturizable) << 2
                | std::uint64_t(resizable) << 3 | std::uint64_t(fullScreen) << 14
                | std::uint64_t(fullSizeContentView) << 15;
        }
        bool operator==(const StyleMask&) const = default;
    };
    enum class TitleVisibility { visible, hidden };
    enum class ButtonType { closeButton, miniaturizeButton, zoomButton };

    /// A window that is not on screen yet; the content is `contentRect.size` large.
    [[nodiscard]] static std::shared_ptr<NSWindow> create(const CGRect& contentRect, StyleMask style);
    [[nodiscard]] static std::shared_ptr<NSWindow> create(const CGRect& contentRect)
    {
        return create(contentRect, StyleMask());
    }
    ~NSWindow() override;

    [[nodiscard]] std::string title() const;
    void setTitle(const std::string& title);
    /// Whether a title bar of the window's own says the title; the desktop's lists of windows always do.
    [[nodiscard]] TitleVisibility titleVisibility() const;
    void setTitleVisibility(TitleVisibility visibility);

    [[nodiscard]] StyleMask styleMask() const;
    /// `fullScreen` stays as it is.
    void setStyleMask(StyleMask style);
    /// Whether a title bar of the window's own has no background.
    [[nodiscard]] bool titlebarAppearsTransparent() const;
    void setTitlebarAppearsTransparent(bool transparent);
    /// A button of a title bar of the window's own; null where the desktop makes the title bar, or nobody does. Its
    /// superview lies in the bar, whose frame counts from the bottom left of the window's and stays at the top.
    [[nodiscard]] std::shared_ptr<NSButton> standardWindowButton(ButtonType button) const;

    /// The number by which events name the window; never 0.
    [[nodiscard]] int windowNumber() const;

    /// The view that fills the window, below its menu bar; an empty one at first.
    [[nodiscard]] const std::shared_ptr<NSView>& contentView() const;
    /// An empty view takes the place of none.
    void setContentView(std::shared_ptr<NSView> view);

    /// Origin and size of the content, with the menu bar. Where the desktop does not tell positions (Wayland), the origin is
    /// that of the last `setFrame`.
    [[nodiscard]] CGRect frame() const;
    /// Moves and resizes; where the desktop does not let windows move themselves, only resizes. A window in full screen
    /// stays as it is.
    void setFrame(const CGRect& frame, bool display = false);
    void setFrameOrigin(const CGPoint& origin);
    void setMinSize(const CGSize& size);
    /// Moves the window to the middle of its screen, where the desktop lets it.
    void center();

    /// Whether the mouse moves the window by whatever takes no presses itself; false at first.
    [[nodiscard]] bool isMovableByWindowBackground() const;
    void setMovableByWindowBackground(bool movable);
    /// Whether the desktop lets `setFrame` move the window as it is now: on X11, unless a window manager keeps it in
    /// place because it is maximised.
    [[nodiscard]] bool movesItself() const;
    /// Has the desktop move the window with the mouse until the button goes up. To be called while the button is down,
    /// with the event that is being handled. Does nothing without a desktop that can.
    void performDrag(const NSEvent& with);

    /// Whether the window fills its screen, without anything of the desktop's beside it.
    [[nodiscard]] bool isFullScreen() const { return styleMask().fullScreen; }
    void toggleFullScreen();
    [[nodiscard]] bool isZoomed() const;
    /// Makes the window as large as the desktop lets it, or as it was before; one in full screen leaves that.
    void zoom();
    [[nodiscard]] bool isMiniaturized() const;
    /// Puts the window away, where there is somebody to bring it back.
    void miniaturize();
    void deminiaturize();

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
