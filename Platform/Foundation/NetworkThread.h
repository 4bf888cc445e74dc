#pragma once

#include <LumoKit/Platform/Native/Source.h>

#include <functional>
#include <future>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

namespace LumoKit::detail {

/// The one thread on which the network is spoken, with a main loop of its own: sessions, transfers and cookies of libsoup
/// live there and nowhere else. It is started at first use and stays; nothing on it waits for another thread.
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

    GMainContext* const context;
    const int wakeUp;
    std::mutex mutex;
    std::vector<Work> incoming; // guarded by mutex
};

/// Calls `work` when `seconds` have passed, unless it is destroyed or set anew before. Less than zero and what is not a
/// number count as zero; what lies beyond the clock's range never comes.
/// Thread: the network thread.
[[nodiscard]] Source networkTimer(double seconds, std::function<void()> work);
void setNetworkTimer(const Source& timer, double seconds);

} // namespace LumoKit::detail
