#include <LumoKit/Extensions/NSButton.h>
#include <LumoKit/Extensions/NSStoryboard.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Utility/FramelessWindowBehaviour.h>
#include <LumoKit/View/BackgroundView.h>
#include <LumoKit/View/ImageButton.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

class ConversationsController : public NSWindowController {
public:
    void windowDidLoad() override { loadedTitle = window()->title(); }
    std::string loadedTitle;
};

class SettingsViewController : public NSViewController {
public:
    void viewDidLoad() override { loaded = true; }
    bool loaded = false;
};

class StoryboardTest : public ::testing::Test {
protected:
    StoryboardTest()
    {
        NSStoryboard::registerClass<ConversationsController>("ConversationsController");
        NSStoryboard::registerClass<SettingsViewController>("SettingsViewController");
    }
};

TEST_F(StoryboardTest, TheInitialControllerComesWithItsWindow)
{
    const auto made = loadInitialWindowController(*storyboard("Main"));
    const auto controller = std::dynamic_pointer_cast<ConversationsController>(made);
    ASSERT_TRUE(controller);
    const auto& window = controller->window();
    ASSERT_TRUE(window);
    EXPECT_EQ(controller->loadedTitle, "Conversations");
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(window->frame().size, (CGSize{400, 300}));
    EXPECT_FALSE(gtk_window_get_resizable(gtkWindow(*window)));
    EXPECT_TRUE(gtk_window_get_decorated(gtkWindow(*window)));
    EXPECT_TRUE(gtk_window_get_deletable(gtkWindow(*window)));
    EXPECT_EQ(window->windowController(), controller);
}

TEST_F(StoryboardTest, ObjectsAreConnectedAsTheFileSays)
{
    const auto controller = loadWindowController(*storyboard("Main"), "frameless");
    const auto behaviour =
        controller->associatedObject<std::shared_ptr<LMFramelessWindowBehaviour>>("owner").value_or(nullptr);
    ASSERT_TRUE(behaviour);
    EXPECT_EQ(behaviour->window(), controller->window());
    EXPECT_EQ(behaviour->titlebarHeight, 40);
    EXPECT_TRUE(behaviour->setupDone());
    EXPECT_EQ(controller->window()->frame().size, (CGSize{400, 322}));
}

TEST_F(StoryboardTest, ViewsAreAsTheFileDescribesThem)
{
    const auto controller = loadWindowController(*storyboard("Main"), "conversations");
    const auto content = controller->window()->contentView();
    const auto background = std::dynamic_pointer_cast<BackgroundView>(content);
    ASSERT_TRUE(background);
    EXPECT_TRUE(background->wantsLayer());
    EXPECT_EQ(background->backgroundImage(), nullptr);
    EXPECT_EQ(background->subviews().size(), 4U);

    const auto star = std::dynamic_pointer_cast<ImageButton>(content->view("star"));
    ASSERT_TRUE(star);
    EXPECT_EQ(star->frame(), (CGRect{{20, 30}, {24, 24}}));
    EXPECT_EQ(star->title(), "Favourite");
    ASSERT_TRUE(star->image());
    EXPECT_EQ(star->image()->size(), (CGSize{16, 16}));
    EXPECT_EQ(star->imagePosition(), NSCellImagePosition::imageOnly);
    EXPECT_FALSE(star->isBordered());

    const auto days = std::dynamic_pointer_cast<NSStepper>(content->view("days"));
    ASSERT_TRUE(days);
    EXPECT_EQ(days->autoresizing(), (NSAutoresizing{.minXMargin = true, .maxYMargin = true}));
    EXPECT_EQ(days->frame(), (CGRect{{60, 25}, {70, 34}})); // in a window of the file's size
    EXPECT_EQ(days->minValue(), 1);
    EXPECT_EQ(days->maxValue(), 7);
    EXPECT_EQ(days->increment(), 0.5);
    EXPECT_EQ(days->doubleValue(), 3);
    EXPECT_FALSE(days->valueWraps());

    const auto name = std::dynamic_pointer_cast<NSTextField>(content->view("name"));
    ASSERT_TRUE(name);
    EXPECT_EQ(name->stringValue(), "Ada");
    ASSERT_TRUE(content->view("group"));
    EXPECT_TRUE(content->view("group")->isHidden());
    EXPECT_FALSE(star->isHidden());
    const auto inner = std::dynamic_pointer_cast<NSButton>(content->view("inner"));
    ASSERT_TRUE(inner);
    EXPECT_EQ(inner->title(), "Inner");
    EXPECT_EQ(inner->superview(), content->view("group"));
    EXPECT_EQ(content->view("nobody"), nullptr);
    EXPECT_EQ(content->view(""), nullptr);
}

TEST_F(StoryboardTest, AControllerIsFoundByItsIdentifier)
{
    const auto board = storyboard("Main");
    const auto settings = loadWindowController(*board, "settings");
    EXPECT_EQ(settings->window()->title(), "Settings");
    EXPECT_TRUE(gtk_window_get_resizable(gtkWindow(*settings->window())));
    const auto content = std::dynamic_pointer_cast<SettingsViewController>(settings->contentViewController());
    ASSERT_TRUE(content);
    EXPECT_TRUE(content->loaded);
    EXPECT_EQ(settings->window()->contentView(), content->view());
    EXPECT_EQ(content->view()->identifier(), "settings");
    EXPECT_NE(loadWindowController(*board, "settings"), settings);
}

TEST_F(StoryboardTest, ControllersEndWithWhoeverHoldsThem)
{
    std::weak_ptr<NSWindow> window;
    std::weak_ptr<NSView> star;
    std::weak_ptr<NSStoryboard> board;
    {
        const auto loaded = storyboard("Main");
        board = loaded;
        const auto controller = loadInitialWindowController(*loaded);
        controller->showWindow();
        window = controller->window();
        star = controller->window()->contentView()->view("star");
        onAction(*std::dynamic_pointer_cast<NSButton>(star.lock()), [](auto&) { });
        controller->close();
    }
    runPendingTurns();
    EXPECT_TRUE(window.expired());
    EXPECT_TRUE(star.expired());
    EXPECT_TRUE(board.expired());
}

using StoryboardDeathTest = StoryboardTest;

TEST_F(StoryboardDeathTest, WhatIsNoWindowControllerStops)
{
    const auto board = storyboard("Main");
    EXPECT_DEATH(static_cast<void>(loadWindowController(*board, "part")), "no window controller");
    EXPECT_DEATH(static_cast<void>(loadWindowController(*board, "nobody")), "no controller 'nobody'");
    EXPECT_DEATH(
        static_cast<void>(loadInitialWindowController(*storyboard("Parts"))), "no window controller");
    EXPECT_DEATH(static_cast<void>(storyboard("Missing")), "no interface file");
}

} // namespace
