#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <string_view>

namespace LumoKit {

/// The desktop and its other applications.
///
/// Thread: the main thread.
class NSWorkspace {
public:
    [[nodiscard]] static NSWorkspace& shared();

    /// Starts an application, or brings it to the front if it runs already: a second start of a program in a bundle hands
    /// over to the first, see `NSApplication`.
    /// Errors: false where the desktop lists no application of that identifier, or cannot start it.
    bool launchApp(std::string_view withBundleIdentifier);

    /// Opens a link with the application that the desktop has for its scheme.
    /// Errors: false where there is none, or it cannot be started.
    bool open(const URL& url);

private:
    NSWorkspace() = default;
};

} // namespace LumoKit
