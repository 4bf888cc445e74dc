#include "OperationNative.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/OperationQueue.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <thread>
#include <utility>

namespace LumoKit {

namespace {

class BlockOperation final : public Operation {
public:
    explicit BlockOperation(std::move_only_function<void()> work)
        : block(std::move(work))
    {
    }
    void main() override { std::exchange(block, nullptr)(); }

private:
    std::move_only_function<void()> block;
};

/// Operations that block while they wait for something need more threads than there are processors.
std::size_t usefulThreads()
{
    return std::max<std::size_t>(8, std::size_t{2} * std::thread::hardware_concurrency());
}

/// An operation in a queue.
struct Entry {
    std::shared_ptr<Operation> operation;
    std::uint64_t number = 0;
    // Guarded by the queue's mutex:
    bool started = false;
    bool finished = false;
    KeyValueObservation finishing;
    KeyValueObservation readiness;
};

using EntryPtr = std::shared_ptr<Entry>;

} // namespace

/// Kept by the queue, by the work that it has under way, and by the observations of each operation in it.
struct OperationQueue::State : std::enable_shared_from_this<State> {
    explicit State(bool mainThread = false)
        : onMainThread(mainThread)
        , threadLimit(mainThread ? 1 : usefulThreads())
        , maxConcurrent(mainThread ? 1 : defaultMaxConcurrentOperationCount)
    {
    }

    void add(const std::shared_ptr<Operation>& operation);
    /// Notes whether an operation is ready, and starts what may be started.
    void check(const EntryPtr& entry);
    void startWhatMayStart();
    void run(const EntryPtr& entry);
    void remove(const EntryPtr& entry);

    const bool onMainThread;
    const std::size_t threadLimit;

    mutable std::mutex mutex;
    std::condition_variable emptied;
    // All guarded by mutex:
    int maxConcurrent;
    std::uint64_t added = 0;
    std::map<std::uint64_t, EntryPtr> entries; // by their numbers, which are in the order of adding
    std::set<std::uint64_t> ready; // and not started
    std::size_t executing = 0; // started and not finished
    std::size_t running = 0; // threads that are in `run`
    std::vector<std::shared_ptr<DispatchQueue>> idle; // threads that are not
};

void OperationQueue::State::add(const std::shared_ptr<Operation>& operation)
{
    if (operation->state->queued.exchange(true))
        fatalError("an operation is added that is in a queue, or was");
    if (operation->isExecuting() || operation->isFinished())
        fatalError("an operation is added that has been started");
    const auto entry = std::make_shared<Entry>();
    entry->operation = operation;
    {
        const std::lock_guard lock(mutex);
        entry->number = ++added;
        entries.emplace(entry->number, entry);
    }
    auto finishing =
        operation->observe("isFinished", [state = shared_from_this(), entry](const KeyValueChange&) {
            if (entry->operation->isFinished())
                state->remove(entry);
        });
    auto readiness = operation->observe(
        "isReady", [state = shared_from_this(), entry](const KeyValueChange&) { state->check(entry); });
    {
        const std::lock_guard lock(mutex);
        if (!entry->finished) { // otherwise the observations end here
            std::swap(entry->finishing, finishing);
            std::swap(entry->readiness, readiness);
        }
    }
    if (operation->isFinished())
        remove(entry);
    else
        check(entry);
}

void OperationQueue::State::check(const EntryPtr& entry)
{
    if (!entry->operation->isReady()) // without the lock: it is the class's own
        return;
    {
        const std::lock_guard lock(mutex);
        if (!entry->started && !entry->finished)
            ready.insert(entry->number);
    }
    startWhatMayStart();
}

void OperationQueue::State::startWhatMayStart()
{
    while (true) {
        EntryPtr next;
        std::shared_ptr<DispatchQueue> thread;
        {
            const std::lock_guard lock(mutex);
            const std::size_t limit = maxConcurrent == defaultMaxConcurrentOperationCount
                ? std::numeric_limits<std::size_t>::max()
                : static_cast<std::size_t>(maxConcurrent);
            if (ready.empty() || executing >= limit || running >= threadLimit)
                return;
            next = entries.at(*ready.begin());
            ready.erase(ready.begin());
            next->started = true;
            ++executing;
            ++running;
            if (!idle.empty()) {
                thread = std::move(idle.back());
                idle.pop_back();
            }
        }
        if (!thread)
            thread = onMainThread ? DispatchQueue::main() : DispatchQueue::create("operation");
        thread->async([self = shared_from_this(), entry = std::move(next), thread]() mutable {
            self->run(entry);
            entry.reset();
            {
                const std::lock_guard lock(self->mutex);
                --self->running;
                self->idle.push_back(std::move(thread));
            }
            self->startWhatMayStart();
        });
    }
}

void OperationQueue::State::run(const EntryPtr& entry)
{
    if (entry->operation->isReady())
        return entry->operation->start();
    // It got another dependency meanwhile.
    {
        const std::lock_guard lock(mutex);
        if (entry->finished)
            return;
        entry->started = false;
        --executing;
    }
    check(entry); // it may be ready by now, and have announced that while it counted as started
}

void OperationQueue::State::remove(const EntryPtr& entry)
{
    KeyValueObservation finishing; // both end without the lock
    KeyValueObservation readiness;
    {
        const std::lock_guard lock(mutex);
        if (std::exchange(entry->finished, true))
            return;
        std::swap(entry->finishing, finishing);
        std::swap(entry->readiness, readiness);
        ready.erase(entry->number);
        entries.erase(entry->number);
        if (entry->started)
            --executing;
        if (entries.empty())
            emptied.notify_all();
    }
    startWhatMayStart();
}

OperationQueue::OperationQueue()
    : state(std::make_shared<State>())
{
}

OperationQueue::OperationQueue(std::shared_ptr<State> made)
    : state(std::move(made))
{
}

OperationQueue::~OperationQueue() = default;

OperationQueue& OperationQueue::mainQueue()
{
    static OperationQueue queue(std::make_shared<State>(true));
    return queue;
}

void OperationQueue::addOperation(const std::shared_ptr<Operation>& operation)
{
    state->add(operation);
}

void OperationQueue::addOperation(std::move_only_function<void()> block)
{
    state->add(std::make_shared<BlockOperation>(std::move(block)));
}

void OperationQueue::addOperations(
    const std::vector<std::shared_ptr<Operation>>& operations, bool waitUntilFinished)
{
    for (const auto& operation : operations)
        state->add(operation);
    if (!waitUntilFinished)
        return;
    for (const auto& operation : operations)
        operation->waitUntilFinished();
}

std::vector<std::shared_ptr<Operation>> OperationQueue::operations() const
{
    const std::lock_guard lock(state->mutex);
    std::vector<std::shared_ptr<Operation>> all;
    for (const auto& [number, entry] : state->entries)
        all.push_back(entry->operation);
    return all;
}

std::size_t OperationQueue::operationCount() const
{
    const std::lock_guard lock(state->mutex);
    return state->entries.size();
}

void OperationQueue::cancelAllOperations()
{
    for (const auto& operation : operations())
        operation->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished()
{
    std::unique_lock lock(state->mutex);
    state->emptied.wait(lock, [&] { return state->entries.empty(); });
}

int OperationQueue::maxConcurrentOperationCount() const
{
    const std::lock_guard lock(state->mutex);
    return state->maxConcurrent;
}

void OperationQueue::setMaxConcurrentOperationCount(int count)
{
    if (count < defaultMaxConcurrentOperationCount)
        fatalError("a queue cannot run a negative number of operations");
    {
        const std::lock_guard lock(state->mutex);
        if (!state->onMainThread)
            state->maxConcurrent = count;
    }
    state->startWhatMayStart();
}

} // namespace LumoKit
