#include <LumoKit/Extensions/NSButton.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

void step(const NSStepper& stepper)
{
    gtk_spin_button_spin(GTK_SPIN_BUTTON(gtkWidget(stepper)), GTK_SPIN_STEP_FORWARD, 0);
}

TEST(IsOn, IsTrueForOnAlone)
{
    for (const auto& button : {NSButton::checkbox("Remember"), std::make_shared<NSButton>("Remember")}) {
        EXPECT_FALSE(isOn(*button));
        button->setState(NSControlStateValue::on);
        EXPECT_TRUE(isOn(*button));
        button->setState(NSControlStateValue::mixed);
        EXPECT_FALSE(isOn(*button));
    }
}

TEST(IsOn, MakesTheStateOnOrOff)
{
    const auto button = NSButton::checkbox("Remember");
    setIsOn(*button, true);
    EXPECT_EQ(button->state(), NSControlStateValue::on);
    setIsOn(*button, false);
    EXPECT_EQ(button->state(), NSControlStateValue::off);
    button->setState(NSControlStateValue::mixed);
    setIsOn(*button, false);
    EXPECT_EQ(button->state(), NSControlStateValue::off);
    button->setState(NSControlStateValue::mixed);
    setIsOn(*button, true);
    EXPECT_EQ(button->state(), NSControlStateValue::on);
}

TEST(OnAction, IsCalledWithTheButton)
{
    const auto button = std::make_shared<NSButton>("Brew");
    std::shared_ptr<NSObject> sender;
    onAction(*button, [&](const auto& clicked) { sender = clicked; });
    button->performClick();
    EXPECT_EQ(sender, button);
}

TEST(OnAction, IsCalledWithTheStepper)
{
    const auto stepper = std::make_shared<NSStepper>();
    std::shared_ptr<NSObject> sender;
    onAction(*stepper, [&](const auto& stepped) { sender = stepped; });
    step(*stepper);
    EXPECT_EQ(sender, stepper);
}

TEST(OnAction, ASecondOneTakesThePlaceOfTheFirst)
{
    const auto first = std::make_shared<int>(0);
    const auto second = std::make_shared<int>(0);
    const auto button = std::make_shared<NSButton>("Brew");
    onAction(*button, [first](auto&) { ++*first; });
    onAction(*button, [second](auto&) { ++*second; });
    button->performClick();
    EXPECT_EQ(*first, 0);
    EXPECT_EQ(*second, 1);
    EXPECT_EQ(first.use_count(), 1); // it has gone

    const auto stepper = std::make_shared<NSStepper>();
    onAction(*stepper, [first](auto&) { ++*first; });
    onAction(*stepper, [second](auto&) { ++*second; });
    step(*stepper);
    EXPECT_EQ(*first, 0);
    EXPECT_EQ(*second, 2);
    EXPECT_EQ(first.use_count(), 1);
}

TEST(OnAction, MayTakeItsOwnPlace)
{
    const auto button = std::make_shared<NSButton>("Brew");
    const auto kept = std::make_shared<int>(0);
    onAction(*button, [kept](const std::shared_ptr<NSObject>& sender) {
        onAction(static_cast<NSButton&>(*sender), [kept](auto&) { *kept += 10; });
        ++*kept; // it is still there
    });
    button->performClick();
    EXPECT_EQ(*kept, 1);
    button->performClick();
    EXPECT_EQ(*kept, 11);
}

TEST(OnAction, LivesAsLongAsTheControl)
{
    const auto kept = std::make_shared<int>(0);
    auto button = std::make_shared<NSButton>("Brew");
    auto stepper = std::make_shared<NSStepper>();
    onAction(*button, [kept](auto&) { });
    onAction(*stepper, [kept](auto&) { });
    EXPECT_EQ(kept.use_count(), 3);
    button.reset();
    EXPECT_EQ(kept.use_count(), 2);
    stepper.reset();
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(OnAction, IsAttachedUnderItsKey)
{
    const auto button = std::make_shared<NSButton>("Brew");
    int clicks = 0;
    onAction(*button, [&](auto&) { ++clicks; });
    button->setAssociatedObject("lm_action_trampoline", {});
    button->performClick(); // the button does not keep its target
    EXPECT_EQ(clicks, 0);
}

TEST(OnAction, MayBeEmpty)
{
    const auto button = std::make_shared<NSButton>("Brew");
    onAction(*button, {});
    button->performClick();
}

} // namespace
