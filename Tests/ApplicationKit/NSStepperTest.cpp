#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSStepper.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

/// What the mouse and the arrow keys do in the end.
void step(const NSStepper& stepper, bool up = true)
{
    gtk_spin_button_spin(
        GTK_SPIN_BUTTON(gtkWidget(stepper)), up ? GTK_SPIN_STEP_FORWARD : GTK_SPIN_STEP_BACKWARD, 0);
}

TEST(NSStepperTest, HasThePlatformsRangeAtFirst)
{
    const auto stepper = std::make_shared<NSStepper>(CGRect{{1, 2}, {60, 30}});
    EXPECT_EQ(stepper->frame(), (CGRect{{1, 2}, {60, 30}}));
    EXPECT_EQ(stepper->doubleValue(), 0);
    EXPECT_EQ(stepper->minValue(), 0);
    EXPECT_EQ(stepper->maxValue(), 59);
    EXPECT_EQ(stepper->increment(), 1);
    EXPECT_TRUE(stepper->valueWraps());
    EXPECT_TRUE(stepper->isEnabled());
}

TEST(NSStepperTest, StaysWithinItsRange)
{
    const auto stepper = std::make_shared<NSStepper>();
    stepper->setMinValue(-5);
    stepper->setMaxValue(5);
    stepper->setDoubleValue(7);
    EXPECT_EQ(stepper->doubleValue(), 5);
    stepper->setDoubleValue(-70);
    EXPECT_EQ(stepper->doubleValue(), -5);
    stepper->setDoubleValue(0.25);
    EXPECT_EQ(stepper->doubleValue(), 0.25);
    stepper->setMinValue(2);
    EXPECT_EQ(stepper->doubleValue(), 2);
}

TEST(NSStepperTest, StepsByItsIncrementAndWrapsIfItMay)
{
    const auto stepper = std::make_shared<NSStepper>();
    stepper->setMaxValue(1);
    stepper->setIncrement(0.5);
    for (const double value : {0.5, 1.0, 0.0}) {
        step(*stepper);
        EXPECT_EQ(stepper->doubleValue(), value);
    }
    step(*stepper, false);
    EXPECT_EQ(stepper->doubleValue(), 1);
    stepper->setValueWraps(false);
    step(*stepper);
    EXPECT_EQ(stepper->doubleValue(), 1);
}

TEST(NSStepperTest, TellsItsActionOfStepsAlone)
{
    const auto stepper = std::make_shared<NSStepper>();
    int steps = 0;
    NSStepper* sender = nullptr;
    stepper->setAction([&](NSStepper& stepped) {
        ++steps;
        sender = &stepped;
    });
    stepper->setDoubleValue(5);
    stepper->setMaxValue(3);
    stepper->setMinValue(1);
    EXPECT_EQ(steps, 0);
    step(*stepper, false);
    EXPECT_EQ(steps, 1);
    EXPECT_EQ(sender, stepper.get());
    EXPECT_EQ(stepper->doubleValue(), 2);
    stepper->setAction({});
    step(*stepper);
    EXPECT_EQ(steps, 1);
}

TEST(NSStepperTest, ShowsNoNumberAndTakesNoneThatIsTyped)
{
    const auto stepper = std::make_shared<NSStepper>(CGRect{{}, {70, 30}});
    GtkEntry* field = GTK_ENTRY(gtkWidget(*stepper));
    stepper->setDoubleValue(12);
    EXPECT_STREQ(gtk_entry_get_text(field), "");
    int position = 0;
    gtk_editable_insert_text(GTK_EDITABLE(field), "7", 1, &position);
    gtk_spin_button_update(GTK_SPIN_BUTTON(field)); // as it does when the keyboard goes elsewhere
    EXPECT_EQ(stepper->doubleValue(), 12);
    EXPECT_STREQ(gtk_entry_get_text(field), "");
}

TEST(NSStepperTest, TellsAssistiveSoftwareItsValue)
{
    const auto stepper = std::make_shared<NSStepper>();
    AtkObject* accessible = gtk_widget_get_accessible(gtkWidget(*stepper));
    EXPECT_EQ(atk_object_get_role(accessible), ATK_ROLE_SPIN_BUTTON);
    ASSERT_TRUE(ATK_IS_VALUE(accessible));
    stepper->setDoubleValue(4);
    double value = 0;
    char* text = nullptr;
    atk_value_get_value_and_text(ATK_VALUE(accessible), &value, &text);
    g_free(text);
    EXPECT_EQ(value, 4);
    int steps = 0;
    stepper->setAction([&](NSStepper&) { ++steps; });
    atk_value_set_value(ATK_VALUE(accessible), 9);
    EXPECT_EQ(stepper->doubleValue(), 9);
    EXPECT_EQ(steps, 1); // the user's, by other means
}

TEST(NSStepperTest, ItsActionMayRemoveIt)
{
    const auto window = NSWindow::create({{}, {100, 100}});
    auto stepper = std::make_shared<NSStepper>(CGRect{{}, {70, 30}});
    const std::weak_ptr<NSStepper> weak = stepper;
    window->contentView()->addSubview(stepper);
    stepper->setAction([](NSStepper& stepped) { stepped.removeFromSuperview(); });
    GtkWidget* widget = gtkWidget(*stepper);
    stepper.reset();
    gtk_spin_button_spin(GTK_SPIN_BUTTON(widget), GTK_SPIN_STEP_FORWARD, 0);
    EXPECT_FALSE(weak.expired()); // the toolkit has not finished with it
    runPendingTurns();
    EXPECT_TRUE(weak.expired());
}

TEST(NSStepperTest, IsNoWiderThanItsButtons)
{
    const auto stepper = std::make_shared<NSStepper>();
    int least = 0;
    int natural = 0;
    gtk_widget_get_preferred_width(gtkWidget(*stepper), &least, &natural);
    EXPECT_LE(least, 56);
    EXPECT_LE(natural, 56);
    gtk_widget_get_preferred_height(gtkWidget(*stepper), &least, &natural);
    EXPECT_LE(least, 24);
}

TEST(NSStepperTest, HasItsOwnWidthInTheMiddleOfItsFrame)
{
    const auto window = NSWindow::create({{}, {300, 100}});
    const auto small = std::make_shared<NSStepper>(CGRect{{100, 50}, {2, 2}});
    const auto large = std::make_shared<NSStepper>(CGRect{{150, 50}, {120, 40}});
    window->contentView()->addSubview(small);
    window->contentView()->addSubview(large);
    window->makeKeyAndOrderFront();
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(gtkWidget(*large)); }));
    for (const auto& stepper : {small, large}) {
        GtkWidget* widget = gtkWidget(*stepper);
        int least = 0;
        gtk_widget_get_preferred_width(widget, &least, nullptr);
        GtkAllocation place;
        gtk_widget_get_allocation(widget, &place);
        EXPECT_EQ(place.width, least);
        EXPECT_NEAR(place.x + place.width / 2.0, stepper->frame().minX() + stepper->frame().width() / 2, 1);
        EXPECT_GE(place.height, stepper->frame().height());
    }
    EXPECT_EQ(small->frame(), (CGRect{{100, 50}, {2, 2}}));
    window->close();
}

TEST(NSStepperTest, CanBeDisabled)
{
    const auto stepper = std::make_shared<NSStepper>();
    stepper->setEnabled(false);
    EXPECT_FALSE(stepper->isEnabled());
    EXPECT_FALSE(gtk_widget_is_sensitive(gtkWidget(*stepper)));
}

} // namespace
