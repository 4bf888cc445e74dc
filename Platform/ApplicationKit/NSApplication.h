#pragma once

#include <LumoKit/Platform/ApplicationKit/NSModalResponse.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <vector>

namespace LumoKit {

class NSAppearance;
class NSMenu;
class NSWindow;
struct NSEvent;

/// The version of the application framework whose interfaces this layer keeps.
inline constexpr double NSAppKitVersionNumber = 2022;

/// What an application may be asked and is told. Every operation has the platform's default.
class NSApplicationDelegate {
public:
    virtual ~NSApplicationDelegate() = default;

    /// The main loop is about to start.
    virtual void applicationDidFinishLaunching() { }
    /// The application was started once more, without anything to open. True brings the window that was used last
    /// to the front; false leaves everything to the delegate.
    virtual bool applicationShouldHandleReopen([[maybe_unused]] bool hasVisibleWindows) { return true; }
    /// The last window was closed; true ends the application.
    virtual bool applicationShouldTerminateAfterLastWindowClosed() { return false; }
    /// The application is asked to end; false lets it go on.
    virtual bool applicationShouldTerminate() { return true; }
    /// The application is about to end.
    virtual void applicationWillTerminate() { }
};

/// The running application: its main loop and its windows. There is one in a process, and one process in a session.
///
/// A program in a bundle is known by its identifier on the session bus. A second start of it hands over what it was
/// started for, and ends: links to open, or nothing but to come to the front. A link arrives as the event of class
/// and ID "GURL", see `NSAppleEventManager`, whether it was on the command line of the first start, of a later one,
/// or sent over the bus (`org.freedesktop.Application.Open`). On a command line the texts that begin with one of
/// the bundle's `urlSchemes()` are links; the other arguments are the host's. A program outside of a bundle, and
/// every program where there is no session bus, runs alone.
///
/// Thread: the main thread. Posts `didChangeEffectiveAppearanceNotification` to the default notification centre,
/// with itself as the object.
/// Observable: "effectiveAppearance", as the name of the appearance; "commandKey", "mainMenu".
class NSApplication : public NSObject {
public:
    /// The application's effective appearance has become another, and its windows and pages have been told.
    static constexpr const char* didChangeEffectiveAppearanceNotification =
        "NSApplicationDidChangeEffectiveAppearanceNotification";

    /// The application; the first call connects to the desktop. A host makes it before anything that it would not
    /// want twice: in the second start of a program it ends the process, with status 0, once the first has taken
    /// over.
    /// Errors: stops the process when there is no display.
    [[nodiscard]] static NSApplication& shared();

    /// Runs the main loop until `terminate`. SIGTERM and SIGINT ask the application to end, as `terminate`
    /// does.
    void run();

    /// Ends `run`, unless the delegate objects. The rest of the current turn still runs. Modal dialogs that are
    /// waited for end, too, without an answer.
    void terminate();

    /// Shows a window and runs the main loop until `stopModal`. Meanwhile the user's input reaches that window alone,
    /// and what is above it: its sheets, alerts. Sessions nest. One whose window is closed or hidden is aborted, and so
    /// are all when the application ends.
    NSModalResponse runModal(const std::shared_ptr<NSWindow>& forWindow);

    /// Ends the innermost modal session, be it a window's or a panel's, with a response; nothing without one.
    void stopModal(NSModalResponse withCode = NSModalResponseStop);
    void abortModal();

    /// The window that has the keyboard, itself or by its sheet; null if it is none of this application's. Once a
    /// panel has been answered, the window that it was above counts, though the keyboard comes back a moment later.
    [[nodiscard]] std::shared_ptr<NSWindow> keyWindow() const;

    /// The windows that exist, in the order in which they were made.
    [[nodiscard]] std::vector<std::shared_ptr<NSWindow>> windows() const;

    /// The window of that number; null if there is none.
    [[nodiscard]] std::shared_ptr<NSWindow> window(int withWindowNumber) const;

    /// Sends an event on its way: to its window, or if it is for none, to the one that has the keyboard; while no
    /// window of the application has it, to the one that was used last. A window that waits for an alert or a
    /// panel of its own gets none. Without a window, the main menu is asked alone.
    void sendEvent(const NSEvent& event);

    /// The menu that windows show as their menu bar, and that performs the keys which views leave to it; null at
    /// first.
    [[nodiscard]] const std::shared_ptr<NSMenu>& mainMenu() const;
    void setMainMenu(std::shared_ptr<NSMenu> menu);

    /// Which key of a keyboard is the Command key.
    enum class CommandKey {
        /// Control. Pages see `ctrlKey`, and the Super key is the Control key.
        control,
        /// Super, or the Windows key. Pages see `metaKey`.
        super
    };
    [[nodiscard]] CommandKey commandKey() const;
    /// `control` at first. Pages that are open learn of another key when they are loaded again: until then,
    /// Command with a letter types that letter, too.
    void setCommandKey(CommandKey key);

    /// The appearance that the application was given; null while it follows the desktop.
    [[nodiscard]] std::shared_ptr<NSAppearance> appearance() const;

    /// Gives the application's windows and pages an appearance; null makes them follow the desktop. One of the
    /// host's own draws them light. Where the user has set GTK_THEME, windows keep the look that it names, and a
    /// dark one holds for pages too.
    void setAppearance(std::shared_ptr<NSAppearance> appearance);

    /// The appearance that the application was given, or that of the desktop: what the user prefers, and where
    /// that is not known, what the toolkit's settings ask for. The desktop is asked at every call, in less than
    /// a millisecond; one that does not answer holds the call for a tenth of a second, once.
    [[nodiscard]] std::shared_ptr<NSAppearance> effectiveAppearance() const;

    /// Not kept.
    void setDelegate(const std::weak_ptr<NSApplicationDelegate>& delegate);

    [[nodiscard]] Value value(std::string_view forKey) const override;

    struct Native;
    /// The platform's side of the application, for the platform layer itself.
    [[nodiscard]] Native& nativeApplication() const { return *native; }

private:
    NSApplication();
    ~NSApplication() override;
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
