#pragma once

#include <LumoKit/Platform/Dispatch/DispatchTime.h>

#include <condition_variable>
#include <mutex>

namespace LumoKit {

/// A counter that threads wait on until it is above zero.
///
/// Thread: every operation may be called on any thread. The semaphore may be destroyed as soon as the last
/// `wait` has returned.
class DispatchSemaphore {
public:
    /// Starts at `value`, the number of waits that return without a signal.
    explicit DispatchSemaphore(unsigned value = 0)
        : count(value)
    {
    }

    void signal()
    {
        const std::lock_guard lock(mutex);
        ++count;
        signalled.notify_one();
    }

    /// Blocks until the counter is above zero, without time limit, and takes one off it.
    void wait()
    {
        std::unique_lock lock(mutex);
        signalled.wait(lock, [&] { return count > 0; });
        --count;
    }

    /// As `wait()`, but gives up at `deadline`; true when it took one off the counter.
    [[nodiscard]] bool wait(DispatchTime deadline)
    {
        std::unique_lock lock(mutex);
        if (!signalled.wait_until(lock, deadline, [&] { return count > 0; }))
            return false;
        --count;
        return true;
    }

private:
    std::mutex mutex;
    std::condition_variable signalled;
    unsigned count; // guarded by mutex
};

} // namespace LumoKit
