#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace LumoKit::detail {

/// A lock for what takes a few nanoseconds nearly always, and is asked for by another thread nearly never: to take and
/// release it is half the price of a `std::mutex`, which would cost more than what it guards. Who has to wait looks
/// again every few microseconds.
///
/// Thread: any; not recursive.
class BriefLock {
public:
    void lock()
    {
        while (held.exchange(true, std::memory_order_acquire))
            std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    void unlock() { held.store(false, std::memory_order_release); }

private:
    std::atomic<bool> held = false;
};

} // namespace LumoKit::detail
