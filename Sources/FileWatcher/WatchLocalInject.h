#pragma once

#include <LumoKit/FileWatcher/FileWatcherManager.h>

#include <functional>
#include <string>

namespace LumoKit {

/// Lets the user choose a file of this machine, in a sheet on the key window, and calls `onChange` with its text
/// after every change from then on: a developer tries a script that is run in the page without publishing it.
/// What the file holds when it is chosen is no change.
///
/// A line says so when there is no key window, or when nothing was chosen; then nothing else happens.
/// Lifetime: the watch ends when the manager of `deps` is released. `deps` is held until the panel is answered.
/// Thread: the main thread.
void presentFilePickerAndWatch(
    std::shared_ptr<const HasFileWatcherManager> deps, std::function<void(const std::string&)> onChange);

} // namespace LumoKit
