#pragma once

#include <glib.h>

#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <semaphore>
#include <type_traits>
#include <utility>
#include <vector>

namespace LumoKit::detail {

/// The one thread on which the network is spoken, with a main loop of its own: sessions, transfers and cookies of libsoup
/// live there and nowhere else. It is started at first use and stays until the process exits; nothing on it waits for
/// another thread.
///
/// While the process exits, libraries are taken down in which it may be at work, or which it may just be loading. It comes
/// to rest before that, and whoever then still asks for something does it on their own thread.
///
/// Thread: any.
class NetworkThread {
public:
    using Work = std::move_only_function<void()>;

    [[nodiscard]] static NetworkThread& shared();

    /// Runs `work` on the thread, after what was asked for before.
    void async(Work work);

    /// Runs `work` on the thread and gives its result; at once where the caller is that thread.
    template <class Function> auto sync(Function work)
    {
        using Result = std::invoke_result_t<Function&>;
        if (isCurrent())
            return work();
        std::packaged_task<Result()> task(std::ref(work));
        auto result = task.get_future();
        async(std::move(task));
        return result.get();
    }

    /// Whether the caller runs on it.
    [[nodiscard]] bool isCurrent() const;

private:
    NetworkThread();
    void run() noexcept;
    void drain() noexcept;
    void doHere(Work& work);
    void rest();

    GMainContext* const context;
    const int wakeUp;
    std::mutex mutex;
    std::vector<Work> incoming; // guarded by mutex
    std::atomic<bool> isEnding = false;
    std::binary_semaphore rests{0}; // once it does
    bool hasEnded = false; // it rests; guarded by mutex
    std::recursive_mutex here; // of those who do its work after that
};

} // namespace LumoKit::detail
