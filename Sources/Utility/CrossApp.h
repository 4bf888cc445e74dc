#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <string>
#include <string_view>

namespace LumoKit {

/// The other applications of the suite: starts them, and sends them commands.
///
/// Thread: the main thread.
class CrossApp {
public:
    CrossApp() = delete;

    enum class App { gmail, calendar, inbox, dashboard };

    [[nodiscard]] static std::string bundleID(App app);
    /// The scheme of the links that the application opens.
    /// Errors: stops the process for the dashboard, which takes no commands.
    [[nodiscard]] static std::string urlScheme(App app);
    /// What people call the application.
    [[nodiscard]] static std::string name(App app);

    /// Starts the application, or brings it to the front if it runs already.
    /// Errors: false if it is not installed or cannot be started. Nobody is told.
    static bool open(App app);

    /// Opens the link `scheme://command?key=value&…` with the application, starting it if it does not run. `command` is
    /// written as it stands; every key and value is encoded, so that it arrives whole, whatever is in it. A value that
    /// is no text is sent as its description: a number in decimal form, a boolean as its word.
    ///
    /// Errors: false if the application is not installed or cannot be started; with `showAlertOnFailure` a modal alert
    /// tells the user, after this has returned. Stops the process for the dashboard, and where the command or a key
    /// makes something that is no URL.
    static bool launch(
        App app, std::string_view command, const Value::Dictionary& arguments, bool showAlertOnFailure);
};

} // namespace LumoKit
