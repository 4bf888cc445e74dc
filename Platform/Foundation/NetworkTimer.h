#pragma once

#include <functional>
#include <memory>

namespace LumoKit::detail {

/// Calls a function when a time has passed. All timers of the network thread share one source of its main loop: each turn of the
/// loop looks at every source, so that many transfers at once would slow one another down if each had one of its own.
///
/// Thread: the network thread.
class NetworkTimer {
public:
    /// Never calls anything.
    NetworkTimer();
    /// Calls `work` once each time that it is set. The call may set or destroy the timer.
    explicit NetworkTimer(std::function<void()> work);
    NetworkTimer(NetworkTimer&&) noexcept;
    NetworkTimer& operator=(NetworkTimer&&) noexcept;
    ~NetworkTimer();

    /// Calls when `seconds` have passed, and not when it was to before. Less than zero and what is not a number count as zero;
    /// what lies beyond the clock's range never comes.
    void set(double seconds);

private:
    struct Entry;
    std::unique_ptr<Entry> entry;
};

} // namespace LumoKit::detail
