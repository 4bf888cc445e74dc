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
        using namespace std::chrono;
        const auto wait = duration_cast<microseconds>(deadline - steady_clock::now()).count();
        if (wait <= 0)
            return async(std::move(work));
        GSource* timer = g_source_new(&delayedFunctions, sizeof(Delayed));
        reinterpret_cast<Delayed*>(timer)->work = new Work(std::move(work));
        reinterpret_cast<Delayed*>(timer)->queue = this;
        g_source_set_static_name(timer, "LumoKit delayed work");
        g_source_set_ready_time(timer, g_get_monotonic_time() + wait + 1); // never early
        g_source_attach(timer, nullptr);
        g_source_unref(timer);
    }

    [[nodiscard]] const std::string& label() const override { return name; }
    [[nodiscard]] DispatchQoS qos() const override { return DispatchQoS::userInteractive; }

private:
    struct Drain {
        GSource base;
        MainQueue* queue;
    };
    struct Delayed {
        GSource base;
        Work* work;
        MainQueue* queue;
    };

    void wake() const
    {
        const std::uint64_t one = 1;
        // The counter cannot overflow: it is written once for every time it was read.
        [[maybe_unused]] const auto written = ::write(wakeUp, &one, sizeof one);
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
                std::ranges::move(incoming, std::back_inserter(turn)), incoming.clear();
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
        if (!turn.empty())
            wake();
        // Work that follows work at once steps behind input and takes turns with drawing; else a queue that
        // is never empty would keep windows from being painted.
        constexpr int priorityOfDrawing = G_PRIORITY_HIGH_IDLE + 20; // GDK_PRIORITY_REDRAW
        const int priority = more ? priorityOfDrawing : G_PRIORITY_DEFAULT;
        if (g_source_get_priority(source) != priority)
            g_source_set_priority(source, priority);
    }

    static gboolean dispatchDrain(GSource* source, GSourceFunc, gpointer) noexcept
    {
        reinterpret_cast<Drain*>(source)->queue->drain();
        return G_SOURCE_CONTINUE;
    }
    static gboolean dispatchDelayed(GSource* source, GSourceFunc, gpointer) noexcept
    {
        auto* delayed = reinterpret_cast<Delayed*>(source);
        delayed->queue->async(std::move(*delayed->work));
        return G_SOURCE_REMOVE;
    }
    static void finalizeDelayed(GSource* source) noexcept { delete reinterpret_cast<Delayed*>(source)->work; }

    static inline GSourceFuncs functions = {nullptr, nullptr, &dispatchDrain, nullptr, nullptr, nullptr};
    static inline GSourceFuncs delayedFunctions = {
        nullptr, nullptr, &dispatchDelayed, &finalizeDelayed, nullptr, nullptr};

    const std::string name = "main";
    const int wakeUp;
    GSource* source = nullptr;
    std::deque<Work> turn; // main thread only

    std::mutex mutex;
    std::deque<Work> incoming; // guarded by mutex
};

} // namespace

std::shared_ptr<DispatchQueue> DispatchQueue::main()
{
    // Never destroyed: threads may still post while the process ends.
    static const auto& queue = *new std::shared_ptr<DispatchQueue>(std::make_shared<MainQueue>());
    return queue;
}

} // namespace LumoKit
