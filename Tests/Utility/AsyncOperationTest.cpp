#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Foundation/OperationQueue.h>
#include <LumoKit/Utility/AsyncOperation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace LumoKit;
using testing::ElementsAre;
using State = AsyncOperation::State;

namespace {

/// Keeps every announcement with the state at that moment.
struct Announcing : AsyncOperation {
    void willChangeValue(std::string_view forKey) override
    {
        note("will", forKey);
        AsyncOperation::willChangeValue(forKey);
    }
    using AsyncOperation::didChangeValue;
    void didChangeValue(std::string_view forKey) override
    {
        note("did", forKey);
        AsyncOperation::didChangeValue(forKey);
    }
    void main() override
    {
        ++mains;
        AsyncOperation::main();
    }
    void note(const char* when, std::string_view key)
    {
        announced.push_back(
            std::string(when) + " " + std::string(key) + " " + std::string(rawValue(state())));
    }

    std::vector<std::string> announced;
    int mains = 0;
};

TEST(AsyncOperation, HasStatesWithTexts)
{
    EXPECT_EQ(rawValue(State::ready), "Ready");
    EXPECT_EQ(rawValue(State::executing), "Executing");
    EXPECT_EQ(rawValue(State::finished), "Finished");
    EXPECT_EQ(fromRawValue<State>("Executing"), State::executing);
    EXPECT_EQ(fromRawValue<State>("executing"), std::nullopt);
    EXPECT_EQ(fromRawValue<State>("Cancelled"), std::nullopt);
}

TEST(AsyncOperation, SaysWhatItsStateIs)
{
    const auto operation = std::make_shared<AsyncOperation>();
    EXPECT_TRUE(operation->isAsynchronous());
    EXPECT_EQ(operation->state(), State::ready);
    EXPECT_FALSE(operation->isExecuting() || operation->isFinished());
    operation->setState(State::executing);
    EXPECT_TRUE(operation->isExecuting() && !operation->isFinished());
    operation->setState(State::finished);
    EXPECT_TRUE(!operation->isExecuting() && operation->isFinished());
    EXPECT_TRUE(operation->isReady()); // that is of its dependencies
}

TEST(AsyncOperation, AnnouncesTheOldStateFirstBeforeAndLastAfterAChange)
{
    const auto operation = std::make_shared<Announcing>();
    operation->setState(State::executing);
    EXPECT_THAT(operation->announced,
        ElementsAre("will isReady Ready", "will isExecuting Ready", "did isExecuting Executing",
            "did isReady Executing"));
}

TEST(AsyncOperation, AnnouncesAStateThatStaysTwice)
{
    const auto operation = std::make_shared<Announcing>();
    operation->setState(State::ready);
    EXPECT_THAT(operation->announced,
        ElementsAre("will isReady Ready", "will isReady Ready", "did isReady Ready", "did isReady Ready"));
}

TEST(AsyncOperation, IsReadyWhenItStartsAndExecutingFromItsMainOn)
{
    const auto operation = std::make_shared<Announcing>();
    operation->start();
    EXPECT_TRUE(operation->isExecuting());
    EXPECT_EQ(operation->mains, 1);
    EXPECT_THAT(operation->announced,
        ElementsAre("will isReady Ready", "will isReady Ready", "did isReady Ready", "did isReady Ready",
            "will isReady Ready", "will isExecuting Ready", "did isExecuting Executing",
            "did isReady Executing"));
}

TEST(AsyncOperation, TellsObserversOfReadyBeforeExecuting)
{
    const auto operation = std::make_shared<AsyncOperation>();
    std::vector<std::string> seen;
    const auto note = [&](const KeyValueChange& change) {
        seen.push_back(
            change.key + " " + change.oldValue.description() + " " + change.newValue.description());
    };
    const auto ready = operation->observe("isReady", note);
    const auto executing = operation->observe("isExecuting", note);
    operation->start();
    EXPECT_THAT(seen,
        ElementsAre("isReady true true", "isReady true true", "isExecuting false true", "isReady true true"));
}

TEST(AsyncOperation, GoesStraightToFinishedWhenItIsCancelled)
{
    const auto operation = std::make_shared<Announcing>();
    operation->cancel();
    operation->announced.clear();
    operation->start();
    EXPECT_EQ(operation->mains, 0);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_THAT(operation->announced,
        ElementsAre("will isReady Ready", "will isFinished Ready", "did isFinished Finished",
            "did isReady Finished"));
}

TEST(AsyncOperation, FinishesWhenItIsCancelledBetweenItsStartAndItsMain)
{
    struct Cancelling : Announcing {
        void main() override
        {
            cancel();
            Announcing::main();
        }
    };
    const auto operation = std::make_shared<Cancelling>();
    operation->start();
    EXPECT_EQ(operation->mains, 1);
    EXPECT_TRUE(operation->isFinished());
}

TEST(AsyncOperation, AnnouncesOnTheThreadThatSetsTheState)
{
    const auto operation = std::make_shared<AsyncOperation>();
    operation->start();
    std::thread::id told;
    const auto observation =
        operation->observe("isFinished", [&](const KeyValueChange&) { told = std::this_thread::get_id(); });
    std::thread other([&] { operation->setState(State::finished); });
    const auto expected = other.get_id();
    other.join();
    EXPECT_EQ(told, expected);
}

TEST(AsyncOperation, LeavesItsQueueWhenItsWorkEnds)
{
    struct Later : AsyncOperation {
        void main() override
        {
            AsyncOperation::main();
            if (!isExecuting())
                return;
            DispatchQueue::create("work")->async(
                [self = std::static_pointer_cast<Later>(shared_from_this())] {
                    self->end.wait();
                    self->setState(State::finished);
                });
            begun.signal();
        }
        DispatchSemaphore begun;
        DispatchSemaphore end;
    };
    OperationQueue queue;
    const auto operation = std::make_shared<Later>();
    DispatchSemaphore completed;
    operation->setCompletionBlock([&] { completed.signal(); });
    queue.addOperation(operation);
    operation->begun.wait();
    EXPECT_EQ(queue.operationCount(), 1U);
    operation->end.signal();
    queue.waitUntilAllOperationsAreFinished();
    completed.wait();
    EXPECT_TRUE(operation->isFinished());
}

TEST(AsyncOperation, LetsWhatDependsOnItRunWhenItsWorkEnds)
{
    OperationQueue queue;
    const auto first = std::make_shared<AsyncOperation>();
    const auto second = std::make_shared<AsyncOperation>();
    second->addDependency(first);
    queue.addOperations({second, first}, false);
    while (!first->isExecuting())
        std::this_thread::yield();
    EXPECT_FALSE(second->isReady());
    first->setState(State::finished);
    while (!second->isExecuting())
        std::this_thread::yield();
    second->setState(State::finished);
    queue.waitUntilAllOperationsAreFinished();
}

TEST(AsyncOperation, IsNotStartedByAQueueOnceItIsCancelled)
{
    OperationQueue queue;
    const auto operation = std::make_shared<Announcing>();
    operation->cancel();
    queue.addOperations({operation}, true);
    EXPECT_EQ(operation->mains, 0);
    EXPECT_TRUE(operation->isFinished());
}

} // namespace
