#include <LumoKit/Platform/Dispatch/DispatchGroup.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace LumoKit {

struct DispatchGroup::State {
    struct Notification {
        std::shared_ptr<DispatchQueue> queue;
        DispatchQueue::Work work;
    };

    std::mutex mutex;
    std::condition_variable emptied;
    // All guarded by mutex:
    std::size_t entered = 0;
    std::vector<Notification> notifications;
};

DispatchGroup::DispatchGroup()
    : state(std::make_unique<State>())
{
}

DispatchGroup::~DispatchGroup() = default;

void DispatchGroup::enter()
{
    const std::lock_guard lock(state->mutex);
    ++state->entered;
}

void DispatchGroup::leave()
{
    std::vector<State::Notification> due;
    {
        const std::lock_guard lock(state->mutex);
        if (state->entered == 0) {
            std::fputs("Fatal error: Unbalanced call to DispatchGroup::leave()\n", stderr);
            std::abort();
        }
        if (--state->entered > 0)
            return;
        due = std::exchange(state->notifications, {});
        state->emptied.notify_all(); // under the lock: a waiter may destroy the group as soon as it returns
    }
    for (auto& notification : due)
        notification.queue->async(std::move(notification.work));
}

void DispatchGroup::wait()
{
    std::unique_lock lock(state->mutex);
    state->emptied.wait(lock, [&] { return state->entered == 0; });
}

bool DispatchGroup::wait(DispatchTime deadline)
{
    std::unique_lock lock(state->mutex);
    return state->emptied.wait_until(lock, deadline, [&] { return state->entered == 0; });
}

void DispatchGroup::notify(std::shared_ptr<DispatchQueue> queue, DispatchQueue::Work work)
{
    {
        const std::lock_guard lock(state->mutex);
        if (state->entered > 0) {
            state->notifications.push_back({std::move(queue), std::move(work)});
            return;
        }
    }
    queue->async(std::move(work));
}

} // namespace LumoKit
