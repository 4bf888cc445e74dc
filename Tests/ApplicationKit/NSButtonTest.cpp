#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

using namespace LumoKit;

namespace {

class NSButtonTest : public ::testing::Test {
protected:
    NSButtonTest() { static_cast<void>(NSApplication::shared()); }

    /// What the mouse does in the end.
    static void click(const NSButton& button) { gtk_button_clicked(GTK_BUTTON(gtkWidget(button))); }
};

TEST(NSButtonFirst, MayBeMadeBeforeTheApplication)
{
    const auto button = std::make_shared<NSButton>("Brew");
    EXPECT_EQ(button->title(), "Brew");
}

TEST_F(NSButtonTest, HasTheTitleAndFrameItWasMadeWith)
{
    const auto button = std::make_shared<NSButton>("Brew", CGRect{{1, 2}, {30, 40}});
    EXPECT_EQ(button->title(), "Brew");
    EXPECT_EQ(button->frame(), (CGRect{{1, 2}, {30, 40}}));
    EXPECT_TRUE(button->isEnabled());
    EXPECT_FALSE(button->isHidden());
}

TEST_F(NSButtonTest, ShowsItsTitleAsItIs)
{
    const auto button = std::make_shared<NSButton>("");
    EXPECT_EQ(button->title(), "");
    for (const std::string title : {"_Brew", "50 % <b>&amp;", "Tee k\u00FChlen \u2615", ""}) {
        button->setTitle(title);
        EXPECT_EQ(button->title(), title);
        GtkWidget* label = gtk_bin_get_child(GTK_BIN(gtkWidget(*button)));
        EXPECT_EQ(gtk_label_get_text(GTK_LABEL(label)), title); // what is drawn: no mnemonic, no markup
    }
}

TEST_F(NSButtonTest, DoesItsActionOnAClick)
{
    const auto button = std::make_shared<NSButton>("Brew");
    NSButton* clicked = nullptr;
    int count = 0;
    button->setAction([&](NSButton& sender) {
        clicked = &sender;
        ++count;
    });
    click(*button);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(clicked, button.get());
    button->performClick();
    EXPECT_EQ(count, 2);
}

TEST_F(NSButtonTest, DoesNothingWithoutAnAction)
{
    const auto button = std::make_shared<NSButton>("Brew");
    button->performClick();
    int count = 0;
    button->setAction([&](NSButton&) { ++count; });
    button->setAction({});
    button->performClick();
    EXPECT_EQ(count, 0);
}

TEST_F(NSButtonTest, DoesItsLastActionOnly)
{
    const auto button = std::make_shared<NSButton>("Brew");
    std::string log;
    button->setAction([&](NSButton&) { log += "first "; });
    button->setAction([&](NSButton&) { log += "second "; });
    button->performClick();
    EXPECT_EQ(log, "second ");
}

TEST_F(NSButtonTest, DoesNothingWhileItIsDisabled)
{
    const auto button = std::make_shared<NSButton>("Brew");
    int count = 0;
    button->setAction([&](NSButton&) { ++count; });
    button->setEnabled(false);
    EXPECT_FALSE(button->isEnabled());
    EXPECT_FALSE(gtk_widget_get_sensitive(gtkWidget(*button)));
    button->performClick();
    EXPECT_EQ(count, 0);
    button->setEnabled(true);
    button->performClick();
    EXPECT_EQ(count, 1);
}

TEST_F(NSButtonTest, LetsItsActionReplaceTheAction)
{
    const auto button = std::make_shared<NSButton>("Brew");
    std::string log;
    button->setAction([&log, kept = std::make_shared<std::string>("first ")](NSButton& sender) {
        sender.setAction([&log](NSButton&) { log += "second "; });
        log += *kept; // what the running action captured is there until it returns
    });
    button->performClick();
    button->performClick();
    EXPECT_EQ(log, "first second ");
}

TEST_F(NSButtonTest, LetsItsActionRemoveTheButton)
{
    const auto holder = std::make_shared<NSView>();
    std::weak_ptr<NSButton> watched;
    int count = 0;
    {
        const auto button = std::make_shared<NSButton>("Once");
        button->setAction([&count, kept = std::make_shared<int>(1)](NSButton& sender) {
            sender.removeFromSuperview();
            EXPECT_EQ(sender.title(), "Once"); // it is there until the action returns
            count += *kept;
        });
        holder->addSubview(button);
        watched = button;
    }
    click(*watched.lock());
    EXPECT_EQ(count, 1);
    EXPECT_TRUE(holder->subviews().empty());
    EXPECT_TRUE(watched.expired());
}

TEST_F(NSButtonTest, LetsItsActionCloseTheWindowThatItIsIn)
{
    std::weak_ptr<NSWindow> window;
    std::weak_ptr<NSButton> watched;
    {
        const auto made = NSWindow::create({{0, 0}, {100, 100}});
        const auto button = std::make_shared<NSButton>("Close", CGRect{{0, 0}, {50, 30}});
        button->setAction([](NSButton& sender) { sender.window()->close(); });
        made->contentView()->addSubview(button);
        made->makeKeyAndOrderFront();
        window = made;
        watched = button;
    }
    ASSERT_FALSE(window.expired());
    GtkWidget* widget = gtkWidget(*watched.lock());
    gtk_button_clicked(GTK_BUTTON(widget));
    EXPECT_TRUE(window.expired());
    EXPECT_TRUE(watched.expired());
}

TEST_F(NSButtonTest, LeavesNothingBehind)
{
    bool gone = false;
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> action(captured);
    const auto holder = std::make_shared<NSView>();
    std::weak_ptr<NSButton> watched;
    {
        const auto button = std::make_shared<NSButton>("Brew");
        button->setAction([captured = std::move(captured)](NSButton&) { });
        g_object_weak_ref(
            G_OBJECT(gtkWidget(*button)), +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; },
            &gone);
        holder->addSubview(button);
        button->performClick();
        button->removeFromSuperview();
        watched = button;
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(gone);
    EXPECT_TRUE(action.expired());
}

TEST_F(NSButtonTest, HoldsOtherViews)
{
    static_cast<void>(NSApplication::shared());
    const auto content = std::make_shared<NSView>(CGRect{{}, {200, 100}});
    const auto button = std::make_shared<NSButton>("Tea", CGRect{{10, 20}, {100, 40}});
    content->addSubview(button);
    const auto badge = std::make_shared<NSView>(CGRect{{80, 20}, {20, 20}});
    button->addSubview(badge);
    EXPECT_EQ(badge->superview(), button);
    EXPECT_EQ(button->superview(), content);
    button->setHidden(true);
    EXPECT_TRUE(button->isHidden());
    button->removeFromSuperview();
    EXPECT_EQ(button->superview(), nullptr);
    EXPECT_EQ(badge->superview(), button);
}

// ---- check boxes

TEST_F(NSButtonTest, ACheckBoxGoesOnAndOff)
{
    const auto box = NSButton::checkbox("Milk", {{1, 2}, {30, 40}});
    EXPECT_EQ(box->title(), "Milk");
    EXPECT_EQ(box->frame(), (CGRect{{1, 2}, {30, 40}}));
    EXPECT_EQ(box->state(), NSControlStateValue::off);
    click(*box);
    EXPECT_EQ(box->state(), NSControlStateValue::on);
    box->performClick();
    EXPECT_EQ(box->state(), NSControlStateValue::off);
}

TEST_F(NSButtonTest, ACheckBoxGoesFromMixedToOn)
{
    const auto box = NSButton::checkbox("Milk");
    for (const auto before : {NSControlStateValue::off, NSControlStateValue::on}) {
        box->setState(before);
        box->setState(NSControlStateValue::mixed);
        EXPECT_EQ(box->state(), NSControlStateValue::mixed);
        click(*box);
        EXPECT_EQ(box->state(), NSControlStateValue::on);
    }
}

TEST_F(NSButtonTest, SettingAStateDoesNotDoTheAction)
{
    const auto box = NSButton::checkbox("Milk");
    int actions = 0;
    box->setAction([&](NSButton&) { ++actions; });
    for (const auto state : {NSControlStateValue::on, NSControlStateValue::mixed, NSControlStateValue::off,
             NSControlStateValue::on}) {
        box->setState(state);
        EXPECT_EQ(box->state(), state);
    }
    EXPECT_EQ(actions, 0);
    click(*box);
    EXPECT_EQ(actions, 1);
}

TEST_F(NSButtonTest, APushButtonKeepsTheStateItWasGiven)
{
    const auto button = std::make_shared<NSButton>("Brew");
    EXPECT_EQ(button->state(), NSControlStateValue::off);
    button->setState(NSControlStateValue::mixed);
    click(*button);
    EXPECT_EQ(button->state(), NSControlStateValue::mixed);
}

} // namespace
