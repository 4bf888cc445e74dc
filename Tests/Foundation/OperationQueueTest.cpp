#include "Support/Waiting.h"

#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/OperationQueue.h>
#include <LumoKit/Utility/AsyncOperation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace LumoKit;
using testing::ElementsAre;

namespace {

struct Doing : Operation {
    explicit Doing(std::function<void()> what = [] { })
        : work(std::move(what))
    {
    }
    void main() override { work(); }
    std::function<void()> work;
};

/// Work that ends when the test says so.
struct Open : AsyncOperation {
    void main() override
    {
        AsyncOperation::main();
        if (isExecuting())
            begun.signal();
    }
    void end() { setState(State::finished); }
    DispatchSemaphore begun;
};

TEST(OperationQueue, RunsWhatIsAddedOnThreadsOfItsOwn)
{
    OperationQueue queue;
    std::thread::id thread;
    queue.addOperation([&] { thread = std::this_thread::get_id(); });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, OfOneRunsInTheOrderOfAdding)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    std::vector<int> order;
    for (int number = 0; number < 200; ++number)
        queue.addOperation([&order, number] { order.push_back(number); });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order.size(), 200U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST(OperationQueue, NeverExecutesMoreThanItsLimit)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(3);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 3);
    std::atomic<int> now = 0;
    std::atomic<int> most = 0;
    DispatchSemaphore three;
    for (int count = 0; count < 60; ++count)
        queue.addOperation([&, count] {
            const int here = ++now;
            for (int seen = most; here > seen && !most.compare_exchange_weak(seen, here);) { }
            if (count < 3) { // none of the first three ends before all are there
                if (here == 3)
                    for (int waiting = 0; waiting < 3; ++waiting)
                        three.signal();
                three.wait();
            }
            --now;
        });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(most, 3);
}

TEST(OperationQueue, CountsWorkThatGoesOnAfterItsStart)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    const auto first = std::make_shared<Open>();
    const auto second = std::make_shared<Open>();
    queue.addOperations({first, second}, false);
    first->begun.wait();
    EXPECT_THAT(queue.operations(), ElementsAre(first, second));
    EXPECT_FALSE(second->isExecuting());
    first->end(); // on this thread
    second->begun.wait();
    EXPECT_THAT(queue.operations(), ElementsAre(second));
    second->end();
    queue.waitUntilAllOperationsAreFinished();
}

TEST(OperationQueue, HoldsNoThreadForWorkThatGoesOn)
{
    OperationQueue queue;
    std::vector<std::shared_ptr<Open>> many;
    for (int count = 0; count < 300; ++count)
        queue.addOperation(many.emplace_back(std::make_shared<Open>()));
    for (const auto& operation : many)
        operation->begun.wait(); // all at once, although nobody has so many threads
    EXPECT_EQ(queue.operationCount(), 300U);
    for (const auto& operation : many)
        operation->end();
    queue.waitUntilAllOperationsAreFinished();
}

TEST(OperationQueue, StartsNothingWithALimitOfNone)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(0);
    const auto operation = std::make_shared<Doing>();
    queue.addOperation(operation);
    OperationQueue other;
    other.addOperation([] { });
    other.waitUntilAllOperationsAreFinished();
    EXPECT_FALSE(operation->isFinished());
    queue.setMaxConcurrentOperationCount(OperationQueue::defaultMaxConcurrentOperationCount);
    operation->waitUntilFinished();
}

TEST(OperationQueue, RunsWhatDependsOnOthersAfterThem)
{
    OperationQueue queue;
    OperationQueue other;
    std::mutex mutex;
    std::vector<std::string> order;
    const auto noting = [&](const char* name) {
        return std::make_shared<Doing>([&, name] {
            const std::lock_guard lock(mutex);
            order.emplace_back(name);
        });
    };
    const auto fetch = noting("fetch");
    const auto read = noting("read");
    const auto show = noting("show");
    read->addDependency(fetch);
    show->addDependency(read);
    queue.addOperation(show);
    other.addOperation(read); // of another queue
    queue.addOperation(fetch);
    show->waitUntilFinished();
    EXPECT_THAT(order, ElementsAre("fetch", "read", "show"));
}

TEST(OperationQueue, GoesOnBesideOperationsThatWaitForEachOther)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    const auto first = std::make_shared<Doing>();
    const auto second = std::make_shared<Doing>();
    first->addDependency(second);
    second->addDependency(first);
    const auto free = std::make_shared<Doing>();
    queue.addOperations({first, second, free}, false);
    free->waitUntilFinished();
    EXPECT_FALSE(first->isFinished() || second->isFinished());
    queue.cancelAllOperations();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(first->isFinished() && second->isFinished());
}

TEST(OperationQueue, FinishesWhatIsCancelledWithoutRunningIt)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    std::atomic<int> runs = 0;
    const auto first = std::make_shared<Open>();
    queue.addOperation(first);
    for (int count = 0; count < 20; ++count)
        queue.addOperation([&] { ++runs; });
    first->begun.wait();
    queue.cancelAllOperations();
    EXPECT_TRUE(first->isExecuting()); // it has not looked
    first->end();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 0);
}

TEST(OperationQueue, BlocksUntilAddedOperationsHaveFinished)
{
    OperationQueue queue;
    std::atomic<int> runs = 0;
    std::vector<std::shared_ptr<Operation>> many;
    for (int count = 0; count < 50; ++count)
        many.push_back(std::make_shared<Doing>([&] { ++runs; }));
    queue.addOperations(many, true);
    EXPECT_EQ(runs, 50);
}

TEST(OperationQueue, DropsWhatFinishesBeforeItIsStarted)
{
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(0);
    const auto operation = std::make_shared<Open>();
    queue.addOperation(operation);
    operation->end();
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, RunsWhatWasAddedAfterItIsReleased)
{
    std::atomic<int> runs = 0;
    const auto last = std::make_shared<Doing>([&] { ++runs; });
    {
        OperationQueue queue;
        queue.setMaxConcurrentOperationCount(1);
        for (int count = 0; count < 20; ++count)
            queue.addOperation([&] { ++runs; });
        queue.addOperation(last);
    }
    last->waitUntilFinished();
    EXPECT_EQ(runs, 21);
}

TEST(OperationQueue, LetsGoOfWhatHasFinished)
{
    OperationQueue queue;
    auto operation = std::make_shared<Open>();
    const std::weak_ptr gone = operation;
    queue.addOperation(operation);
    operation->begun.wait();
    operation->end();
    operation.reset();
    queue.waitUntilAllOperationsAreFinished();
    OperationQueue other; // by the time that another has run, the thread of the first is done with it
    for (int turn = 0; !gone.expired() && turn < 10'000; ++turn) {
        other.addOperation([] { });
        other.waitUntilAllOperationsAreFinished();
    }
    EXPECT_TRUE(gone.expired());
}

TEST(OperationQueue, OfTheMainThreadRunsThere)
{
    std::vector<bool> onMainThread;
    auto& queue = OperationQueue::mainQueue();
    queue.setMaxConcurrentOperationCount(7);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);
    for (int count = 0; count < 3; ++count)
        queue.addOperation([&] { onMainThread.push_back(isMainThread()); });
    EXPECT_TRUE(onMainThread.empty());
    EXPECT_TRUE(LumoKit::Test::waitUntil([&] { return onMainThread.size() == 3; }));
    EXPECT_THAT(onMainThread, ElementsAre(true, true, true));
}

TEST(OperationQueue, IsUsedFromManyThreads)
{
    OperationQueue queue;
    std::atomic<int> runs = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&] {
            std::shared_ptr<Operation> before;
            for (int count = 0; count < 100; ++count) {
                auto next = std::make_shared<Doing>([&] { ++runs; });
                if (before)
                    next->addDependency(before);
                queue.addOperation(next);
                if (count % 10 == 9)
                    next->cancel();
                before = next;
            }
        });
    for (auto& thread : threads)
        thread.join();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_GE(runs, 4 * 90);
}

TEST(OperationQueue, StopsTheProcessForAnOperationThatItCannotRun)
{
    OperationQueue queue;
    const auto operation = std::make_shared<Doing>();
    operation->start();
    EXPECT_DEATH(queue.addOperation(operation), "an operation is added that has been started");
    const auto added = std::make_shared<Doing>();
    queue.addOperations({added}, true);
    EXPECT_DEATH(queue.addOperation(added), "an operation is added that is in a queue, or was");
    EXPECT_DEATH(
        queue.setMaxConcurrentOperationCount(-2), "a queue cannot run a negative number of operations");
}

} // namespace
