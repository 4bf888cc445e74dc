#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

std::shared_ptr<NSWindow> makeWindow()
{
    return NSWindow::create({{}, {100, 100}});
}

TEST(NSWindowControllerTest, IsKnownToItsWindow)
{
    const auto window = makeWindow();
    EXPECT_EQ(window->windowController(), nullptr);
    const auto controller = std::make_shared<NSWindowController>(window);
    EXPECT_EQ(controller->window(), window);
    EXPECT_EQ(window->windowController(), controller);
    controller->setWindow(nullptr);
    EXPECT_EQ(window->windowController(), nullptr);
}

TEST(NSWindowControllerTest, AWindowHasOneController)
{
    const auto window = makeWindow();
    const auto first = std::make_shared<NSWindowController>(window);
    const auto second = std::make_shared<NSWindowController>();
    second->setWindow(window);
    EXPECT_EQ(window->windowController(), second);
    EXPECT_EQ(first->window(), nullptr);
    second->setWindow(window); // again
    EXPECT_EQ(window->windowController(), second);
}

TEST(NSWindowControllerTest, ShowsAndClosesItsWindow)
{
    const auto controller = std::make_shared<NSWindowController>(makeWindow());
    controller->showWindow();
    EXPECT_TRUE(controller->window()->isVisible());
    controller->close();
    EXPECT_FALSE(controller->window()->isVisible());
    const auto without = std::make_shared<NSWindowController>();
    without->showWindow(); // nothing to show
    without->close();
}

TEST(NSWindowControllerTest, EndsWithItsLastOwnerAndItsWindowWithIt)
{
    auto controller = std::make_shared<NSWindowController>(makeWindow());
    const std::weak_ptr<NSWindowController> weak = controller;
    const std::weak_ptr<NSWindow> window = controller->window();
    controller->showWindow();
    controller->close();
    runPendingTurns();
    EXPECT_FALSE(window.expired());
    controller.reset();
    runPendingTurns();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(window.expired());
}

TEST(NSWindowControllerTest, AWindowOnScreenOutlivesItsController)
{
    auto controller = std::make_shared<NSWindowController>(makeWindow());
    controller->showWindow();
    const std::weak_ptr<NSWindow> window = controller->window();
    controller.reset();
    ASSERT_FALSE(window.expired());
    EXPECT_EQ(window.lock()->windowController(), nullptr);
    window.lock()->close();
    runPendingTurns();
    EXPECT_TRUE(window.expired());
}

TEST(NSWindowControllerTest, ShowsTheViewOfItsContentViewController)
{
    const auto content = std::make_shared<NSViewController>();
    const auto controller = std::make_shared<NSWindowController>();
    controller->setContentViewController(content);
    EXPECT_FALSE(content->isViewLoaded());
    controller->setWindow(makeWindow());
    EXPECT_EQ(controller->window()->contentView(), content->view());
    const auto other = std::make_shared<NSViewController>();
    controller->setContentViewController(other);
    EXPECT_EQ(controller->window()->contentView(), other->view());
    EXPECT_EQ(controller->contentViewController(), other);
}

class Loading : public NSViewController {
public:
    int loads = 0;
    int told = 0;

protected:
    void loadView() override
    {
        ++loads;
        NSViewController::loadView();
    }
    void viewDidLoad() override { ++told; }
};

TEST(NSViewControllerTest, MakesItsViewWhenItIsAskedFor)
{
    const auto controller = std::make_shared<Loading>();
    EXPECT_FALSE(controller->isViewLoaded());
    const auto view = controller->view();
    ASSERT_TRUE(view);
    EXPECT_EQ(controller->view(), view);
    EXPECT_TRUE(controller->isViewLoaded());
    EXPECT_EQ(controller->loads, 1);
    EXPECT_EQ(controller->told, 1);
    controller->setView(std::make_shared<NSView>());
    EXPECT_EQ(controller->told, 1); // the first view only
}

class Empty : public NSViewController {
    void loadView() override { }
};

TEST(NSViewControllerDeathTest, StopsWithoutAView)
{
    const auto controller = std::make_shared<Empty>();
    EXPECT_DEATH(static_cast<void>(controller->view()), "loadView made no view");
}

} // namespace
