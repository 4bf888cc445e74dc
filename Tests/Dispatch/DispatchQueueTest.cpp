#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Source.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::runPendingTurns;
using LumoKit::Test::waitUntil;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

DispatchTime bound()
{
    return dispatchTimeAfter(20);
}

/// Is busy on the calling thread until the clock shows `moment`, as a long piece of work is.
void workUntil(DispatchTime moment)
{
    while (Clock::now() < moment) { }
}

/// Calls back in every turn of the main loop in which nothing of a higher priority is due.
class EveryTurn {
public:
    EveryTurn(int priority, std::function<void()> function)
        : callback(std::move(function))
    {
        GSource* idle = g_idle_source_new();
        g_source_set_priority(idle, priority);
        g_source_set_callback(
            idle,
            +[](gpointer self) -> gboolean {
                static_cast<EveryTurn*>(self)->callback();
                return G_SOURCE_CONTINUE;
            },
            this, nullptr);
        g_source_attach(idle, nullptr);
        source = detail::Source::adopt(idle);
    }
    EveryTurn(const EveryTurn&) = delete;
    EveryTurn& operator=(const EveryTurn&) = delete;

private:
    std::function<void()> callback;
    detail::Source source;
};

constexpr int priorityOfInput = G_PRIORITY_DEFAULT; // GDK_PRIORITY_EVENTS
constexpr int priorityOfDrawing = G_PRIORITY_HIGH_IDLE + 20; // GDK_PRIORITY_REDRAW

// ---- the main queue
// -------------------------------------------------------------------------------------------------

TEST(MainQueue, RunsWorkInOrderOnTheMainThread)
{
    std::vector<int> order;
    bool everywhereMain = true;
    for (int number = 0; number < 100; ++number)
        DispatchQueue::main()->async([&, number] {
            order.push_back(number);
            everywhereMain = everywhereMain && isMainThread();
        });
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(waitUntil([&] { return order.size() == 100; }));
    for (int number = 0; number < 100; ++number)
        EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
    EXPECT_TRUE(everywhereMain);
}

TEST(MainQueue, IsTheSameForEveryThread)
{
    std::shared_ptr<DispatchQueue> other;
    std::jthread([&] { other = DispatchQueue::main(); }).join();
    EXPECT_EQ(other, DispatchQueue::main());
}

TEST(MainQueue, LosesNothingFromManyThreadsAndKeepsTheOrderOfEach)
{
    constexpr int threadCount = 4;
    constexpr int each = 5000;
    std::array<int, threadCount> next{};
    int outOfOrder = 0;
    int total = 0;
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&, thread] {
            for (int number = 0; number < each; ++number)
                DispatchQueue::main()->async([&, thread, number] {
                    outOfOrder += next[thread] != number;
                    next[thread] = number + 1;
                    ++total;
                });
        });
    EXPECT_TRUE(waitUntil([&] { return total == threadCount * each; }));
    EXPECT_EQ(outOfOrder, 0);
}

TEST(MainQueue, WakesALoopThatHasNothingElseToDo)
{
    std::atomic<bool> done = false;
    const std::jthread other([&] { DispatchQueue::main()->async([&] { done = true; }); });
    EXPECT_TRUE(waitUntil([&] { return done.load(); }));
}

TEST(MainQueue, RunsWorkThatIsPostedDuringATurnInALaterOne)
{
    bool first = false;
    bool second = false;
    DispatchQueue::main()->async([&] {
        first = true;
        DispatchQueue::main()->async([&] { second = true; });
    });
    while (!first)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_FALSE(second);
    EXPECT_TRUE(waitUntil([&] { return second; }));
}

TEST(MainQueue, GoesOnInANestedLoopWithWorkThatWasPostedThere)
{
    bool nested = false;
    bool finished = false;
    DispatchQueue::main()->async([&] {
        DispatchQueue::main()->async([&] { nested = true; });
        finished = waitUntil([&] { return nested; });
    });
    EXPECT_TRUE(waitUntil([&] { return finished || nested; }));
    EXPECT_TRUE(finished);
}

TEST(MainQueue, GoesOnInANestedLoopWithWorkThatWasQueuedBefore)
{
    std::vector<int> order;
    bool entered = false;
    bool wentOn = false;
    DispatchQueue::main()->async([&] {
        order.push_back(1);
        wentOn =
            waitUntil([&] { return order.size() == 3; }); // a modal panel that the next piece of work closes
        entered = true;
    });
    DispatchQueue::main()->async([&] { order.push_back(2); });
    DispatchQueue::main()->async([&] { order.push_back(3); });
    EXPECT_TRUE(waitUntil([&] { return entered; }));
    EXPECT_TRUE(wentOn);
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(MainQueue, FinishesItsTurnAfterANestedLoopTookTheRest)
{
    std::vector<int> order;
    bool left = false;
    DispatchQueue::main()->async([&] {
        DispatchQueue::main()->async([&] { order.push_back(2); });
        static_cast<void>(waitUntil([&] { return order.size() == 2; }));
        left = true;
    });
    DispatchQueue::main()->async([&] { order.push_back(1); });
    ASSERT_TRUE(waitUntil([&] { return left; }));
    DispatchQueue::main()->async([&] { order.push_back(3); });
    EXPECT_TRUE(waitUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

/// Work that posts itself again for ever, until the test ends.
class Flood {
public:
    Flood() { post(running); }
    ~Flood()
    {
        *running = false;
        runPendingTurns();
    }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

private:
    static void post(const std::shared_ptr<bool>& running)
    {
        DispatchQueue::main()->async([running] {
            if (*running)
                post(running);
        });
    }

    const std::shared_ptr<bool> running = std::make_shared<bool>(true);
};

TEST(MainQueue, LeavesInputItsTurnsUnderAnEndlessFlood)
{
    const Flood flood;
    int turns = 0;
    const EveryTurn input(priorityOfInput, [&] { ++turns; });
    EXPECT_TRUE(waitUntil([&] { return turns >= 20; }));
}

TEST(MainQueue, LeavesDrawingItsTurnsUnderAnEndlessFlood)
{
    const Flood flood;
    int turns = 0;
    const EveryTurn drawing(priorityOfDrawing, [&] { ++turns; });
    EXPECT_TRUE(waitUntil([&] { return turns >= 20; }));
}

TEST(MainQueue, GetsItsTurnsBesideDrawingThatNeverEnds)
{
    const EveryTurn drawing(priorityOfDrawing, [] { });
    int left = 200;
    std::function<void()> next = [&] {
        if (--left > 0)
            DispatchQueue::main()->async([&] { next(); });
    };
    DispatchQueue::main()->async([&] { next(); });
    EXPECT_TRUE(waitUntil([&] { return left == 0; }));
}

TEST(MainQueue, ComesBeforeDrawingAgainAfterAFlood)
{
    {
        const Flood flood;
        int turns = 0;
        const EveryTurn drawing(priorityOfDrawing, [&] { ++turns; });
        ASSERT_TRUE(waitUntil([&] { return turns >= 3; }));
    }
    std::vector<std::string> order;
    const EveryTurn drawing(priorityOfDrawing, [&] { order.emplace_back("drawing"); });
    DispatchQueue::main()->async([&] { order.emplace_back("work"); });
    ASSERT_TRUE(waitUntil([&] { return order.size() >= 2; }));
    EXPECT_EQ(order.front(), "work");
}

TEST(MainQueue, SpreadsALongQueueOverSeveralTurns)
{
    int turns = 0;
    const EveryTurn drawing(priorityOfDrawing, [&] { ++turns; });
    int done = 0;
    int turnsBetween = 0;
    for (int number = 0; number < 40; ++number)
        DispatchQueue::main()->async([&] {
            if (done++ == 0)
                turns = 0;
            workUntil(Clock::now() + 1ms);
            turnsBetween = turns;
        });
    EXPECT_TRUE(waitUntil([&] { return done == 40; }));
    EXPECT_GE(turnsBetween, 4);
}

TEST(MainQueue, KeepsTheOrderOfAQueueThatIsSpreadOverSeveralTurns)
{
    std::vector<int> order;
    for (int number = 0; number < 12; ++number)
        DispatchQueue::main()->async([&, number] {
            order.push_back(number);
            DispatchQueue::main()->async([&, number] { order.push_back(100 + number); });
            workUntil(Clock::now() + 1ms);
        });
    ASSERT_TRUE(waitUntil([&] { return order.size() == 24; }));
    for (std::size_t index = 0; index < 12; ++index) {
        EXPECT_EQ(order[index], static_cast<int>(index));
        EXPECT_EQ(order[12 + index], 100 + static_cast<int>(index));
    }
}

TEST(MainQueue, ReleasesWhatWorkCapturedBeforeTheNextPieceRuns)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    std::optional<bool> releasedBefore;
    DispatchQueue::main()->async([captured = std::move(captured)] { });
    DispatchQueue::main()->async([&] { releasedBefore = watched.expired(); });
    ASSERT_TRUE(waitUntil([&] { return releasedBefore.has_value(); }));
    EXPECT_TRUE(*releasedBefore);
}

TEST(MainQueue, RunsWorkThatCanOnlyBeMoved)
{
    int seen = 0;
    DispatchQueue::main()->async([&, number = std::make_unique<int>(5)] { seen = *number; });
    EXPECT_TRUE(waitUntil([&] { return seen == 5; }));
}

TEST(MainQueue, LetsADestructorOfWhatWasCapturedPostAgain)
{
    struct Poster {
        explicit Poster(bool& flag)
            : done(flag)
        {
        }
        Poster(const Poster&) = delete;
        Poster& operator=(const Poster&) = delete;
        ~Poster()
        {
            DispatchQueue::main()->async([&flag = done] { flag = true; });
        }
        bool& done;
    };
    bool done = false;
    DispatchQueue::main()->async([poster = std::make_unique<Poster>(done)] { });
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

TEST(MainQueue, HasTheNameAndUrgencyOfTheInterface)
{
    EXPECT_EQ(DispatchQueue::main()->label(), "main");
    EXPECT_EQ(DispatchQueue::main()->qos(), DispatchQoS::userInteractive);
}

TEST(MainQueue, RunsDelayedWorkOnTheMainThreadAndNeverEarly)
{
    const DispatchTime deadline = dispatchTimeAfter(0.02);
    std::optional<DispatchTime> ran;
    bool onMain = false;
    DispatchQueue::main()->asyncAfter(deadline, [&] {
        ran = Clock::now();
        onMain = isMainThread();
    });
    ASSERT_TRUE(waitUntil([&] { return ran.has_value(); }));
    EXPECT_GE(*ran, deadline);
    EXPECT_TRUE(onMain);
}

TEST(MainQueue, TakesDelayedWorkFromOtherThreads)
{
    std::atomic<bool> onMain = false;
    std::jthread([&] {
        DispatchQueue::main()->asyncAfter(dispatchTimeAfter(0.005), [&] { onMain = isMainThread(); });
    }).join();
    EXPECT_TRUE(waitUntil([&] { return onMain.load(); }));
}

TEST(MainQueue, RunsDelayedWorkInTheOrderOfItsDeadlines)
{
    std::vector<int> order;
    const auto start = Clock::now();
    for (const int delay : {30, 10, 20})
        DispatchQueue::main()->asyncAfter(
            start + std::chrono::milliseconds(delay), [&, delay] { order.push_back(delay); });
    ASSERT_TRUE(waitUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector{10, 20, 30}));
}

TEST(MainQueue, KeepsTheOrderOfDeadlinesThatALongPieceOfWorkLetPass)
{
    std::vector<int> order;
    const auto start = Clock::now();
    for (const int delay : {6, 2, 4})
        DispatchQueue::main()->asyncAfter(
            start + std::chrono::milliseconds(delay), [&, delay] { order.push_back(delay); });
    workUntil(start + 10ms);
    ASSERT_TRUE(waitUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector{2, 4, 6}));
}

TEST(MainQueue, TakesAPastDeadlineForNowButNeverRunsSynchronously)
{
    for (const DispatchTime deadline : {Clock::now(), dispatchTimeAfter(-1), dispatchTimeAfter(-1e300),
             DispatchTime(), DispatchTime::min()}) {
        bool ran = false;
        DispatchQueue::main()->asyncAfter(deadline, [&] { ran = true; });
        EXPECT_FALSE(ran);
        EXPECT_TRUE(waitUntil([&] { return ran; })) << deadline.time_since_epoch().count();
        if (!ran)
            FAIL() << "the work would write to a variable that is gone";
    }
}

TEST(MainQueue, NeverRunsWorkWhoseDeadlineIsFarAway)
{
    const auto ran = std::make_shared<bool>(false);
    for (const DispatchTime deadline :
        {DispatchTime::max(), dispatchTimeAfter(1e300), dispatchTimeAfter(3600)})
        DispatchQueue::main()->asyncAfter(deadline, [ran] { *ran = true; });
    bool later = false;
    DispatchQueue::main()->asyncAfter(dispatchTimeAfter(0.01), [&] { later = true; });
    EXPECT_TRUE(waitUntil([&] { return later; }));
    EXPECT_FALSE(*ran);
}

TEST(MainQueue, ReleasesWhatDelayedWorkCaptured)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    DispatchQueue::main()->asyncAfter(dispatchTimeAfter(0.002), [captured = std::move(captured)] { });
    EXPECT_TRUE(waitUntil([&] { return watched.expired(); }));
}

TEST(MainQueueDeathTest, EndsTheProcessWhenWorkThrows)
{
    EXPECT_DEATH(
        {
            DispatchQueue::main()->async([] { throw std::runtime_error("from work"); });
            runPendingTurns();
        },
        "from work");
}

// ---- queues with a thread of their own
// ------------------------------------------------------------------------------

/// The threads of this process whose name is `name`.
int threadsNamed(const std::string& name)
{
    int count = 0;
    std::error_code gone;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        std::ifstream file(thread.path() / "comm");
        std::string text;
        count += std::getline(file, text) && text == name;
    }
    return count;
}

/// Waits for something that no event of the main loop tells of.
bool waitForThreads(const std::function<bool()>& condition)
{
    const detail::Source ticks = [] {
        GSource* source = g_timeout_source_new(10);
        g_source_set_callback(
            source, +[](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
        g_source_attach(source, nullptr);
        return detail::Source::adopt(source);
    }();
    return waitUntil(condition);
}

TEST(DispatchQueue, RunsWorkInOrder)
{
    const auto queue = DispatchQueue::create("order");
    std::vector<int> order;
    DispatchSemaphore done;
    for (int number = 0; number < 1000; ++number)
        queue->async([&, number] { order.push_back(number); });
    queue->async([&] { done.signal(); });
    ASSERT_TRUE(done.wait(bound()));
    ASSERT_EQ(order.size(), 1000u);
    for (int number = 0; number < 1000; ++number)
        EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
}

TEST(DispatchQueue, RunsOnePieceAtATime)
{
    const auto queue = DispatchQueue::create("one");
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    std::atomic<int> left = 200;
    DispatchSemaphore done;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int number = 0; number < 50; ++number)
                queue->async([&] {
                    most = std::max(most.load(), ++running);
                    std::this_thread::yield();
                    --running;
                    if (--left == 0)
                        done.signal();
                });
        });
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_EQ(most, 1);
}

TEST(DispatchQueue, NeverRunsWorkOnTheThreadThatPostsIt)
{
    const auto queue = DispatchQueue::create("own thread");
    std::thread::id thread;
    DispatchSemaphore done;
    queue->async([&] {
        thread = std::this_thread::get_id();
        EXPECT_FALSE(isMainThread());
        done.signal();
    });
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(DispatchQueue, RunsWorkThatItsOwnWorkPostsAfterwards)
{
    const auto queue = DispatchQueue::create("reposting");
    std::vector<int> order;
    DispatchSemaphore done;
    queue->async([&] {
        queue->async([&] {
            order.push_back(2);
            done.signal();
        });
        order.push_back(1);
    });
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(DispatchQueue, RunsBesideOtherQueues)
{
    const auto first = DispatchQueue::create("first");
    const auto second = DispatchQueue::create("second");
    DispatchSemaphore go;
    DispatchSemaphore done;
    bool went = false;
    first->async([&] {
        went = go.wait(bound());
        done.signal();
    });
    second->async([&] { go.signal(); });
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_TRUE(went);
}

TEST(DispatchQueue, NamesItsThreadAfterItsLabel)
{
    struct Case {
        const char* label;
        const char* name;
    };
    for (const auto& [label, expected] : {Case{"short", "short"}, Case{"exactly fifteen", "exactly fifteen"},
             Case{"a label that is too long for a thread", "a label that is"}}) {
        const auto queue = DispatchQueue::create(label);
        EXPECT_EQ(queue->label(), label);
        std::array<char, 32> name{};
        DispatchSemaphore done;
        queue->async([&] {
            ::pthread_getname_np(::pthread_self(), name.data(), name.size());
            done.signal();
        });
        ASSERT_TRUE(done.wait(bound()));
        EXPECT_STREQ(name.data(), expected);
    }
}

int nicenessOf(DispatchQoS qos)
{
    const auto queue = DispatchQueue::create("niceness", qos);
    EXPECT_EQ(queue->qos(), qos);
    int niceness = -100;
    DispatchSemaphore done;
    queue->async([&] {
        niceness = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
        done.signal();
    });
    EXPECT_TRUE(done.wait(bound()));
    return niceness;
}

TEST(DispatchQueue, LowersThePriorityOfUrgenciesBelowTheNormalOne)
{
    const int own = ::getpriority(PRIO_PROCESS, 0);
    for (const auto qos : {DispatchQoS::unspecified, DispatchQoS::normal, DispatchQoS::userInitiated,
             DispatchQoS::userInteractive})
        EXPECT_EQ(nicenessOf(qos), own);
    if (own < 5) {
        const int utility = nicenessOf(DispatchQoS::utility);
        EXPECT_GT(utility, own);
        EXPECT_GT(nicenessOf(DispatchQoS::background), utility);
    }
    EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), own); // of that thread alone
}

TEST(DispatchQueue, NeverRaisesThePriorityThatItWasStartedWith)
{
    // A process that was started with a low priority, as a build or a backup is.
    std::optional<int> lowest;
    DispatchSemaphore done;
    std::jthread([&] {
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 15);
        lowest = nicenessOf(DispatchQoS::utility); // threads inherit it
        done.signal();
    }).join();
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_GE(*lowest, 15);
}

TEST(DispatchQueue, RunsWorkThatOutlivesIt)
{
    auto queue = DispatchQueue::create("outlived");
    const std::weak_ptr<DispatchQueue> watched(queue);
    DispatchSemaphore go;
    DispatchSemaphore done;
    int ran = 0;
    queue->async([&] { EXPECT_TRUE(go.wait(bound())); });
    for (int number = 0; number < 10; ++number)
        queue->async([&] { ++ran; });
    queue->async([&] { done.signal(); });
    queue.reset();
    EXPECT_TRUE(watched.expired());
    go.signal();
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_EQ(ran, 10);
}

TEST(DispatchQueue, RunsDelayedWorkThatOutlivesIt)
{
    auto queue = DispatchQueue::create("outlived later");
    DispatchSemaphore done;
    const DispatchTime deadline = dispatchTimeAfter(0.02);
    std::optional<DispatchTime> ran;
    queue->asyncAfter(deadline, [&] {
        ran = Clock::now();
        done.signal();
    });
    queue.reset();
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_GE(*ran, deadline);
}

TEST(DispatchQueue, EndsItsThreadAtOnceWhenItIsReleased)
{
    const std::string name = "released";
    auto queue = DispatchQueue::create(name);
    DispatchSemaphore done;
    queue->async([&] { done.signal(); });
    ASSERT_TRUE(done.wait(bound()));
    ASSERT_EQ(threadsNamed(name), 1);
    queue.reset();
    EXPECT_TRUE(waitForThreads([&] { return threadsNamed(name) == 0; }));
}

TEST(DispatchQueue, EndsAnIdleThreadAndServesLaterWorkWithANewOne)
{
    const std::string name = "idle";
    const auto queue = DispatchQueue::create(name);
    EXPECT_EQ(threadsNamed(name), 0); // none before there is work
    DispatchSemaphore done;
    for (int round = 0; round < 2; ++round) {
        queue->async([&] { done.signal(); });
        ASSERT_TRUE(done.wait(bound()));
        ASSERT_EQ(threadsNamed(name), 1);
        ASSERT_TRUE(waitForThreads([&] { return threadsNamed(name) == 0; }));
    }
    queue->async([&] { done.signal(); });
    EXPECT_TRUE(done.wait(bound()));
}

TEST(DispatchQueue, KeepsOneThreadForWorkThatFollowsAtOnce)
{
    const auto queue = DispatchQueue::create("followed");
    DispatchSemaphore done;
    std::thread::id first;
    for (int round = 0; round < 20; ++round) {
        std::thread::id thread;
        queue->async([&] {
            thread = std::this_thread::get_id();
            done.signal();
        });
        ASSERT_TRUE(done.wait(bound()));
        if (round == 0)
            first = thread;
        EXPECT_EQ(thread, first);
    }
}

TEST(DispatchQueue, MayBeReleasedByItsOwnWork)
{
    const std::string name = "own release";
    auto queue = DispatchQueue::create(name);
    const std::weak_ptr<DispatchQueue> watched(queue);
    DispatchSemaphore go;
    DispatchSemaphore done;
    DispatchQueue& borrowed = *queue;
    // The first piece holds the last reference; the second is still waiting when that goes.
    borrowed.async([&go, queue = std::move(queue)] { EXPECT_TRUE(go.wait(bound())); });
    borrowed.async([&] { done.signal(); });
    go.signal();
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(waitForThreads([&] { return threadsNamed(name) == 0; }));
}

TEST(DispatchQueue, ReleasesWhatWorkCapturedBeforeTheNextPieceRuns)
{
    const auto queue = DispatchQueue::create("captured");
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    bool releasedBefore = false;
    DispatchSemaphore done;
    queue->async([captured = std::move(captured)] { });
    queue->async([&] {
        releasedBefore = watched.expired();
        done.signal();
    });
    ASSERT_TRUE(done.wait(bound()));
    EXPECT_TRUE(releasedBefore);
}

TEST(DispatchQueue, RunsDelayedWorkInTheOrderOfItsDeadlinesAndNeverEarly)
{
    const auto queue = DispatchQueue::create("deadlines");
    const auto start = Clock::now();
    std::vector<int> order;
    int early = 0;
    DispatchSemaphore done;
    for (const int delay : {30, 10, 20})
        queue->asyncAfter(start + std::chrono::milliseconds(delay), [&, delay] {
            early += Clock::now() < start + std::chrono::milliseconds(delay);
            order.push_back(delay);
            done.signal();
        });
    for (int number = 0; number < 3; ++number)
        ASSERT_TRUE(done.wait(bound()));
    EXPECT_EQ(order, (std::vector{10, 20, 30}));
    EXPECT_EQ(early, 0);
}

TEST(DispatchQueue, KeepsTheOrderOfEqualDeadlines)
{
    const auto queue = DispatchQueue::create("equal");
    const DispatchTime deadline = dispatchTimeAfter(0.01);
    std::vector<int> order;
    DispatchSemaphore done;
    for (int number = 0; number < 3; ++number)
        queue->asyncAfter(deadline, [&, number] {
            order.push_back(number);
            done.signal();
        });
    for (int number = 0; number < 3; ++number)
        ASSERT_TRUE(done.wait(bound()));
    EXPECT_EQ(order, (std::vector{0, 1, 2}));
}

TEST(DispatchQueue, RunsWorkWhileDelayedWorkWaits)
{
    const auto queue = DispatchQueue::create("meanwhile");
    DispatchSemaphore done;
    queue->asyncAfter(dispatchTimeAfter(3600), [] { });
    queue->asyncAfter(DispatchTime::max(), [] { });
    queue->async([&] { done.signal(); });
    EXPECT_TRUE(done.wait(bound()));
    queue->asyncAfter(dispatchTimeAfter(0.002), [&] { done.signal(); }); // earlier than what it waits for
    EXPECT_TRUE(done.wait(bound()));
}

TEST(DispatchQueue, TakesAPastDeadlineForNowButNeverRunsSynchronously)
{
    const auto queue = DispatchQueue::create("past");
    for (const DispatchTime deadline : {Clock::now(), dispatchTimeAfter(-1), dispatchTimeAfter(-1e300),
             DispatchTime(), DispatchTime::min()}) {
        std::thread::id thread;
        DispatchSemaphore done;
        queue->asyncAfter(deadline, [&] {
            thread = std::this_thread::get_id();
            done.signal();
        });
        ASSERT_TRUE(done.wait(bound()));
        EXPECT_NE(thread, std::this_thread::get_id());
    }
}

TEST(DispatchQueue, LosesNothingFromManyThreads)
{
    const auto queue = DispatchQueue::create("many");
    constexpr int threadCount = 4;
    constexpr int each = 2000;
    std::array<int, threadCount> next{};
    int outOfOrder = 0;
    int total = 0;
    DispatchSemaphore done;
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&, thread] {
            for (int number = 0; number < each; ++number)
                queue->async([&, thread, number] {
                    outOfOrder += next[thread] != number;
                    next[thread] = number + 1;
                    if (++total == threadCount * each)
                        done.signal();
                });
        });
    EXPECT_TRUE(done.wait(bound()));
    EXPECT_EQ(outOfOrder, 0);
}

TEST(DispatchQueueDeathTest, EndsTheProcessWhenWorkThrows)
{
    EXPECT_DEATH(
        {
            DispatchSemaphore never;
            DispatchQueue::create("throwing")->async([] { throw std::runtime_error("from work"); });
            static_cast<void>(never.wait(bound()));
        },
        "from work");
}

// ---- the next turn
// ----------------------------------------------------------------------------------------------------

/// Looks at every turn, for as long as it exists.
struct Patient {
    void look()
    {
        DispatchQueue::asyncAtNextTurn([weak = std::weak_ptr(alive), this] {
            if (weak.expired())
                return;
            ++looks;
            look();
        });
    }
    std::shared_ptr<bool> alive = std::make_shared<bool>();
    int looks = 0;
};

TEST(NextTurn, RunsInTheOrderOfTheQueue)
{
    std::string order;
    DispatchQueue::main()->async([&] { order += 'a'; });
    DispatchQueue::asyncAtNextTurn([&] { order += 'b'; });
    DispatchQueue::main()->async([&] { order += 'c'; });
    EXPECT_EQ(order, "");
    ASSERT_TRUE(waitUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, "abc");
}

TEST(NextTurn, ComesWithoutOtherWork)
{
    bool ran = false;
    DispatchQueue::asyncAtNextTurn([&] { ran = true; });
    EXPECT_TRUE(waitUntil([&] { return ran; }));
}

TEST(NextTurn, ComesAfterEveryTurnAndMakesNone)
{
    Patient patient;
    patient.look();
    runPendingTurns(); // they end
    for (int turn = 0; turn < 5; ++turn) {
        const int before = patient.looks;
        bool woken = false;
        DispatchQueue::main()->asyncAfter(dispatchTimeAfter(0.01), [&] { woken = true; });
        while (!woken)
            g_main_context_iteration(nullptr, TRUE);
        runPendingTurns();
        EXPECT_GT(patient.looks, before);
        EXPECT_LE(patient.looks, before + 4);
    }
}

TEST(NextTurn, SeesWhatANestedLoopLeftBehind)
{
    Patient patient;
    patient.look();
    runPendingTurns();
    int before = 0;
    bool left = false;
    DispatchQueue::main()->async([&] {
        runPendingTurns(); // a loop within the loop, which ends with the patient's turn
        before = patient.looks;
        left = true;
    });
    EXPECT_TRUE(waitUntil([&] { return left && patient.looks > before; }));
}

// ---- the main thread
// ------------------------------------------------------------------------------------------------

TEST(MainThread, IsTheFirstOneOfTheProcess)
{
    EXPECT_TRUE(isMainThread());
    bool other = true;
    std::jthread([&] { other = isMainThread(); }).join();
    EXPECT_FALSE(other);
}

#ifndef NDEBUG
TEST(MainThreadDeathTest, StopsADebugBuildThatUsesItsObjectsElsewhere)
{
    assertMainThread();
    EXPECT_DEATH(
        std::jthread([] { assertMainThread(); }).join(), "Fatal error: .* must be called on the main thread");
}
#endif

} // namespace
