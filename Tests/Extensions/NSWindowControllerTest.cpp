#include <LumoKit/Extensions/NSWindowController.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

std::shared_ptr<NSWindowController> makeController()
{
    return std::make_shared<NSWindowController>(NSWindow::create({{}, {100, 100}}));
}

TEST(OnClose, IsCalledWhenTheWindowIsAboutToClose)
{
    const auto controller = makeController();
    controller->showWindow();
    bool wasThere = false;
    int calls = 0;
    onClose(*controller, [&, weak = std::weak_ptr(controller)] {
        wasThere = weak.lock()->window()->isVisible();
        ++calls;
    });
    makeController()->close(); // somebody else's
    EXPECT_EQ(calls, 0);
    controller->window()->performClose();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(wasThere);
    controller->showWindow(); // it is never taken away
    controller->close();
    EXPECT_EQ(calls, 2);
}

TEST(OnClose, KeepsToTheWindowThatTheControllerHadThen)
{
    const auto controller = makeController();
    const auto before = controller->window();
    int calls = 0;
    onClose(*controller, [&] { ++calls; });
    controller->setWindow(NSWindow::create({{}, {50, 50}}));
    controller->close();
    EXPECT_EQ(calls, 0);
    before->close();
    EXPECT_EQ(calls, 1);
}

TEST(OnClose, HandlersAreCalledInTheirOrder)
{
    const auto controller = makeController();
    std::string order;
    onClose(*controller, [&] { order += "1"; });
    onClose(*controller, [&] { order += "2"; });
    controller->close();
    EXPECT_EQ(order, "12");
}

TEST(OnClose, OfAControllerWithoutAWindowIsForAnyWindow)
{
    const auto calls = std::make_shared<int>(0);
    {
        const auto without = std::make_shared<NSWindowController>();
        onClose(*without, [calls] { ++*calls; });
    }
    makeController()->close();
    NSWindow::create({{}, {100, 100}})->close();
    EXPECT_EQ(*calls, 2); // and its handler lives on without it
}

TEST(OnClose, KeepsNeitherTheControllerNorItsWindow)
{
    auto controller = makeController();
    const std::weak_ptr<NSWindowController> weak = controller;
    const std::weak_ptr<NSWindow> window = controller->window();
    const auto captured = std::make_shared<int>(0);
    onClose(*controller, [captured] { ++*captured; });
    controller->showWindow();
    controller->close();
    controller.reset();
    runPendingTurns();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(window.expired());
    EXPECT_EQ(*captured, 1);
    EXPECT_EQ(captured.use_count(), 2); // the handler is there for good
}

} // namespace
