#include <LumoKit/Platform/Dispatch/DispatchGroup.h>
#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>

#include <Support/Waiting.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::runPendingTurns;
using LumoKit::Test::waitUntil;

namespace {

using Clock = std::chrono::steady_clock;

DispatchTime bound()
{
    return dispatchTimeAfter(20);
}

TEST(DispatchGroup, DoesNotWaitWhenNothingWasEntered)
{
    DispatchGroup group;
    group.wait();
    EXPECT_TRUE(group.wait(dispatchTimeAfter(-1)));
}

TEST(DispatchGroup, WaitsForAllThatEntered)
{
    DispatchGroup group;
    std::atomic<int> done = 0;
    std::vector<std::jthread> threads;
    for (int index = 0; index < 8; ++index) {
        group.enter();
        threads.emplace_back([&] {
            ++done;
            group.leave();
        });
    }
    group.wait();
    EXPECT_EQ(done, 8);
}

TEST(DispatchGroup, GivesUpAtTheDeadlineAndNotBefore)
{
    DispatchGroup group;
    group.enter();
    const DispatchTime deadline = dispatchTimeAfter(0.02);
    EXPECT_FALSE(group.wait(deadline));
    EXPECT_GE(Clock::now(), deadline);
    EXPECT_FALSE(group.wait(dispatchTimeAfter(-1)));
    group.leave();
    EXPECT_TRUE(group.wait(dispatchTimeAfter(-1)));
}

TEST(DispatchGroup, SaysThatItEmptiedBeforeTheDeadline)
{
    DispatchGroup group;
    group.enter();
    const std::jthread other([&] { group.leave(); });
    EXPECT_TRUE(group.wait(bound()));
}

TEST(DispatchGroup, CountsEveryEntering)
{
    DispatchGroup group;
    group.enter();
    group.enter();
    group.leave();
    EXPECT_FALSE(group.wait(Clock::now()));
    group.leave();
    EXPECT_TRUE(group.wait(Clock::now()));
}

TEST(DispatchGroup, WakesEveryThreadThatWaits)
{
    DispatchGroup group;
    group.enter();
    std::atomic<int> woken = 0;
    std::vector<std::jthread> threads;
    for (int index = 0; index < 4; ++index)
        threads.emplace_back([&] {
            if (group.wait(bound()))
                ++woken;
        });
    group.leave();
    threads.clear();
    EXPECT_EQ(woken, 4);
}

TEST(DispatchGroup, MayBeUsedAgainAfterItEmptied)
{
    DispatchGroup group;
    group.enter();
    group.leave();
    group.enter();
    EXPECT_FALSE(group.wait(Clock::now()));
    group.leave();
    EXPECT_TRUE(group.wait(Clock::now()));
}

TEST(DispatchGroup, NotifiesAtOnceButNotSynchronouslyWhenNothingIsUnderWay)
{
    DispatchGroup group;
    bool notified = false;
    group.notify(DispatchQueue::main(), [&] { notified = true; });
    EXPECT_FALSE(notified);
    EXPECT_TRUE(waitUntil([&] { return notified; }));
}

TEST(DispatchGroup, NotifiesWhenTheLastOneHasLeft)
{
    DispatchGroup group;
    bool notified = false;
    group.enter();
    group.enter();
    group.notify(DispatchQueue::main(), [&] { notified = true; });
    group.leave();
    runPendingTurns();
    EXPECT_FALSE(notified);
    group.leave();
    EXPECT_FALSE(notified);
    EXPECT_TRUE(waitUntil([&] { return notified; }));
}

TEST(DispatchGroup, NotifiesOnTheGivenQueue)
{
    DispatchGroup group;
    const auto queue = DispatchQueue::create("notified");
    std::thread::id thread;
    DispatchSemaphore done;
    group.enter();
    group.notify(queue, [&] {
        thread = std::this_thread::get_id();
        done.signal();
    });
    group.leave();
    ASSERT_TRUE(done.wait(bound()));
    std::thread::id own;
    queue->async([&] {
        own = std::this_thread::get_id();
        done.signal();
    });
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_EQ(thread, own);
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(DispatchGroup, SendsEveryNotificationOnceInTheirOrder)
{
    DispatchGroup group;
    std::vector<int> notified;
    group.enter();
    for (int number = 1; number <= 3; ++number)
        group.notify(DispatchQueue::main(), [&, number] { notified.push_back(number); });
    group.leave();
    EXPECT_TRUE(waitUntil([&] { return notified.size() == 3; }));
    group.enter();
    group.leave();
    runPendingTurns();
    EXPECT_EQ(notified, (std::vector{1, 2, 3}));
}

TEST(DispatchGroup, NotifiesAfterItIsGone)
{
    bool notified = false;
    {
        DispatchGroup group;
        group.enter();
        group.notify(DispatchQueue::main(), [&] { notified = true; });
        group.leave();
    }
    EXPECT_TRUE(waitUntil([&] { return notified; }));
}

TEST(DispatchGroup, NeverNotifiesWhenReleasedWhileEntered)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    bool notified = false;
    {
        DispatchGroup group;
        group.enter();
        group.notify(DispatchQueue::main(), [&, captured = std::move(captured)] { notified = true; });
    }
    EXPECT_TRUE(watched.expired());
    runPendingTurns();
    EXPECT_FALSE(notified);
}

TEST(DispatchGroup, MayGoAsSoonAsTheWaitHasReturned)
{
    for (int round = 0; round < 200; ++round) {
        auto group = std::make_unique<DispatchGroup>();
        group->enter();
        const std::jthread other([raw = group.get()] { raw->leave(); });
        group->wait();
        group.reset();
    }
}

TEST(DispatchGroup, LetsANotificationUseItAgain)
{
    DispatchGroup group;
    std::vector<std::string> steps;
    group.enter();
    group.notify(DispatchQueue::main(), [&] {
        steps.emplace_back("first");
        group.enter();
        group.notify(DispatchQueue::main(), [&] { steps.emplace_back("second"); });
        group.leave();
    });
    group.leave();
    EXPECT_TRUE(waitUntil([&] { return steps.size() == 2; }));
    EXPECT_EQ(steps, (std::vector<std::string>{"first", "second"}));
}

TEST(DispatchGroupDeathTest, StopsTheProcessWhenLeftTooOften)
{
    DispatchGroup group;
    EXPECT_DEATH(
        group.leave(), ::testing::StartsWith("Fatal error: Unbalanced call to DispatchGroup::leave()"));
    group.enter();
    group.leave();
    EXPECT_DEATH(group.leave(), "Unbalanced call to DispatchGroup::leave\\(\\)");
}

} // namespace
