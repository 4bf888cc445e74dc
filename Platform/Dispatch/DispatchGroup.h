#pragma once

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <memory>

namespace LumoKit {

/// Counts pieces of work that are under way and tells when none is left.
///
/// Thread: every operation may be called on any thread.
/// Lifetime: a notification keeps what it needs; a group that is released while entered never notifies.
class DispatchGroup {
public:
    DispatchGroup();
    ~DispatchGroup();
    DispatchGroup(const DispatchGroup&) = delete;
    DispatchGroup& operator=(const DispatchGroup&) = delete;

    /// One more piece of work is under way.
    void enter();

    /// One piece of work has ended. Leaving more often than entering stops the process.
    void leave();

    /// Blocks until no work is under way, without time limit.
    void wait();

    /// Blocks until no work is under way or `deadline` has come; true when none is left.
    [[nodiscard]] bool wait(DispatchTime deadline);

    /// Queues `work` on `queue` once, when no work is under way: at once if that is so already.
    void notify(std::shared_ptr<DispatchQueue> queue, DispatchQueue::Work work);

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace LumoKit
