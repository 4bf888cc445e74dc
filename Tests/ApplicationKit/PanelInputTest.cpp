#include "ApplicationKit/PressGate.h"

#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/Panels.h>
#include <Support/XKeys.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

/// A window that is filled by a button, which counts its clicks.
struct Target {
    explicit Target(const CGRect& rect)
        : window(NSWindow::create(rect))
        , button(std::make_shared<NSButton>("Click", CGRect{{}, rect.size}))
    {
        button->setAction([this](NSButton&) { ++clicks; });
        window->contentView()->addSubview(button);
        window->makeKeyAndOrderFront();
        EXPECT_TRUE(waitUntil([&] { return window->isKeyWindow(); }));
    }
    ~Target() { window->close(); }

    std::shared_ptr<NSWindow> window;
    std::shared_ptr<NSButton> button;
    int clicks = 0;
};

/// Real keys and clicks. These tests have the screen to themselves.
class PanelInputTest : public ::testing::Test {
protected:
    PanelInputTest() { static_cast<void>(NSApplication::shared()); }

    /// Presses keys once an alert has the keyboard, and gives its answer.
    static NSModalResponse answer(
        const std::vector<std::string>& titles, const std::vector<std::string>& keys)
    {
        const auto asked = std::make_shared<NSAlert>();
        for (const auto& title : titles)
            asked->addButton(title);
        whenPanelComes([&](GtkDialog* panel) {
            if (!waitForKeyboard(panel))
                gtk_dialog_response(panel, -99);
            for (const auto& key : keys)
                pressKey(key);
        });
        return asked->runModal();
    }

    static void begin(const NSWindow& window, NSAlert::CompletionHandler ended = {})
    {
        const auto asked = std::make_shared<NSAlert>();
        asked->messageText = "Tea?";
        asked->beginSheetModal(
            std::static_pointer_cast<NSWindow>(const_cast<NSWindow&>(window).shared_from_this()),
            std::move(ended));
    }
};

TEST_F(PanelInputTest, ReturnPressesTheFirstButton)
{
    EXPECT_EQ(answer({"Yes", "Later", "No"}, {"Return"}), NSAlertFirstButtonReturn);
}

TEST_F(PanelInputTest, EscapePressesTheCancelButton)
{
    EXPECT_EQ(answer({"OK"}, {"Escape"}), NSAlertFirstButtonReturn);
    EXPECT_EQ(answer({"Delete", "Keep"}, {"Escape"}), NSAlertSecondButtonReturn);
    EXPECT_EQ(answer({"Save", "Cancel", "Discard"}, {"Escape"}), NSAlertSecondButtonReturn);
}

TEST_F(PanelInputTest, EscapeChoosesNoneOfThreeEqualButtons)
{
    EXPECT_EQ(answer({"Red", "Green", "Blue"}, {"Escape", "Escape", "Return"}), NSAlertFirstButtonReturn);
}

TEST_F(PanelInputTest, SpacePressesTheButtonThatTabHasReached)
{
    const auto response = answer({"Yes", "No"}, {"Tab", "space"});
    EXPECT_EQ(response, NSAlertSecondButtonReturn);
}

TEST_F(PanelInputTest, TypesIntoAnAccessoryFieldAndConfirmsWithReturn)
{
    const auto asked = std::make_shared<NSAlert>();
    asked->addButton("OK");
    asked->addButton("Cancel");
    const auto field = std::make_shared<NSTextField>(CGRect{{}, {200, 24}});
    asked->accessoryView = field;
    whenPanelComes([&](GtkDialog* panel) {
        EXPECT_TRUE(waitForKeyboard(panel));
        typeText("Green Tea 42");
        pressKey("Return");
    });
    EXPECT_EQ(asked->runModal(), NSAlertFirstButtonReturn);
    EXPECT_EQ(field->stringValue(), "Green Tea 42");
}

TEST_F(PanelInputTest, ASheetBlocksItsWindowAlone)
{
    Target left({{20, 300}, {400, 400}});
    Target right({{700, 300}, {400, 400}});
    int answers = 0;
    begin(*left.window, [&](auto) { ++answers; });
    GtkDialog* panel = waitForPanel();
    ASSERT_TRUE(waitForKeyboard(panel));
    gtk_window_move(GTK_WINDOW(panel), 450, 20); // off the button
    ASSERT_TRUE(waitUntil([&] {
        int x = 0;
        int y = 0;
        gtk_window_get_position(GTK_WINDOW(panel), &x, &y);
        return x == 450 && y == 20;
    }));
    clickOn(gtkWidget(*left.button));
    clickOn(gtkWidget(*right.button));
    ASSERT_TRUE(waitUntil([&] { return right.clicks == 1; }));
    EXPECT_EQ(left.clicks, 0);
    gtk_dialog_response(panel, 1000);
    EXPECT_EQ(answers, 1);
    clickOn(gtkWidget(*left.button));
    EXPECT_TRUE(waitUntil([&] { return left.clicks == 1; }));
}

TEST_F(PanelInputTest, AModalAlertBlocksAllWindowsAndTheirSheets)
{
    Target left({{20, 300}, {400, 400}});
    Target right({{700, 300}, {400, 400}});
    bool sheetAnswered = false;
    begin(*right.window, [&](auto) { sheetAnswered = true; });
    GtkDialog* sheet = waitForPanel();
    ASSERT_NE(sheet, nullptr);
    const auto asked = std::make_shared<NSAlert>();
    const auto drive = [&] {
        GtkDialog* modal = nullptr;
        EXPECT_TRUE(waitUntil([&] {
            for (GtkDialog* panel : panels())
                if (panel != sheet)
                    modal = panel;
            return modal && gtk_window_is_active(GTK_WINDOW(modal));
        }));
        gtk_window_move(GTK_WINDOW(modal), 450, 20);
        EXPECT_TRUE(waitUntil([&] {
            int x = 0;
            int y = 0;
            gtk_window_get_position(GTK_WINDOW(modal), &x, &y);
            return x == 450 && y == 20;
        }));
        clickOn(gtkWidget(*left.button));
        clickOn(button(sheet, "OK"));
        clickOn(gtkWidget(*asked->buttons().front()));
    };
    g_idle_add(
        +[](gpointer what) -> gboolean {
            (*static_cast<decltype(drive)*>(what))();
            return G_SOURCE_REMOVE;
        },
        const_cast<void*>(static_cast<const void*>(&drive)));
    EXPECT_EQ(asked->runModal(), NSAlertFirstButtonReturn);
    EXPECT_EQ(left.clicks, 0);
    EXPECT_FALSE(sheetAnswered);
    clickOn(gtkWidget(*left.button)); // free again
    EXPECT_TRUE(waitUntil([&] { return left.clicks == 1; }));
    gtk_dialog_response(sheet, 1000);
    EXPECT_TRUE(sheetAnswered);
}

TEST_F(PanelInputTest, AWindowCanBeRunModally)
{
    Target other({{20, 300}, {400, 400}});
    Target modal({{700, 300}, {400, 400}});
    modal.button->setAction([&](NSButton&) {
        ++modal.clicks;
        NSApplication::shared().stopModal(7);
    });
    const auto drive = [&] {
        clickOn(gtkWidget(*other.button));
        clickOn(gtkWidget(*modal.button));
    };
    g_idle_add(
        +[](gpointer what) -> gboolean {
            (*static_cast<decltype(drive)*>(what))();
            return G_SOURCE_REMOVE;
        },
        const_cast<void*>(static_cast<const void*>(&drive)));
    EXPECT_EQ(NSApplication::shared().runModal(modal.window), 7);
    EXPECT_EQ(modal.clicks, 1);
    EXPECT_EQ(other.clicks, 0);
    EXPECT_TRUE(modal.window->isVisible()); // it stays
}

TEST_F(PanelInputTest, AWindowThatIsRunModallyMayHaveASheet)
{
    Target modal({{300, 300}, {400, 400}});
    begin(*modal.window, [](NSModalResponse response) { NSApplication::shared().stopModal(response); });
    whenPanelComes([&](GtkDialog* panel) {
        EXPECT_TRUE(waitForKeyboard(panel));
        clickOn(button(panel, "OK"));
    });
    EXPECT_EQ(NSApplication::shared().runModal(modal.window), NSAlertFirstButtonReturn);
}

TEST_F(PanelInputTest, AClosedWindowEndsItsModalSession)
{
    Target modal({{300, 300}, {400, 400}});
    g_idle_add(
        +[](gpointer window) -> gboolean {
            static_cast<NSWindow*>(window)->close();
            return G_SOURCE_REMOVE;
        },
        modal.window.get());
    EXPECT_EQ(NSApplication::shared().runModal(modal.window), NSModalResponseAbort);
}

TEST_F(PanelInputTest, TheWindowBelowASheetCountsAsKey)
{
    Target target({{300, 300}, {400, 400}});
    std::shared_ptr<NSWindow> during;
    begin(*target.window, [&](auto) { during = NSApplication::shared().keyWindow(); });
    GtkDialog* panel = waitForPanel();
    ASSERT_TRUE(waitForKeyboard(panel));
    ASSERT_TRUE(waitUntil([&] { return !target.window->isKeyWindow(); }));
    EXPECT_EQ(NSApplication::shared().keyWindow(), target.window);
    gtk_dialog_response(panel, 1000);
    EXPECT_EQ(during, target.window); // though the keyboard is not back yet
    EXPECT_TRUE(waitUntil([&] { return target.window->isKeyWindow(); }));
}

TEST_F(PanelInputTest, AModalPanelGivesTheKeyboardBack)
{
    Target target({{300, 300}, {400, 400}});
    EXPECT_EQ(answer({"OK"}, {"Return"}), NSAlertFirstButtonReturn);
    EXPECT_EQ(NSApplication::shared().keyWindow(), target.window);
    EXPECT_TRUE(waitUntil([&] { return target.window->isKeyWindow(); }));
}

// ---- presses and releases

TEST(PressGate, SendsAReleaseWhereItsPressWent)
{
    using detail::PressGate;
    using Device = PressGate::Device;
    const int one = 0;
    const int two = 0;
    PressGate gate;
    EXPECT_TRUE(gate.release(Device::button, &one)); // pressed before there was a gate
    EXPECT_TRUE(gate.press(Device::button, &one, true));
    EXPECT_TRUE(gate.release(Device::button, &one));
    EXPECT_FALSE(gate.press(Device::button, &one, false));
    EXPECT_TRUE(gate.release(Device::button, &two));
    EXPECT_TRUE(gate.release(Device::key, &one));
    EXPECT_FALSE(gate.release(Device::button, &one));
    EXPECT_TRUE(gate.release(Device::button, &one));
    EXPECT_FALSE(gate.press(Device::key, &one, false));
    EXPECT_TRUE(gate.press(Device::key, &one, true)); // a release was missed
    EXPECT_TRUE(gate.release(Device::key, &one));
}

} // namespace
