#pragma once

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit::FileWatcher {

/// What a look at a watched file gave.
struct RefreshResult {
    /// Whether the file has changed since the last look.
    bool updated = false;
    /// All of its contents after a change; nothing where it could not be read.
    std::optional<Data> contents;
};

/// Watches one file of this machine for changes.
///
/// The kernel tells of changes in the folders that lead to the file, so that nothing runs while nothing
/// changes. It is seen when the file is written in place, replaced by another that is renamed to it, deleted
/// and made again; when a link on the way to it, or its folder, is exchanged, moved away or comes into being.
/// What is told is what the file holds after the change: several changes in a row may be told as one, but the
/// last one always is, and none is told twice.
///
/// Thread: made, started and released on the main thread, while its main loop runs; results arrive on the
/// given queue, in their order.
/// Lifetime: no result arrives after the watcher was released on that queue's thread.
class Local {
public:
    /// `refreshInterval` is how long a file must rest while it is being written before it is read; a file
    /// that is closed, or replaced, is read at once.
    /// Units: seconds.
    Local(std::string path, double refreshInterval, std::shared_ptr<DispatchQueue> queue);
    ~Local();
    Local(const Local&) = delete;
    Local& operator=(const Local&) = delete;

    /// Starts to watch. What the file holds now, which is read for that, is no change. The file, and the
    /// folders that lead to it, need not exist.
    /// Errors: the kernel has no more watches to give, or the watcher was started already.
    [[nodiscard]] std::expected<void, Error> start(std::function<void(const RefreshResult&)> callback);

private:
    struct State;
    const std::shared_ptr<State> state;
};

} // namespace LumoKit::FileWatcher
