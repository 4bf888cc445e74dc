#include "Compare.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>

#include <glib.h>

#include <thread>

namespace LumoKit::Bench {

namespace {

using Post = void (*)(gpointer);

/// What is posted: it counts itself, on the main thread.
gboolean count(gpointer data)
{
    ++*static_cast<int*>(data);
    return G_SOURCE_REMOVE;
}

void postToQueue(gpointer data)
{
    DispatchQueue::main()->async([data] { count(data); });
}

void postAsSource(gpointer data)
{
    g_idle_add_full(G_PRIORITY_DEFAULT, count, data, nullptr);
}

/// Nanoseconds an item, from the first post of another thread until the last has run.
double throughput(Post post)
{
    constexpr int items = 100'000;
    int ran = 0;
    return secondsOf([&] {
        std::thread poster([&] {
            for (int item = 0; item < items; ++item)
                post(&ran);
        });
        while (ran < items)
            g_main_context_iteration(nullptr, TRUE);
        poster.join();
    }) * 1e9
        / items;
}

/// Microseconds from a post until its work has run, one at a time, the main loop asleep in between.

template <class PostWork> double latency(PostWork post)
{
    constexpr int items = 1500;
    bool ended = false;
    double seconds = 0;
    std::thread poster([&] {
        DispatchSemaphore ran;
        seconds = secondsOf([&] {
            for (int item = 0; item < items; ++item) {
                post(ran);
                ran.wait();
            }
        });
        DispatchQueue::main()->async([&] { ended = true; });
    });
    while (!ended)
        g_main_context_iteration(nullptr, TRUE);
    poster.join();
    return seconds * 1e6 / items;
}

double queueLatency()
{
    return latency([](DispatchSemaphore& ran) { DispatchQueue::main()->async([&ran] { ran.signal(); }); });
}

double sourceLatency()
{
    return latency([](DispatchSemaphore& ran) {
        g_idle_add_full(
            G_PRIORITY_DEFAULT,
            +[](gpointer data) -> gboolean {
                static_cast<DispatchSemaphore*>(data)->signal();
                return G_SOURCE_REMOVE;
            },
            &ran, nullptr);
    });
}

} // namespace

std::vector<Row> mainQueueRows()
{
    return {
        {"bridge/main-queue-post", "ns", "an idle source an item", 0.2, 25,
            [] { return throughput(postToQueue); }, [] { return throughput(postAsSource); }},
        {"bridge/main-queue-latency", "µs", "an idle source an item", 1.0, 61, queueLatency, sourceLatency},
    };
}

} // namespace LumoKit::Bench
