#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Utility/DispatchQueue.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::waitUntil;

namespace {

using Clock = std::chrono::steady_clock;

TEST(Delay, RunsTheCallbackOnceAndNotBeforeItsTime)
{
    const auto start = Clock::now();
    std::optional<Clock::time_point> ran;
    int calls = 0;
    delay(0.02, DispatchQueue::main(), [&] {
        ran = Clock::now();
        ++calls;
    });
    EXPECT_EQ(calls, 0);
    ASSERT_TRUE(waitUntil([&] { return ran.has_value(); }));
    EXPECT_GE(*ran - start, std::chrono::milliseconds(20));
    bool later = false;
    delay(0.03, DispatchQueue::main(), [&] { later = true; });
    ASSERT_TRUE(waitUntil([&] { return later; }));
    EXPECT_EQ(calls, 1);
}

TEST(Delay, NeverRunsTheCallbackSynchronously)
{
    for (const double duration : {0.0, -1.0, -std::numeric_limits<double>::infinity(),
             std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min()}) {
        const auto ran = std::make_shared<bool>(false);
        delay(duration, DispatchQueue::main(), [ran] { *ran = true; });
        EXPECT_FALSE(*ran) << duration;
        EXPECT_TRUE(waitUntil([&] { return *ran; })) << duration;
    }
}

TEST(Delay, RunsTheCallbackOnTheGivenQueue)
{
    const auto queue = DispatchQueue::create("delayed");
    std::optional<bool> onMain;
    std::thread::id thread;
    DispatchSemaphore done;
    delay(0, queue, [&] {
        onMain = isMainThread();
        thread = std::this_thread::get_id();
        done.signal();
    });
    ASSERT_TRUE(done.wait(dispatchTimeAfter(20)));
    EXPECT_EQ(onMain, false);
    std::thread::id own;
    queue->async([&] {
        own = std::this_thread::get_id();
        done.signal();
    });
    ASSERT_TRUE(done.wait(dispatchTimeAfter(20)));
    EXPECT_EQ(thread, own);
}

TEST(Delay, ComesFromAnyThreadToTheMainQueue)
{
    const auto onMain = std::make_shared<bool>(false);
    std::jthread([&] { delay(0.001, DispatchQueue::main(), [onMain] { *onMain = isMainThread(); }); }).join();
    EXPECT_TRUE(waitUntil([&] { return *onMain; }));
}

TEST(Delay, RunsTheShorterOneFirst)
{
    std::vector<int> order;
    delay(0.03, DispatchQueue::main(), [&] { order.push_back(2); });
    delay(0.01, DispatchQueue::main(), [&] { order.push_back(1); });
    EXPECT_TRUE(waitUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(Delay, KeepsItsQueueOnlyAsLongAsNeeded)
{
    auto queue = DispatchQueue::create("released");
    const std::weak_ptr<DispatchQueue> watched(queue);
    DispatchSemaphore done;
    delay(0.005, queue, [&] { done.signal(); });
    queue.reset();
    EXPECT_TRUE(done.wait(dispatchTimeAfter(20))); // the callback runs all the same
    EXPECT_TRUE(watched.expired());
}

} // namespace
