#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::waitUntil;

namespace {

using Texts = std::vector<std::string>;

class Delegate : public NSApplicationDelegate {
public:
    void applicationDidFinishLaunching() override
    {
        calls.emplace_back("launched");
        if (launched)
            launched();
    }
    bool applicationShouldTerminateAfterLastWindowClosed() override
    {
        calls.emplace_back("last window");
        return endWithLastWindow;
    }
    bool applicationShouldTerminate() override
    {
        calls.emplace_back("should terminate");
        return vetoes-- <= 0;
    }
    void applicationWillTerminate() override { calls.emplace_back("will terminate"); }

    std::function<void()> launched;
    bool endWithLastWindow = false;
    int vetoes = 0;
    Texts calls;
};

class NSApplicationTest : public ::testing::Test {
protected:
    NSApplicationTest() { application.setDelegate(delegate); }
    ~NSApplicationTest() override
    {
        application.setDelegate({});
        for (const auto& window : application.windows())
            window->orderOut();
    }

    static std::shared_ptr<NSWindow> shown()
    {
        auto window = NSWindow::create({{50, 50}, {100, 100}});
        window->makeKeyAndOrderFront();
        return window;
    }
    /// Runs `action` in the main loop, when what is queued before it has run.
    static void post(std::function<void()> action) { DispatchQueue::main()->async(std::move(action)); }

    NSApplication& application = NSApplication::shared();
    const std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
};

TEST_F(NSApplicationTest, IsTheOnlyOne)
{
    EXPECT_EQ(&NSApplication::shared(), &NSApplication::shared());
    EXPECT_EQ(application.shared_from_this().get(), &application);
}

TEST_F(NSApplicationTest, RunsFromLaunchingToTermination)
{
    delegate->launched = [&] { application.terminate(); };
    application.run();
    EXPECT_EQ(delegate->calls, (Texts{"launched", "should terminate", "will terminate"}));
}

TEST_F(NSApplicationTest, LaunchesInTheMainLoopBeforeLaterWork)
{
    Texts order;
    delegate->launched = [&] {
        order.emplace_back("launched");
        post([&] {
            order.emplace_back("work");
            application.terminate();
        });
    };
    EXPECT_EQ(order, Texts{});
    application.run();
    EXPECT_EQ(order, (Texts{"launched", "work"}));
}

TEST_F(NSApplicationTest, GoesOnWhenItsDelegateObjects)
{
    delegate->vetoes = 1;
    bool wentOn = false;
    delegate->launched = [&] {
        application.terminate();
        post([&] {
            wentOn = true;
            application.terminate();
        });
    };
    application.run();
    EXPECT_TRUE(wentOn);
    EXPECT_EQ(delegate->calls, (Texts{"launched", "should terminate", "should terminate", "will terminate"}));
}

TEST_F(NSApplicationTest, TerminatesOnce)
{
    delegate->launched = [&] {
        application.terminate();
        application.terminate();
    };
    application.run();
    EXPECT_EQ(delegate->calls, (Texts{"launched", "should terminate", "will terminate"}));
}

TEST_F(NSApplicationTest, FinishesTheTurnInWhichItTerminates)
{
    bool finished = false;
    delegate->launched = [&] {
        application.terminate();
        finished = true;
    };
    application.run();
    EXPECT_TRUE(finished);
}

TEST_F(NSApplicationTest, RunsAgain)
{
    delegate->launched = [&] { application.terminate(); };
    application.run();
    application.run();
    EXPECT_EQ(delegate->calls,
        (Texts{"launched", "should terminate", "will terminate", "launched", "should terminate",
            "will terminate"}));
}

TEST_F(NSApplicationTest, RunsWithoutADelegate)
{
    application.setDelegate({});
    bool ran = false;
    post([&] {
        ran = true;
        application.terminate();
    });
    application.run();
    EXPECT_TRUE(ran);
    EXPECT_EQ(delegate->calls, Texts{});
}

TEST_F(NSApplicationTest, DoesNotKeepItsDelegate)
{
    auto passing = std::make_shared<Delegate>();
    const std::weak_ptr<Delegate> watched(passing);
    application.setDelegate(passing);
    passing.reset();
    EXPECT_TRUE(watched.expired());
    post([&] { application.terminate(); });
    application.run();
}

TEST_F(NSApplicationTest, EndsWithItsLastWindowWhenTheDelegateWantsThat)
{
    delegate->endWithLastWindow = true;
    delegate->launched = [&] {
        const auto first = shown();
        const auto second = shown();
        first->close();
        EXPECT_EQ(delegate->calls, Texts{"launched"}); // another is on screen
        second->close();
    };
    application.run();
    EXPECT_EQ(delegate->calls, (Texts{"launched", "last window", "should terminate", "will terminate"}));
}

TEST_F(NSApplicationTest, OutlivesItsLastWindowOtherwise)
{
    bool wentOn = false;
    delegate->launched = [&] {
        shown()->close();
        post([&] {
            wentOn = true;
            application.terminate();
        });
    };
    application.run();
    EXPECT_TRUE(wentOn);
    EXPECT_EQ(delegate->calls, (Texts{"launched", "last window", "should terminate", "will terminate"}));
}

TEST_F(NSApplicationTest, DoesNotTakeOrderingOutForClosing)
{
    delegate->endWithLastWindow = true;
    delegate->launched = [&] {
        shown()->orderOut();
        post([&] { application.terminate(); });
    };
    application.run();
    EXPECT_EQ(delegate->calls, (Texts{"launched", "should terminate", "will terminate"}));
}

TEST_F(NSApplicationTest, EndsOnSignalsUnlessItsDelegateObjects)
{
    for (const int number : {SIGTERM, SIGINT}) {
        delegate->calls.clear();
        delegate->vetoes = 1;
        delegate->launched = [number] { std::raise(number); };
        // The second signal comes when the first was declined.
        std::function<void()> again = [&] {
            if (delegate->calls.size() < 2)
                return post(again);
            std::raise(number);
        };
        post(again);
        application.run();
        EXPECT_EQ(
            delegate->calls, (Texts{"launched", "should terminate", "should terminate", "will terminate"}));
    }
}

TEST_F(NSApplicationTest, KnowsItsWindowsInTheOrderInWhichTheyWereMade)
{
    EXPECT_TRUE(application.windows().empty());
    const auto first = NSWindow::create({{0, 0}, {50, 50}});
    auto second = shown();
    const auto third = NSWindow::create({{0, 0}, {50, 50}});
    EXPECT_EQ(application.windows(), (std::vector{first, second, third}));
    first->makeKeyAndOrderFront();
    EXPECT_EQ(application.windows(), (std::vector{first, second, third}));
    second->close();
    second.reset();
    EXPECT_EQ(application.windows(), (std::vector{first, third}));
}

TEST_F(NSApplicationTest, KnowsTheWindowThatHasTheKeyboard)
{
    EXPECT_EQ(application.keyWindow(), nullptr);
    const auto first = shown();
    EXPECT_TRUE(waitUntil([&] { return application.keyWindow() == first; }));
    const auto second = shown();
    EXPECT_TRUE(waitUntil([&] { return application.keyWindow() == second; }));
}

TEST_F(NSApplicationTest, CannotRunWithinItself)
{
    delegate->launched = [&] { application.run(); };
    EXPECT_DEATH(application.run(), "Fatal error: ");
}

TEST(NSApplicationDeathTest, StopsTheProcessWithoutADisplay)
{
    EXPECT_DEATH(
        {
            ::unsetenv("WAYLAND_DISPLAY");
            ::setenv("DISPLAY", ":no-display", 1);
            static_cast<void>(NSApplication::shared());
        },
        "Fatal error: ");
}

} // namespace
