#pragma once

#include <LumoKit/Platform/Foundation/Operation.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace LumoKit {

/// The inner side of an operation.
struct Operation::State {
    /// Another operation that this one waits for. It is in the list once, and counted as finished once, whoever notices.
    struct Dependency {
        std::shared_ptr<Operation> operation;
        bool counted = false; // among those that are still waited for
        KeyValueObservation finishing;
    };

    /// Takes a dependency off those that are waited for; true if it was the last.
    [[nodiscard]] bool discount(Dependency& dependency);

    std::atomic<bool> started = false;
    std::atomic<bool> executing = false;
    std::atomic<bool> finished = false;
    std::atomic<bool> cancelled = false;
    std::atomic<bool> queued = false; // in a queue, or it was

    mutable std::mutex mutex;
    std::condition_variable settling;
    // All guarded by mutex:
    std::vector<std::shared_ptr<Dependency>> dependencies;
    std::size_t waitedFor = 0;
    bool settled = false; // it was announced that the operation has finished
    std::move_only_function<void()> completionBlock;
};

} // namespace LumoKit
