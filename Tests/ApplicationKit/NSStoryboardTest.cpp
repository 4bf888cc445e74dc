#include <LumoKit/Platform/ApplicationKit/NSStoryboard.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

TEST(NSStoryboardTest, MakesANewControllerEachTime)
{
    const auto board = NSStoryboard::create("Main");
    const auto first = std::dynamic_pointer_cast<NSViewController>(board->instantiateController("part"));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->view()->identifier(), "part");
    const auto second = std::dynamic_pointer_cast<NSViewController>(board->instantiateController("part"));
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
    EXPECT_NE(first->view(), second->view());
}

TEST(NSStoryboardTest, MayHaveNoInitialController)
{
    EXPECT_EQ(NSStoryboard::create("Parts")->instantiateInitialController(), nullptr);
}

TEST(NSStoryboardDeathTest, StopsForWhatTheFileDoesNotSay)
{
    EXPECT_DEATH(
        static_cast<void>(NSStoryboard::create("Missing")), "no interface file 'Missing.storyboard'");
    EXPECT_DEATH(static_cast<void>(NSStoryboard::create("Broken")), "no property list");
    const auto board = NSStoryboard::create("Main");
    EXPECT_DEATH(static_cast<void>(board->instantiateController("nobody")), "no controller 'nobody'");
    EXPECT_DEATH(static_cast<void>(board->instantiateController("unknown")),
        "'NobodysController', which is not registered");
    EXPECT_DEATH(
        static_cast<void>(board->instantiateController("no-controller")), "needs a window controller");
    EXPECT_DEATH(static_cast<void>(board->instantiateController("no-view")), "needs a view");
}

} // namespace
