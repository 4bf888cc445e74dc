#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <glib-unix.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <map>
#include <mutex>

namespace LumoKit {

namespace {

/// One event source drains the whole queue: posting wakes the loop through an eventfd, and only the first
/// post since the last drain pays for the wake-up.
class MainQueue final : public DispatchQueue {
public:
    MainQueue()
        : wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (wakeUp < 0)
            std::abort(); // no file descriptor is left for the one that everything else waits for
        source = g_source_new(&functions, sizeof(Drain));
        reinterpret_cast<Drain*>(source)->queue = this;
        g_source_set_static_name(source, "LumoKit main queue");
        g_source_set_can_recurse(source, TRUE); // a modal loop inside a piece of work goes on with the queue
        g_source_add_unix_fd(source, wakeUp, G_IO_IN);
        g_source_attach(source, nullptr);

        timer = g_source_new(&timerFunctions, sizeof(Drain));
        reinterpret_cast<Drain*>(timer)->queue = this;
        g_source_set_static_name(timer, "LumoKit delayed work");
        g_source_set_can_recurse(timer, TRUE);
        g_source_attach(timer, nullptr);
    }

    void async(Work work) override
    {
        bool first = false;
        {
            const std::lock_guard lock(mutex);
            first = incoming.empty();
            incoming.push_back(std::move(work));
        }
        if (first)
            wake();
    }

    void asyncAfter(DispatchTime deadline, Work work) override
    {
        if (deadline <= std::chrono::steady_clock::now())
            return async(std::move(work));
        const std::lock_guard lock(mutex);
        const auto place = delayed.emplace(deadline, std::move(work));
        if (place == delayed.begin())
            setTimer();
    }

    [[nodiscard]] const std::string& label() const override { return name; }
    [[nodiscard]] DispatchQoS qos() const override { return DispatchQoS::userInteractive; }

private:
    struct Drain {
        GSource base;
        MainQueue* queue;
    };

    void wake() const
    {
        const std::uint64_t one = 1;
        // The counter cannot overflow: it is written once for every time it was read.
        [[maybe_unused]] const auto written = ::write(wakeUp, &one, sizeof one);
    }

    /// Wakes the loop at the first deadline. The mutex is held.
    void setTimer()
    {
        using namespace std::chrono;
        if (delayed.empty())
            return g_source_set_ready_time(timer, -1);
        const auto wait = duration_cast<microseconds>(delayed.begin()->first - steady_clock::now()).count();
        g_source_set_ready_time(timer, g_get_monotonic_time() + std::max<gint64>(wait, 0) + 1); // never early
    }

    /// Queues what has come due, in the order of the deadlines.
    void queueDelayed()
    {
        const auto now = std::chrono::steady_clock::now();
        bool first = false;
        {
            const std::lock_guard lock(mutex);
            first = incoming.empty();
            for (; !delayed.empty() && delayed.begin()->first <= now; delayed.erase(delayed.begin()))
                incoming.push_back(std::move(delayed.begin()->second));
            first = first && !incoming.empty();
            setTimer();
        }
        if (first)
            wake();
    }

    void drain() noexcept
    {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto taken = ::read(wakeUp, &count, sizeof count);
        {
            const std::lock_guard lock(mutex);
            if (turn.empty())
                turn.swap(incoming);
            else
                std::ranges::move(incoming, std::back_inserter(turn));
            incoming.clear();
        }
        constexpr std::chrono::milliseconds share(4); // a quarter of a frame at 60 Hz
        const auto end = std::chrono::steady_clock::now() + share;
        for (std::size_t left = turn.size(); left && !turn.empty(); --left) {
            {
                Work work = std::move(turn.front());
                turn.pop_front();
                work();
            } // what it captured is released within the turn
            if (std::chrono::steady_clock::now() >= end)
                break;
        }
        bool more = !turn.empty();
        if (!more) {
            const std::lock_guard lock(mutex);
            more = !incoming.empty();
        }
        // Work that follows work at once steps behind input and takes turns with drawing; else a queue that
        // is never empty would keep windows from being painted.
        constexpr int priorityOfDrawing = G_PRIORITY_HIGH_IDLE + 20; // GDK_PRIORITY_REDRAW
        const int priority = more ? priorityOfDrawing : G_PRIORITY_DEFAULT;
        if (g_source_get_priority(source) != priority)
            g_source_set_priority(source, priority);
    }

    /// Work that is left of a turn makes the source ready by itself: for the next turn, and for a nested loop
    /// within this one.
    static gboolean isTurnLeft(GSource* source) noexcept
    {
        return !reinterpret_cast<Drain*>(source)->queue->turn.empty();
    }
    static gboolean prepareDrain(GSource* source, gint* timeout) noexcept
    {
        *timeout = -1;
        return isTurnLeft(source);
    }
    static gboolean checkDrain(GSource* source) noexcept { return isTurnLeft(source); }
    static gboolean dispatchDrain(GSource* source, GSourceFunc, gpointer) noexcept
    {
        reinterpret_cast<Drain*>(source)->queue->drain();
        return G_SOURCE_CONTINUE;
    }
    static gboolean dispatchTimer(GSource* source, GSourceFunc, gpointer) noexcept
    {
        reinterpret_cast<Drain*>(source)->queue->queueDelayed();
        return G_SOURCE_CONTINUE;
    }

    static inline GSourceFuncs functions = {
        &prepareDrain, &checkDrain, &dispatchDrain, nullptr, nullptr, nullptr};
    static inline GSourceFuncs timerFunctions = {nullptr, nullptr, &dispatchTimer, nullptr, nullptr, nullptr};

    const std::string name = "main";
    const int wakeUp;
    GSource* source = nullptr;
    GSource* timer = nullptr; // ready at the first deadline
    std::deque<Work> turn; // main thread only

    std::mutex mutex;
    // Both guarded by mutex:
    std::deque<Work> incoming;
    std::multimap<DispatchTime, Work> delayed; // equal deadlines keep their order
};

} // namespace

std::shared_ptr<DispatchQueue> DispatchQueue::main()
{
    // Never destroyed: threads may still post while the process ends.
    static const auto& queue = *new std::shared_ptr<DispatchQueue>(std::make_shared<MainQueue>());
    return queue;
}

} // namespace LumoKit
