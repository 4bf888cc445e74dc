// What the second start of an application does to the windows of the first.

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>

#include <Support/LinkSession.h>
#include <Support/Waiting.h>
#include <gmock/gmock.h>

#include <memory>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::Contains;
using testing::Not;

namespace {

using Texts = std::vector<std::string>;

class SecondStart : public LinkSession {
protected:
    /// Starts the host with windows, and takes the keyboard away from them.
    void startHostInTheBackground(const std::string& mode)
    {
        setMode(mode);
        ASSERT_TRUE(startHost());
        ASSERT_EQ(reported("key ", 3), (Texts{"first", "second", "first"}));
        ASSERT_EQ(reported("not key ", 2), (Texts{"first", "second"}));
        other->makeKeyAndOrderFront();
        ASSERT_TRUE(waitUntil([&] { return other->isKeyWindow(); }));
        ASSERT_EQ(reported("not key "), Texts{"first"});
    }

    const std::shared_ptr<NSWindow> other = NSWindow::create({{300, 300}, {100, 100}});
};

TEST_F(SecondStart, BringsTheWindowThatWasUsedLastToTheFront)
{
    startHostInTheBackground("windows");
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("reopened with windows").size(), 1U);
    EXPECT_EQ(reported("key "), Texts{"first"});
    EXPECT_TRUE(waitUntil([&] { return !other->isKeyWindow(); }));
}

TEST_F(SecondStart, LeavesTheWindowsWhereTheyAreIfTheDelegateWantsThat)
{
    startHostInTheBackground("quiet");
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(run(host(), {"lumotest:afterwards"}).status, 0);
    EXPECT_EQ(reported("link ").size(), 1U);
    EXPECT_THAT(rest(), Not(Contains("key first")));
    runPendingTurns();
    EXPECT_TRUE(other->isKeyWindow());
}

TEST_F(SecondStart, HandsOverWithWhatTheDesktopLetsItComeToTheFront)
{
    setMode("time");
    ASSERT_TRUE(startHost());
    ::setenv("DESKTOP_STARTUP_ID", "test_TIME4242", 1);
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("time "), Texts{"4242"});
    ::setenv("XDG_ACTIVATION_TOKEN", "newer_TIME4343", 1);
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("time "), Texts{"4343"});
    ::setenv("XDG_ACTIVATION_TOKEN", "\xff_TIME4444", 1); // no text: passed over
    ::setenv("DESKTOP_STARTUP_ID", "test_TIME4545", 1);
    EXPECT_EQ(run(host(), {"lumotest:link"}).status, 0);
    ::unsetenv("XDG_ACTIVATION_TOKEN");
    ::unsetenv("DESKTOP_STARTUP_ID");
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("time "), Texts{"4545"}); // as the link brought it
}

} // namespace
