#pragma once

#include <LumoKit/Platform/FileWatchers/FileWatcher.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Utility/ServiceInterface.h>

#include <any>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace LumoKit {

/// Watches text files and hands their new contents to a callback whenever they change. A file that is watched
/// twice has two watchers, and both callbacks are called.
///
/// Lifetime: a watch ends when the manager is released, and not before.
/// Thread: the main thread.
class FileWatcherManager {
public:
    /// `config` is whatever the host wants to keep here; the manager does not read it.
    explicit FileWatcherManager(std::any config)
        : config(std::move(config))
    {
    }

    /// Calls `onChange` with the text of `file` after each change. Contents that are no UTF-8, and a watch
    /// that cannot be started, are printed and otherwise skipped.
    void watch(const URL& file, std::function<void(const std::string&)> onChange);

    const std::any config;

    /// In the order of the calls of `watch`; never removed.
    [[nodiscard]] const std::vector<std::unique_ptr<FileWatcher::Local>>& watchers() const
    {
        return watchers_;
    }

private:
    std::vector<std::unique_ptr<FileWatcher::Local>> watchers_;
};

/// A host's container of dependencies that has a file watcher manager.
class HasFileWatcherManager : public virtual ServiceInterface {
public:
    [[nodiscard]] virtual std::shared_ptr<FileWatcherManager> fileWatcherManager() const = 0;
};

} // namespace LumoKit
