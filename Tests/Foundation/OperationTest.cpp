#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Foundation/Operation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace LumoKit;
using testing::ElementsAre;

namespace {

struct Counting : Operation {
    void main() override { ++runs; }
    int runs = 0;
};

/// What an operation announces, and what it says of itself at that moment.
struct Following {
    explicit Following(Operation& operation)
    {
        for (const char* key : {"isReady", "isExecuting", "isFinished", "isCancelled"})
            observations.push_back(operation.observe(key, [this](const KeyValueChange& change) {
                seen.push_back(change.key + "=" + change.newValue.description());
            }));
    }
    std::vector<std::string> seen;
    std::vector<KeyValueObservation> observations;
};

TEST(Operation, RunsItsMainOnceAndAnnouncesItsProgress)
{
    const auto operation = std::make_shared<Counting>();
    const Following following(*operation);
    EXPECT_TRUE(operation->isReady());
    EXPECT_FALSE(operation->isAsynchronous());
    operation->start();
    EXPECT_EQ(operation->runs, 1);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_THAT(following.seen, ElementsAre("isExecuting=true", "isFinished=true", "isExecuting=false"));
    operation->start();
    EXPECT_EQ(operation->runs, 1);
}

TEST(Operation, IsExecutingWhileItsMainRuns)
{
    struct Looking : Operation {
        void main() override { wasExecuting = isExecuting() && !isFinished(); }
        bool wasExecuting = false;
    };
    const auto operation = std::make_shared<Looking>();
    operation->start();
    EXPECT_TRUE(operation->wasExecuting);
}

TEST(Operation, FinishesWithoutWorkWhenItWasCancelled)
{
    const auto operation = std::make_shared<Counting>();
    const Following following(*operation);
    operation->cancel();
    operation->cancel();
    operation->start();
    EXPECT_EQ(operation->runs, 0);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_THAT(following.seen, ElementsAre("isReady=true", "isCancelled=true", "isFinished=true"));
}

TEST(Operation, IsNotCancelledOnceItHasFinished)
{
    const auto operation = std::make_shared<Counting>();
    operation->start();
    operation->cancel();
    EXPECT_FALSE(operation->isCancelled());
}

TEST(Operation, IsReadyWhenAllThatItDependsOnHasFinished)
{
    const auto first = std::make_shared<Counting>();
    const auto second = std::make_shared<Counting>();
    const auto last = std::make_shared<Counting>();
    last->addDependency(first);
    last->addDependency(second);
    last->addDependency(second);
    const Following following(*last);
    EXPECT_THAT(last->dependencies(), ElementsAre(first, second));
    EXPECT_FALSE(last->isReady());
    second->start();
    EXPECT_FALSE(last->isReady());
    EXPECT_TRUE(following.seen.empty());
    first->start();
    EXPECT_TRUE(last->isReady());
    EXPECT_THAT(following.seen, ElementsAre("isReady=true"));
    EXPECT_THAT(last->dependencies(), ElementsAre(first, second));
    last->start();
    EXPECT_TRUE(last->dependencies().empty());
}

TEST(Operation, IsReadyAtOnceWithADependencyThatHasFinished)
{
    const auto first = std::make_shared<Counting>();
    first->start();
    const auto last = std::make_shared<Counting>();
    last->addDependency(first);
    EXPECT_TRUE(last->isReady());
}

TEST(Operation, NoLongerWaitsForADependencyThatWasRemoved)
{
    const auto first = std::make_shared<Counting>();
    const auto last = std::make_shared<Counting>();
    last->addDependency(first);
    const Following following(*last);
    last->removeDependency(*first);
    last->removeDependency(*first);
    EXPECT_TRUE(last->isReady());
    EXPECT_THAT(following.seen, ElementsAre("isReady=true"));
    first->start();
    EXPECT_EQ(following.seen.size(), 1U);
}

TEST(Operation, NoLongerWaitsWhenItIsCancelled)
{
    const auto first = std::make_shared<Counting>();
    const auto last = std::make_shared<Counting>();
    last->addDependency(first);
    last->cancel();
    EXPECT_TRUE(last->isReady());
    last->start();
    EXPECT_TRUE(last->isFinished());
}

TEST(Operation, InACircleIsLetGoWhenOneIsCancelled)
{
    const auto first = std::make_shared<Counting>();
    const auto second = std::make_shared<Counting>();
    first->addDependency(second);
    second->addDependency(first);
    const auto itself = std::make_shared<Counting>();
    itself->addDependency(itself);
    EXPECT_FALSE(first->isReady() || second->isReady() || itself->isReady());
    first->cancel();
    first->start();
    EXPECT_TRUE(second->isReady());
    second->start();
    EXPECT_EQ(second->runs, 1);
    itself->cancel();
    itself->start();
    const std::weak_ptr gone = itself;
    EXPECT_EQ(gone.use_count(), 1); // it does not keep itself
}

TEST(Operation, OfALongChainIsReleasedWithoutBeingRun)
{
    auto last = std::make_shared<Operation>();
    const std::weak_ptr first = last;
    for (int count = 0; count < 200'000; ++count) {
        const auto next = std::make_shared<Operation>();
        next->addDependency(last);
        last = next;
    }
    last.reset();
    EXPECT_TRUE(first.expired());
}

TEST(Operation, CallsItsCompletionOnceOnAThreadOfItsOwn)
{
    const auto operation = std::make_shared<Counting>();
    std::atomic<int> calls = 0;
    std::thread::id thread;
    bool hadFinished = false;
    DispatchSemaphore called;
    operation->setCompletionBlock([&] {
        ++calls;
        thread = std::this_thread::get_id();
        hadFinished = operation->isFinished();
        called.signal();
    });
    operation->start();
    called.wait();
    operation->start();
    EXPECT_TRUE(hadFinished);
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(calls, 1);
}

TEST(Operation, CallsItsCompletionAlsoWhenItWasCancelled)
{
    const auto operation = std::make_shared<Counting>();
    DispatchSemaphore called;
    operation->setCompletionBlock([&] { called.signal(); });
    operation->cancel();
    operation->start();
    called.wait();
}

TEST(Operation, IsWaitedForUntilItHasFinished)
{
    const auto operation = std::make_shared<Counting>();
    std::thread other([&] { operation->start(); });
    operation->waitUntilFinished();
    EXPECT_TRUE(operation->isFinished());
    other.join();
    operation->waitUntilFinished();
}

TEST(Operation, BecomesReadyOnceHoweverManyThreadsFinishWhatItDependsOn)
{
    for (int round = 0; round < 50; ++round) {
        std::vector<std::shared_ptr<Operation>> many;
        const auto last = std::make_shared<Operation>();
        for (int count = 0; count < 8; ++count)
            last->addDependency(many.emplace_back(std::make_shared<Operation>()));
        std::atomic<int> times = 0;
        const auto observation = last->observe("isReady", [&](const KeyValueChange&) { ++times; });
        std::vector<std::thread> threads;
        for (const auto& operation : many)
            threads.emplace_back([&] { operation->start(); });
        for (auto& thread : threads)
            thread.join();
        EXPECT_TRUE(last->isReady());
        EXPECT_EQ(times, 1);
    }
}

TEST(Operation, StopsTheProcessWhenItIsStartedBeforeItIsReady)
{
    const auto first = std::make_shared<Operation>();
    const auto last = std::make_shared<Operation>();
    last->addDependency(first);
    EXPECT_DEATH(last->start(), "an operation is started before it is ready");
}

TEST(Operation, StopsTheProcessWhenItIsStartedWhileItIsExecuting)
{
    struct Restarting : Operation {
        void main() override { start(); }
    };
    EXPECT_DEATH(std::make_shared<Restarting>()->start(), "an operation is started while it is executing");
}

} // namespace
