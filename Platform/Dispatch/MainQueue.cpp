#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>

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
#include <utility>

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

        turns = g_source_new(&turnFunctions, sizeof(Drain));
        reinterpret_cast<Drain*>(turns)->queue = this;
        g_source_set_static_name(turns, "LumoKit work at the next turn");
        g_source_set_priority(turns, G_PRIORITY_LOW + 50); // nothing else that is ready has to wait for it
        g_source_set_can_recurse(turns, TRUE);
        g_source_attach(turns, nullptr);
    }

    void async(Work work) override
    {
        bool first = false;
        {
            const std::lock_guard lock(mutex);
            first = !std::exchange(woken, true);
            incoming.push_back(std::move(work));
        }
        if (first)
            wake();
    }

    void asyncAtNextTurn(Work work)
    {
        assertMainThread();
        const std::lock_guard lock(mutex);
        incoming.push_back(std::move(work));
        patientWaits = true;
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
            const bool due = !delayed.empty() && delayed.begin()->first <= now;
            for (; !delayed.empty() && delayed.begin()->first <= now; delayed.erase(delayed.begin()))
                incoming.push_back(std::move(delayed.begin()->second));
            first = due && !std::exchange(woken, true);
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
            woken = false;
            patientWaits = false;
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
            more = woken;
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

    /// Work that waits for a turn does not make one. So it runs before the loop goes to sleep, and then again only
    /// after something has woken the loop: whatever it waits for has happened in between, or has not. The loop asks
    /// this before each sleep.
    static gboolean prepareTurn(GSource* source, gint* timeout) noexcept
    {
        MainQueue& queue = *reinterpret_cast<Drain*>(source)->queue;
        *timeout = -1;
        if (!queue.patientWaits)
            return FALSE;
        // Nothing has run since, unless that was in a loop within this one.
        const bool hasJustRun = std::exchange(queue.depthOfTurn, 0) == g_main_depth() + 1;
        if (hasJustRun)
            *timeout = 1000; // for loops that are turned by hand, which may do something between two turns
        return !hasJustRun;
    }
    static gboolean checkTurn(GSource*) noexcept { return FALSE; }
    static gboolean dispatchTurn(GSource* source, GSourceFunc, gpointer) noexcept
    {
        MainQueue& queue = *reinterpret_cast<Drain*>(source)->queue;
        queue.drain();
        queue.depthOfTurn = g_main_depth();
        return G_SOURCE_CONTINUE;
    }

    static inline GSourceFuncs functions = {
        &prepareDrain, &checkDrain, &dispatchDrain, nullptr, nullptr, nullptr};
    static inline GSourceFuncs timerFunctions = {nullptr, nullptr, &dispatchTimer, nullptr, nullptr, nullptr};
    static inline GSourceFuncs turnFunctions = {
        &prepareTurn, &checkTurn, &dispatchTurn, nullptr, nullptr, nullptr};

    const std::string name = "main";
    const int wakeUp;
    GSource* source = nullptr;
    GSource* timer = nullptr; // ready at the first deadline
    GSource* turns = nullptr; // ready once after every turn, while there is work that waits for one
    // Main thread only:
    std::deque<Work> turn;
    bool patientWaits = false; // among the incoming is work that waits for a turn
    int depthOfTurn = 0; // of the loop whose last turn was for such work alone; 0: of none

    std::mutex mutex;
    // All guarded by mutex:
    std::deque<Work> incoming;
    bool woken = false; // the loop has been woken for some of the incoming
    std::multimap<DispatchTime, Work> delayed; // equal deadlines keep their order
};

} // namespace

namespace {

const std::shared_ptr<MainQueue>& mainQueue()
{
    // Never destroyed: threads may still post while the process ends.
    static const auto& queue = *new std::shared_ptr<MainQueue>(std::make_shared<MainQueue>());
    return queue;
}

} // namespace

std::shared_ptr<DispatchQueue> DispatchQueue::main()
{
    return mainQueue();
}

void DispatchQueue::asyncAtNextTurn(Work work)
{
    mainQueue()->asyncAtNextTurn(std::move(work));
}

} // namespace LumoKit
