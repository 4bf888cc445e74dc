#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

using namespace LumoKit;

namespace {

using Clock = std::chrono::steady_clock;

/// Long enough for anything that happens at all.
DispatchTime bound()
{
    return dispatchTimeAfter(20);
}

TEST(DispatchSemaphore, LetsAsManyWaitsThroughAsItStartedWith)
{
    DispatchSemaphore semaphore(2);
    EXPECT_TRUE(semaphore.wait(bound()));
    EXPECT_TRUE(semaphore.wait(bound()));
    EXPECT_FALSE(semaphore.wait(Clock::now()));
}

TEST(DispatchSemaphore, IsClosedAtFirst)
{
    DispatchSemaphore semaphore;
    EXPECT_FALSE(semaphore.wait(Clock::now()));
}

TEST(DispatchSemaphore, RemembersSignalsThatNobodyWaitsFor)
{
    DispatchSemaphore semaphore;
    semaphore.signal();
    semaphore.signal();
    semaphore.wait();
    semaphore.wait();
    EXPECT_FALSE(semaphore.wait(Clock::now()));
}

TEST(DispatchSemaphore, TakesWhatIsThereAlsoAfterTheDeadline)
{
    DispatchSemaphore semaphore(1);
    EXPECT_TRUE(semaphore.wait(dispatchTimeAfter(-1)));
    EXPECT_FALSE(semaphore.wait(dispatchTimeAfter(-1)));
    EXPECT_FALSE(semaphore.wait(DispatchTime::min()));
}

TEST(DispatchSemaphore, GivesUpAtTheDeadlineAndNotBefore)
{
    DispatchSemaphore semaphore;
    const DispatchTime deadline = dispatchTimeAfter(0.02);
    EXPECT_FALSE(semaphore.wait(deadline));
    EXPECT_GE(Clock::now(), deadline);
}

TEST(DispatchSemaphore, WaitsForADeadlineBeyondAllClocks)
{
    DispatchSemaphore semaphore;
    const std::jthread signaller([&] { semaphore.signal(); });
    EXPECT_TRUE(semaphore.wait(DispatchTime::max()));
}

TEST(DispatchSemaphore, WakesAThreadThatWaits)
{
    DispatchSemaphore asked;
    DispatchSemaphore answered;
    const std::jthread other([&] {
        asked.wait();
        answered.signal();
    });
    EXPECT_FALSE(answered.wait(Clock::now()));
    asked.signal();
    EXPECT_TRUE(answered.wait(bound()));
}

TEST(DispatchSemaphore, WakesOneThreadForEachSignal)
{
    DispatchSemaphore semaphore;
    DispatchSemaphore through;
    std::atomic<int> woken = 0;
    std::vector<std::jthread> threads;
    for (int index = 0; index < 4; ++index)
        threads.emplace_back([&] {
            semaphore.wait();
            ++woken;
            through.signal();
        });
    semaphore.signal();
    semaphore.signal();
    EXPECT_TRUE(through.wait(bound()));
    EXPECT_TRUE(through.wait(bound()));
    EXPECT_EQ(woken, 2);
    semaphore.signal();
    semaphore.signal();
    threads.clear();
    EXPECT_EQ(woken, 4);
}

TEST(DispatchSemaphore, MayGoAsSoonAsTheWaitHasReturned)
{
    for (int round = 0; round < 200; ++round) {
        auto semaphore = std::make_unique<DispatchSemaphore>();
        const std::jthread signaller([raw = semaphore.get()] { raw->signal(); });
        semaphore->wait();
        semaphore.reset();
    }
}

} // namespace
