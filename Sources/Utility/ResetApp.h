#pragma once

#include <functional>

namespace LumoKit {

/// Removes what web views and the loading of URLs have stored: responses in the shared cache, cookies in the shared
/// storage, and all data of the pages of the default store. Cookie jars keep what is in their own storage.
///
/// `completion` is called once, on the main thread, when all of it is gone. Nothing is left out for failing; failures
/// are not told.
/// Thread: the main thread.
void resetWebStuff(std::function<void()> completion);

/// Removes all settings of the application, and then what `resetWebStuff` does.
/// Errors: stops the process where the application has no bundle identifier.
/// Thread: the main thread.
void resetApp(std::function<void()> completion);

/// Asks the application to end, as its menu does: its delegate may object.
/// Thread: the main thread.
void quitApp();

/// Asks the application to end, and has it started again, from its bundle, when it has. A path with a double quote in
/// it does not work.
/// Thread: the main thread.
void relaunchApp();

} // namespace LumoKit
