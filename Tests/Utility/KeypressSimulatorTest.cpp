#include "Support/KeyPage.h"

#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Utility/KeypressSimulator.h>

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::KeyPage;
using LumoKit::Test::waitUntil;

namespace {

using Flags = NSEvent::ModifierFlags;

/// Keeps every key, and takes those that it is told to.
class KeyRecorder : public NSView {
public:
    using NSView::NSView;
    bool performKeyEquivalent(const NSEvent& with) override
    {
        events.push_back(with);
        return takes;
    }
    bool takes = false;
    std::vector<NSEvent> events;
};

TEST(KeyPress, IsTheSameForItsReader)
{
    EXPECT_EQ((KeyPress{"k", Flags::command}), (KeyPress{"k", Flags::command}));
    EXPECT_NE((KeyPress{"k", Flags::command}), (KeyPress{"k", {}}));
    EXPECT_NE((KeyPress{"k", {}}), (KeyPress{"K", {}}));
    EXPECT_EQ((KeyPress{"\u00E9", {}}), (KeyPress{"e\u0301", {}})); // é in two forms
    EXPECT_EQ((KeyPress{"\u1EAD", {}}), (KeyPress{"a\u0323\u0302", {}}));
    EXPECT_NE((KeyPress{"\u00E9", {}}), (KeyPress{"e", {}}));
    EXPECT_NE((KeyPress{"\u00E9", Flags::shift}), (KeyPress{"e\u0301", {}}));
    EXPECT_NE((KeyPress{"\xFF", {}}), (KeyPress{"\uFFFD", {}})); // bytes that are no text
}

/// Sends keys to a window that has no page.
class KeyPressSimulatorTest : public ::testing::Test {
protected:
    KeyPressSimulatorTest()
    {
        window->contentView()->addSubview(recorder);
        window->makeKeyAndOrderFront();
    }
    ~KeyPressSimulatorTest() override
    {
        NSApplication::shared().setMainMenu(nullptr);
        window->close();
    }

    std::shared_ptr<NSWindow> window = NSWindow::create({{}, {200, 200}});
    std::shared_ptr<KeyRecorder> recorder = std::make_shared<KeyRecorder>(CGRect{{}, {10, 10}});
};

TEST_F(KeyPressSimulatorTest, SendsOneKeyThatGoesDown)
{
    using namespace std::chrono;
    const auto now = [] {
        return duration<double>(system_clock::now() - sys_days(year(2001) / January / 1)).count();
    };
    const double before = now();
    KeyPressSimulator::simulate(KeyPress{"k", Flags::command});
    const double after = now();
    ASSERT_EQ(recorder->events.size(), 1U); // when the call has returned
    const NSEvent& event = recorder->events[0];
    EXPECT_EQ(event.type, NSEvent::EventType::keyDown);
    EXPECT_EQ(static_cast<int>(event.type), 10);
    EXPECT_EQ(event.locationInWindow, CGPoint());
    EXPECT_EQ(event.modifierFlags, Flags::command);
    EXPECT_GE(event.timestamp, before);
    EXPECT_LE(event.timestamp, after);
    EXPECT_EQ(event.windowNumber, 0);
    EXPECT_EQ(event.window(), nullptr);
    EXPECT_EQ(event.characters, "k");
    EXPECT_EQ(event.charactersIgnoringModifiers, "k");
    EXPECT_FALSE(event.isARepeat);
    EXPECT_EQ(event.keyCode, 0);
}

TEST_F(KeyPressSimulatorTest, HasTheModifiersAndTheTextAsTheyWereGiven)
{
    constexpr Flags all{0x123FF0100};
    KeyPressSimulator::simulate(KeyPress{"e\u0301", all});
    ASSERT_EQ(recorder->events.size(), 1U);
    EXPECT_EQ(recorder->events[0].modifierFlags, all);
    EXPECT_EQ(recorder->events[0].characters, "e\u0301"); // in the form that it was written in
    EXPECT_EQ(recorder->events[0].charactersIgnoringModifiers, "e\u0301");
}

TEST_F(KeyPressSimulatorTest, SendsASequenceInOrder)
{
    KeyPressSimulator::simulate(
        std::vector<KeyPress>{{"a", {}}, {"B", Flags::shift}, {"👨‍👩‍👧", Flags::option}});
    ASSERT_EQ(recorder->events.size(), 3U);
    EXPECT_EQ(recorder->events[0].characters, "a");
    EXPECT_EQ(recorder->events[1].characters, "B");
    EXPECT_EQ(recorder->events[1].modifierFlags, Flags::shift);
    EXPECT_EQ(recorder->events[2].characters, "👨‍👩‍👧");
    for (const NSEvent& event : recorder->events)
        EXPECT_EQ(event.type, NSEvent::EventType::keyDown);
    KeyPressSimulator::simulate(std::vector<KeyPress>{});
    EXPECT_EQ(recorder->events.size(), 3U);
}

TEST_F(KeyPressSimulatorTest, PassesOverWhatIsNoCharacter)
{
    KeyPressSimulator::simulate(
        {{"a", {}}, {"", {}}, {"ab", {}}, {"\xC3", {}}, {std::string(1, '\0'), {}}, {"b", {}}});
    ASSERT_EQ(recorder->events.size(), 2U);
    EXPECT_EQ(recorder->events[1].characters, "b");
}

TEST_F(KeyPressSimulatorTest, ReachesMenusAfterTheViews)
{
    std::string chosen;
    const auto menu = std::make_shared<NSMenu>();
    menu->addItem(std::make_shared<NSMenuItem>("New", [&](NSMenuItem&) { chosen += "New "; }, "n"));
    NSApplication::shared().setMainMenu(menu);
    KeyPressSimulator::simulate(KeyPress{"n", Flags::command});
    EXPECT_EQ(chosen, "New ");
    recorder->takes = true;
    KeyPressSimulator::simulate(KeyPress{"n", Flags::command});
    EXPECT_EQ(chosen, "New ");
    window->close(); // without a window, the menu alone
    KeyPressSimulator::simulate(KeyPress{"n", Flags::command});
    EXPECT_EQ(chosen, "New New ");
    EXPECT_EQ(recorder->events.size(), 2U);
}

TEST_F(KeyPressSimulatorTest, TypesIntoAControlOfTheToolkit)
{
    GtkWidget* entry = gtk_entry_new();
    gtk_box_pack_start(
        GTK_BOX(gtk_widget_get_parent(gtkWidget(*window->contentView()))), entry, FALSE, FALSE, 0);
    gtk_widget_show(entry);
    gtk_widget_grab_focus(entry);
    KeyPressSimulator::simulate({{"a", {}}, {"é", {}}, {"😀", {}}, {"e\u0301", {}},
        {"👨‍👩‍👧", {}}, {"b", {}}, {"\x7F", {}}});
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(entry)), "aé😀e\u0301👨‍👩‍👧");
    gtk_widget_destroy(entry);
}

TEST_F(KeyPressSimulatorTest, IsNotReadUnderAPanel)
{
    GtkWidget* panel = gtk_dialog_new();
    gtk_window_set_transient_for(GTK_WINDOW(panel), gtkWindow(*window));
    gtk_window_set_modal(GTK_WINDOW(panel), TRUE);
    gtk_widget_show(panel);
    KeyPressSimulator::simulate(KeyPress{"a", {}});
    EXPECT_TRUE(recorder->events.empty());
    gtk_widget_destroy(panel);
    KeyPressSimulator::simulate(KeyPress{"a", {}});
    EXPECT_EQ(recorder->events.size(), 1U);
}

TEST_F(KeyPressSimulatorTest, MayCloseTheWindow)
{
    const auto menu = std::make_shared<NSMenu>();
    menu->addItem(std::make_shared<NSMenuItem>(
        "Close",
        [&](NSMenuItem&) {
            window->close();
            window.reset();
            recorder.reset();
        },
        "w"));
    NSApplication::shared().setMainMenu(menu);
    KeyPressSimulator::simulate(KeyPress{"w", Flags::command});
    EXPECT_EQ(window, nullptr);
    window = NSWindow::create({{}, {200, 200}});
}

TEST(KeyEvent, IsNotMadeOfWhatIsNoText)
{
    using enum NSEvent::EventType;
    EXPECT_TRUE(NSEvent::keyEvent(keyUp, {}, {}, 0, 0, "a", "a", false, 0));
    EXPECT_FALSE(NSEvent::keyEvent(keyUp, {}, {}, 0, 0, "\xFF", "a", false, 0));
    EXPECT_FALSE(NSEvent::keyEvent(keyUp, {}, {}, 0, 0, "a", std::string("a\0b", 3), false, 0));
}

/// Sends keys to a page.
class KeyPressInAPageTest : public ::testing::Test {
protected:
    KeyPressInAPageTest() { EXPECT_TRUE(page.open()); }
    KeyPage page;
};

TEST_F(KeyPressInAPageTest, IsTrustedAndHasNoRelease)
{
    KeyPressSimulator::simulate({{"a", {}}, {"K", Flags::shift}, {"é", {}}, {"😀", {}}, {"z", {}}});
    EXPECT_EQ(page.logUpTo("input(z)"),
        "keydown(a) input(a) keydown(K+shift) input(K) keydown(é) input(é) keydown(Unidentified) input(😀) "
        "keydown(z) input(z)");
    EXPECT_EQ(page.text(), "aKé😀z");
}

TEST_F(KeyPressInAPageTest, IsNoRepetitionOfThePressBefore)
{
    KeyPressSimulator::simulate(
        {{"a", {}}, {"a", {}}, {"k", Flags::command}, {"k", Flags::command}, {"z", {}}});
    EXPECT_EQ(page.logUpTo("input(z)"),
        "keydown(a) input(a) keydown(a) input(a) keydown(k+ctrl) keydown(k+ctrl) keydown(z) input(z)");
    static_cast<void>(page.evaluate("t.blur(); log = []; ''")); // where nothing can be typed
    KeyPressSimulator::simulate(
        {{"a", {}}, {"a", {}}, {"k", Flags::command}, {"k", Flags::command}, {"z", {}}});
    EXPECT_EQ(page.logUpTo("keydown(z)"), "keydown(a) keydown(a) keydown(k+ctrl) keydown(k+ctrl) keydown(z)");
}

TEST_F(KeyPressInAPageTest, TypesWholeCharacters)
{
    KeyPressSimulator::simulate({{"👨‍👩‍👧", {}}, {"e\u0301", {}}, {"🇩🇪", {}}, {"z", {}}});
    const std::string log = page.logUpTo("input(z)");
    EXPECT_EQ(page.text(), "👨‍👩‍👧e\u0301🇩🇪z");
    EXPECT_NE(log.find("input(👨‍👩‍👧)"), std::string::npos) << log;
    EXPECT_EQ(log.find("untrusted"), std::string::npos) << log;
    // And the keyboard types as before.
    KeyPressSimulator::simulate(KeyPress{"y", {}});
    EXPECT_TRUE(page.logUpTo("input(y)").ends_with("keydown(y) input(y)"));
}

TEST_F(KeyPressInAPageTest, MovesAndEdits)
{
    KeyPressSimulator::simulate({{"a", {}}, {"b", {}}, {NSLeftArrowFunctionKey, Flags::function}, {"c", {}},
        {"\x7F", {}}, {"d", {}}, {"\r", {}}, {"e", {}}});
    static_cast<void>(page.logUpTo("input(e)"));
    EXPECT_EQ(page.text(), "ad\neb");
}

TEST_F(KeyPressInAPageTest, GoesOnToTheMenusAsItWas)
{
    page.addItem("Print", "p");
    page.addItem("New", "n");
    page.addItem("Sort", "s", Flags::control | Flags::option);
    page.addItem("Settings", ",");
    KeyPressSimulator::simulate({{"p", Flags::command}, {"n", Flags::command},
        {"s", Flags::control | Flags::option}, {",", Flags::command}});
    // Such a press is known by its character: that it has the code of another key than the comma lets the page see it.
    EXPECT_EQ(page.logUpTo("keydown(,+ctrl)"),
        "keydown(p+ctrl) keydown(n+ctrl) keydown(s+ctrl+alt) keydown(,+ctrl)");
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New Sort Settings "; })) << page.chosen;
}

TEST_F(KeyPressInAPageTest, HasTheMetaKeyWhereSuperIsCommand)
{
    NSApplication::shared().setCommandKey(NSApplication::CommandKey::super);
    ASSERT_TRUE(page.load());
    static_cast<void>(page.evaluate("t.focus(); ''"));
    page.addItem("New", "n");
    KeyPressSimulator::simulate({{"n", Flags::command}, {"a", {}}});
    EXPECT_TRUE(page.logUpTo("input(a)").starts_with("keydown(n+meta) keydown(a)"));
    EXPECT_EQ(page.text(), "a");
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New "; }));
}

TEST_F(KeyPressInAPageTest, IsSilencedByItsCode)
{
    page.view->keyCodesToSilence = {KeyCode::a}; // the code of every such press
    KeyPressSimulator::simulate({{"k", {}}, {"k", Flags::shift}});
    EXPECT_EQ(page.logUpTo("input(k)"), "keydown(k+shift) input(k)");
}

TEST_F(KeyPressInAPageTest, ReachesAPageThatIsBusy)
{
    page.view->evaluateJavaScript("for (const end = Date.now() + 300; Date.now() < end;);");
    KeyPressSimulator::simulate({{"a", {}}, {"b", {}}, {"c", {}}});
    static_cast<void>(page.logUpTo("input(c)"));
    EXPECT_EQ(page.text(), "abc");
}

} // namespace
