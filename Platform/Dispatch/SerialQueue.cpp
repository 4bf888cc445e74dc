#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace LumoKit {

namespace {

using Work = DispatchQueue::Work;

/// How long a thread waits for more work before it ends.
constexpr std::chrono::seconds linger(1);

/// What a queue and its thread share: the thread may outlive the queue object until the work is done.
struct Shared {
    explicit Shared(std::string text, DispatchQoS urgency)
        : label(std::move(text))
        , qos(urgency)
    {
    }

    const std::string label;
    const DispatchQoS qos;

    std::mutex mutex;
    std::condition_variable changed;
    // All guarded by mutex:
    std::deque<Work> ready;
    std::multimap<DispatchTime, Work> delayed; // equal deadlines keep their order
    bool hasThread = false;
    bool abandoned = false; // the queue object is gone: end as soon as nothing is left
};

void lowerPriority(DispatchQoS qos)
{
    const int steps = qos == DispatchQoS::background ? 10 : qos == DispatchQoS::utility ? 5 : 0;
    const auto thread = static_cast<id_t>(::gettid()); // on Linux, of this thread alone
    if (steps > 0)
        ::setpriority(PRIO_PROCESS, thread, ::getpriority(PRIO_PROCESS, thread) + steps);
}

void work(const std::shared_ptr<Shared>& shared) noexcept
{
    ::pthread_setname_np(::pthread_self(), shared->label.substr(0, 15).c_str());
    lowerPriority(shared->qos);
    std::unique_lock lock(shared->mutex);
    while (true) {
        const auto now = std::chrono::steady_clock::now();
        while (!shared->delayed.empty() && shared->delayed.begin()->first <= now) {
            shared->ready.push_back(std::move(shared->delayed.begin()->second));
            shared->delayed.erase(shared->delayed.begin());
        }
        if (!shared->ready.empty()) {
            {
                Work next = std::move(shared->ready.front());
                shared->ready.pop_front();
                lock.unlock();
                next();
            } // what the work captured is released before the next piece runs, and without the lock
            lock.lock();
            continue;
        }
        if (!shared->delayed.empty()) {
            shared->changed.wait_until(lock, shared->delayed.begin()->first);
            continue;
        }
        const bool more = !shared->abandoned && shared->changed.wait_for(lock, linger, [&] {
            return shared->abandoned || !shared->ready.empty() || !shared->delayed.empty();
        });
        if (!more || (shared->abandoned && shared->ready.empty() && shared->delayed.empty()))
            break;
    }
    shared->hasThread = false;
}

class SerialQueue final : public DispatchQueue {
public:
    SerialQueue(std::string label, DispatchQoS qos)
        : shared(std::make_shared<Shared>(std::move(label), qos))
    {
    }

    ~SerialQueue() override
    {
        const std::lock_guard lock(shared->mutex);
        shared->abandoned = true;
        shared->changed.notify_one();
    }

    void async(Work work) override
    {
        const std::lock_guard lock(shared->mutex);
        shared->ready.push_back(std::move(work));
        startThread();
    }

    void asyncAfter(DispatchTime deadline, Work work) override
    {
        const std::lock_guard lock(shared->mutex);
        shared->delayed.emplace(deadline, std::move(work));
        startThread();
    }

    [[nodiscard]] const std::string& label() const override { return shared->label; }
    [[nodiscard]] DispatchQoS qos() const override { return shared->qos; }

private:
    /// Wakes the thread, or starts one. The mutex is held.
    void startThread()
    {
        if (std::exchange(shared->hasThread, true))
            shared->changed.notify_one();
        else
            std::thread([shared = shared] { work(shared); }).detach(); // it owns all that it touches
    }

    const std::shared_ptr<Shared> shared;
};

} // namespace

std::shared_ptr<DispatchQueue> DispatchQueue::create(std::string label, DispatchQoS qos)
{
    return std::make_shared<SerialQueue>(std::move(label), qos);
}

} // namespace LumoKit
