#include "NetworkThread.h"

#include <LumoKit/Platform/Foundation/FatalError.h>

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <thread>

namespace LumoKit::detail {

namespace {

thread_local bool isNetworkThread = false;

/// A source that calls a function whenever it is ready.
struct Calling {
    GSource base;
    std::function<void()>* work;
};

gboolean call(GSource* source, GSourceFunc, gpointer) noexcept
{
    // The work may destroy its own source, and with that itself.
    const std::function<void()> work = *reinterpret_cast<Calling*>(source)->work;
    work();
    return G_SOURCE_CONTINUE;
}

void finalize(GSource* source) noexcept
{
    delete reinterpret_cast<Calling*>(source)->work;
}

GSourceFuncs calling = {nullptr, nullptr, &call, &finalize, nullptr, nullptr};

Source makeSource(const char* name, std::function<void()> work)
{
    GSource* source = g_source_new(&calling, sizeof(Calling));
    reinterpret_cast<Calling*>(source)->work = new std::function<void()>(std::move(work));
    g_source_set_static_name(source, name);
    return Source::adopt(source);
}

} // namespace

NetworkThread& NetworkThread::shared()
{
    // Never destroyed: transfers may be under way while the process ends.
    static auto& thread = *new NetworkThread;
    return thread;
}

NetworkThread::NetworkThread()
    : context(g_main_context_new())
    , wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (wakeUp < 0)
        fatalError("no file descriptor is left for the network thread");
    std::thread([this] { run(); }).detach();
}

void NetworkThread::run() noexcept
{
    ::pthread_setname_np(::pthread_self(), "LumoKit.Network");
    isNetworkThread = true;
    g_main_context_push_thread_default(context);
    const Source source = makeSource("LumoKit network", [this] { drain(); });
    g_source_add_unix_fd(source.get(), wakeUp, G_IO_IN);
    g_source_attach(source.get(), context);
    while (true)
        g_main_context_iteration(context, TRUE);
}

void NetworkThread::async(Work work)
{
    const std::lock_guard lock(mutex);
    if (incoming.empty()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written =
            ::write(wakeUp, &one, sizeof one); // once for every time it is read
    }
    incoming.push_back(std::move(work));
}

void NetworkThread::drain() noexcept
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = ::read(wakeUp, &count, sizeof count);
    std::vector<Work> turn;
    {
        const std::lock_guard lock(mutex);
        turn.swap(incoming);
    }
    for (Work& work : turn) {
        work();
        work = nullptr; // what it captured is released before the next piece runs
    }
}

bool NetworkThread::isCurrent() const
{
    return isNetworkThread;
}

Source networkTimer(double seconds, std::function<void()> work)
{
    Source timer = makeSource("LumoKit network timer", std::move(work));
    setNetworkTimer(timer, seconds);
    g_source_attach(timer.get(), g_main_context_get_thread_default());
    return timer;
}

void setNetworkTimer(const Source& timer, double seconds)
{
    const double microseconds = std::ceil(std::fmax(seconds, 0) * 1e6); // not a number counts as zero
    constexpr double longest = 1e18;
    g_source_set_ready_time(timer.get(),
        microseconds < longest ? g_get_monotonic_time() + static_cast<gint64>(microseconds) : -1);
}

} // namespace LumoKit::detail
