#include <LumoKit/Extensions/NSWindowController.h>
#include <LumoKit/Utility/WindowControllers.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace LumoKit;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Mail : public NSWindowController {
public:
    using NSWindowController::NSWindowController;
};
class Draft : public Mail {
public:
    using Mail::Mail;
};
class Settings : public NSWindowController {
public:
    using NSWindowController::NSWindowController;
};

class CloseWindowControllers : public ::testing::Test {
protected:
    template <class Controller> std::shared_ptr<Controller> show(const std::string& title)
    {
        auto window = NSWindow::create({{}, {100, 100}});
        window->setTitle(title);
        auto controller = std::make_shared<Controller>(window);
        controller->showWindow();
        onClose(*controller, [this, title] { closed.push_back(title); });
        return controller;
    }

    std::vector<std::string> closed;
};

TEST_F(CloseWindowControllers, ClosesThoseOfAClassAndOfItsSubclasses)
{
    const auto settings = show<Settings>("settings");
    const auto draft = show<Draft>("draft");
    const auto mail = show<Mail>("mail");
    const auto alone = NSWindow::create({{}, {100, 100}}); // nobody's
    alone->makeKeyAndOrderFront();
    closeWindowControllers<Mail>();
    EXPECT_THAT(closed, ElementsAre("draft", "mail"));
    EXPECT_FALSE(draft->window()->isVisible());
    EXPECT_FALSE(mail->window()->isVisible());
    EXPECT_TRUE(settings->window()->isVisible());
    EXPECT_TRUE(alone->isVisible());
    closed.clear();
    closeWindowControllers<NSWindowController>();
    EXPECT_TRUE(alone->isVisible());
    EXPECT_FALSE(settings->window()->isVisible());
    EXPECT_THAT(closed, testing::Contains("settings"));
    alone->close();
}

TEST_F(CloseWindowControllers, ClosesNothingOfAClassThatNoneHas)
{
    const auto settings = show<Settings>("settings");
    const auto mail = show<Mail>("mail");
    closeWindowControllers<Draft>();
    EXPECT_THAT(closed, IsEmpty());
    EXPECT_TRUE(settings->window()->isVisible());
    closeWindowControllers<NSWindowController>();
    EXPECT_THAT(closed, ElementsAre("settings", "mail"));
}

TEST_F(CloseWindowControllers, FindsThemBeforeTheFirstOneCloses)
{
    auto first = show<Mail>("first");
    auto second = show<Mail>("second");
    std::shared_ptr<Mail> late;
    onClose(*first, [&] {
        second.reset(); // kept while it waits for its turn
        late = show<Mail>("late");
    });
    closeWindowControllers<Mail>();
    EXPECT_THAT(closed, ElementsAre("first", "second"));
    ASSERT_TRUE(late);
    EXPECT_TRUE(late->window()->isVisible());
    late->close();
}

} // namespace
