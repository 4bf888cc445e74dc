#include "NetworkThread.h"

#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Native/Source.h>

#include <glib-unix.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <thread>

namespace LumoKit::detail {

namespace {

thread_local bool isNetworkThread = false;

/// How long the end of the process waits for a piece of work that is under way; they take far less.
constexpr std::chrono::seconds longestPiece(2);

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
    std::atexit([] { shared().rest(); });
}

void NetworkThread::run() noexcept
{
    ::pthread_setname_np(::pthread_self(), "LumoKit.Network");
    isNetworkThread = true;
    g_main_context_push_thread_default(context);
    const Source source = Source::adopt(g_unix_fd_source_new(wakeUp, G_IO_IN));
    const GUnixFDSourceFunc isAsked = [](gint, GIOCondition, gpointer thread) noexcept -> gboolean {
        static_cast<NetworkThread*>(thread)->drain();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source.get(), G_SOURCE_FUNC(isAsked), this, nullptr);
    g_source_set_static_name(source.get(), "LumoKit network");
    g_source_attach(source.get(), context);
    while (!isEnding)
        g_main_context_iteration(context, TRUE);
    g_main_context_pop_thread_default(context);
    rests.release();
    while (true)
        ::pause(); // until the process is gone
}

void NetworkThread::rest()
{
    if (isCurrent())
        return; // it is the one that ends the process
    isEnding = true;
    g_main_context_wakeup(context);
    if (!rests.try_acquire_for(longestPiece))
        return;
    std::vector<Work> left;
    {
        const std::lock_guard lock(mutex);
        hasEnded = true;
        left.swap(incoming);
    }
    for (Work& work : left)
        doHere(work);
}

void NetworkThread::doHere(Work& work)
{
    const std::lock_guard lock(here);
    const bool before = std::exchange(isNetworkThread, true);
    g_main_context_push_thread_default(context);
    work();
    work = nullptr;
    g_main_context_pop_thread_default(context);
    isNetworkThread = before;
}

void NetworkThread::async(Work work)
{
    std::unique_lock lock(mutex);
    if (hasEnded) {
        lock.unlock();
        return doHere(work);
    }
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

} // namespace LumoKit::detail
