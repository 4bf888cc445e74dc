#pragma once

#include <LumoKit/Platform/Dispatch/DispatchTime.h>

#include <functional>
#include <memory>
#include <string>

namespace LumoKit {

/// How urgent a queue's work is. The two lower classes run with a lowered scheduling priority; an
/// unprivileged process cannot raise one, so that the others run alike.
enum class DispatchQoS { unspecified, background, utility, normal, userInitiated, userInteractive };

/// Runs pieces of work one at a time, in the order in which they came.
///
/// Work that throws ends the process. Work that was queued runs even if the last reference to its queue is
/// gone by then. Queues are shared objects.
///
/// Thread: every operation may be called on any thread.
class DispatchQueue : public std::enable_shared_from_this<DispatchQueue> {
public:
    using Work = std::move_only_function<void()>;

    /// The queue whose work runs on the main thread, while a main loop runs there.
    ///
    /// A turn of the main loop takes the work that was there when the turn began, and no more than a few
    /// milliseconds of it, so that input and drawing always get their turn. A nested loop goes on with the
    /// same queue.
    [[nodiscard]] static std::shared_ptr<DispatchQueue> main();

    /// Queues `work` on the main queue, in its order, without waking the main loop for it: it runs at the loop's next
    /// turn, be it the one that is about to end. Work that queues itself again this way looks after each turn whether
    /// something has happened, and costs nothing while nothing does; `async` in its place would never let the loop sleep.
    /// Thread: the main thread.
    static void asyncAtNextTurn(Work work);

    /// A private queue whose work runs on a thread of its own, which exists while there is work. `label`
    /// names the thread in debuggers (its first 15 bytes).
    [[nodiscard]] static std::shared_ptr<DispatchQueue> create(
        std::string label, DispatchQoS qos = DispatchQoS::unspecified);

    virtual ~DispatchQueue() = default;
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    /// Queues `work` and returns at once; never runs it synchronously.
    virtual void async(Work work) = 0;

    /// Queues `work` when `deadline` has come; one that has passed counts as now. It cannot be cancelled.
    virtual void asyncAfter(DispatchTime deadline, Work work) = 0;

    [[nodiscard]] virtual const std::string& label() const = 0;
    [[nodiscard]] virtual DispatchQoS qos() const = 0;

protected:
    DispatchQueue() = default;
};

} // namespace LumoKit
