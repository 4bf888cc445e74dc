#include <LumoKit/View/BackgroundView.h>
#include <LumoKit/View/ViewController.h>

#include <gtest/gtest.h>

#include <string>

using namespace LumoKit;

namespace {

struct Services {
    std::string account;
};

class DayView : public BackgroundView, public View {
public:
    void addSubviews() override { addSubview(std::make_shared<NSView>()); }
    void layOutSubviews() override { subviews().front()->setFrame(bounds()); }
};

class DayController : public NSViewController, public ViewController<Services, DayView> {
public:
    explicit DayController(bool otherView = false)
        : otherView(otherView)
    {
    }
    const Services& dependencies() const override { return services; }
    void setDependencies(Services dependencies) override { services = std::move(dependencies); }

protected:
    void loadView() override
    {
        if (otherView)
            setView(std::make_shared<BackgroundView>());
        else
            setView(std::make_shared<DayView>());
    }
    void viewDidLoad() override
    {
        if (!otherView)
            rootView()->addSubviews();
    }

private:
    const bool otherView;
    Services services;
};

/// In charge of a view without being one of the platform's.
class Elsewhere : public ViewController<int, DayView> {
public:
    const int& dependencies() const override { return number; }
    void setDependencies(int dependencies) override { number = dependencies; }

private:
    int number = 0;
};

TEST(ViewControllerTest, HasAViewOfItsOwnClass)
{
    const auto controller = std::make_shared<DayController>();
    const std::shared_ptr<DayView> view = controller->rootView(); // the first call makes it
    EXPECT_EQ(view, controller->view());
    EXPECT_EQ(view->subviews().size(), 1U);
    view->setFrame({{}, {30, 20}});
    view->layOutSubviews();
    EXPECT_EQ(view->subviews().front()->frame(), (CGRect{{}, {30, 20}}));
}

TEST(ViewControllerTest, IsGivenWhatItNeeds)
{
    const auto controller = std::make_shared<DayController>();
    controller->setDependencies({"ada@example.com"});
    EXPECT_EQ(controller->dependencies().account, "ada@example.com");
}

TEST(ViewControllerDeathTest, AViewOfAnotherClassStops)
{
    const auto controller = std::make_shared<DayController>(true);
    EXPECT_DEATH(static_cast<void>(controller->rootView()), "not of the controller's RootView class");
    Elsewhere elsewhere;
    EXPECT_DEATH(static_cast<void>(elsewhere.rootView()), "not of the controller's RootView class");
}

} // namespace
