#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <vector>

namespace LumoKit {

class NSAppearance;
class NSWindow;

/// What an application may be asked and is told. Every operation has the platform's default.
class NSApplicationDelegate {
public:
    virtual ~NSApplicationDelegate() = default;

    /// The main loop is about to start.
    virtual void applicationDidFinishLaunching() { }
    /// The last window was closed; true ends the application.
    virtual bool applicationShouldTerminateAfterLastWindowClosed() { return false; }
    /// The application is asked to end; false lets it go on.
    virtual bool applicationShouldTerminate() { return true; }
    /// The application is about to end.
    virtual void applicationWillTerminate() { }
};

/// The running application: its main loop and its windows. There is one in a process.
///
/// Thread: the main thread. Posts `didChangeEffectiveAppearanceNotification` to the default notification centre,
/// with itself as the object.
/// Observable: "effectiveAppearance", as the name of the appearance.
class NSApplication : public NSObject {
public:
    /// The application's effective appearance has become another, and its windows and pages have been told.
    static constexpr const char* didChangeEffectiveAppearanceNotification =
        "NSApplicationDidChangeEffectiveAppearanceNotification";

    /// The application; the first call connects to the desktop.
    /// Errors: stops the process when there is no display.
    [[nodiscard]] static NSApplication& shared();

    /// Runs the main loop until `terminate`. SIGTERM and SIGINT ask the application to end, as `terminate`
    /// does.
    void run();

    /// Ends `run`, unless the delegate objects. The rest of the current turn still runs.
    void terminate();

    /// The window that has the keyboard; null if it is none of this application's.
    [[nodiscard]] std::shared_ptr<NSWindow> keyWindow() const;

    /// The windows that exist, in the order in which they were made.
    [[nodiscard]] std::vector<std::shared_ptr<NSWindow>> windows() const;

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
