#include "Foundation/NetworkTimer.h"

#include "Foundation/NetworkThread.h"

#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>

#include <gmock/gmock.h>

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::detail;
using testing::ElementsAre;

namespace {

/// Timers by name on the network thread, and the names of those that have called.
class NetworkTimerTest : public testing::Test {
protected:
    ~NetworkTimerTest() override
    {
        onThread([this] { timers.clear(); });
    }

    static void onThread(const std::function<void()>& work)
    {
        NetworkThread::shared().sync([&] {
            work();
            return true;
        });
    }

    void add(const std::string& name, double seconds, std::function<void()> then = [] { })
    {
        timers[name] = NetworkTimer([this, name, then = std::move(then)] {
            called.push_back(name);
            then();
        });
        timers[name].set(seconds);
    }

    /// A timer that is the last one to call.
    void await(double seconds)
    {
        onThread([&] { add("last", seconds, [this] { ended.signal(); }); });
        ended.wait();
        timers.clear(); // the thread has nothing more to do with them
    }

    std::map<std::string, NetworkTimer> timers;
    std::vector<std::string> called; // on the network thread until it has ended
    DispatchSemaphore ended{0};
};

TEST_F(NetworkTimerTest, CallsInTheOrderOfTheTimes)
{
    onThread([&] {
        add("third", 0.03);
        add("first", 0.01);
        add("second", 0.02);
    });
    await(0.04);
    EXPECT_THAT(called, ElementsAre("first", "second", "third", "last"));
}

TEST_F(NetworkTimerTest, CallsOnceUntilItIsSetAgain)
{
    int again = 3;
    onThread([&] {
        add("again", 0, [&] {
            if (--again > 0)
                timers["again"].set(0.001);
        });
        add("later", 100);
        timers["later"].set(0.02);
        add("sooner", 0.001);
        timers["sooner"].set(100);
    });
    await(0.03);
    EXPECT_THAT(called, ElementsAre("again", "again", "again", "later", "last"));
}

TEST_F(NetworkTimerTest, MayDestroyItselfAndOthersThatAreDue)
{
    onThread([&] {
        add("a", 0, [&] { timers.erase("b"); });
        add("b", 0);
        add("c", 0, [&] { timers.erase("c"); });
        timers["moved"] = std::move(timers["a"]);
        timers.erase("a");
    });
    await(0.01);
    EXPECT_THAT(called, ElementsAre("a", "c", "last"));
}

TEST_F(NetworkTimerTest, TakesAnyNumber)
{
    onThread([&] {
        add("never", std::numeric_limits<double>::infinity());
        add("hardly", 1e300);
        add("negative", -5);
        add("none", std::numeric_limits<double>::quiet_NaN());
        NetworkTimer().set(0);
    });
    await(0.01);
    EXPECT_THAT(called, ElementsAre("negative", "none", "last"));
}

} // namespace
