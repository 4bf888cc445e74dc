// Keys that are pressed on the keyboard of the screen.

#include "Support/Keyboard.h"

#include "Support/KeyPage.h"

#include <LumoKit/Platform/Native/Gtk.h>

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cstdlib>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::Keyboard;
using LumoKit::Test::KeyPage;
using LumoKit::Test::waitUntil;

namespace {

using Flags = NSEvent::ModifierFlags;
constexpr Flags modifiers = Flags::shift | Flags::control | Flags::option | Flags::command;

/// Takes every key and keeps it.
class KeyRecorder : public NSView {
public:
    using NSView::NSView;
    bool performKeyEquivalent(const NSEvent& with) override
    {
        events.push_back(with);
        return true;
    }
    std::vector<NSEvent> events;
};

/// A window of keys without a page.
class KeyEventTest : public ::testing::Test {
protected:
    KeyEventTest()
    {
        window->contentView()->addSubview(recorder);
        window->makeKeyAndOrderFront();
        EXPECT_TRUE(waitUntil([&] { return window->isKeyWindow(); }));
    }
    ~KeyEventTest() override
    {
        NSApplication::shared().setCommandKey(NSApplication::CommandKey::control);
        window->close();
    }

    /// The event of a key.
    NSEvent tap(int key, std::initializer_list<int> held = {})
    {
        const auto before = recorder->events.size();
        keyboard.tap(key, held);
        EXPECT_TRUE(waitUntil([&] { return recorder->events.size() > before; })) << "key " << key;
        return recorder->events.empty() ? NSEvent() : recorder->events.back();
    }

    std::shared_ptr<NSWindow> window = NSWindow::create({{100, 100}, {200, 200}});
    std::shared_ptr<KeyRecorder> recorder = std::make_shared<KeyRecorder>(CGRect{{}, {10, 10}});
    Keyboard keyboard;
};

class KeyboardTest : public ::testing::Test {
protected:
    KeyboardTest() { EXPECT_TRUE(page.openWithKeyboard()); }

    KeyPage page;
    Keyboard keyboard;
};

TEST_F(KeyEventTest, HasThePlaceOfTheKeyAndWhatItTypes)
{
    const NSEvent event = tap(KEY_A);
    EXPECT_EQ(event.type, NSEvent::EventType::keyDown);
    EXPECT_EQ(event.keyCode, 0);
    EXPECT_EQ(event.characters, "a");
    EXPECT_EQ(event.charactersIgnoringModifiers, "a");
    EXPECT_EQ(event.modifierFlags, Flags());
    EXPECT_FALSE(event.isARepeat);
    EXPECT_GT(event.timestamp, 0);
    EXPECT_EQ(event.window(), window);
    EXPECT_EQ(event.windowNumber, window->windowNumber());
}

TEST_F(KeyEventTest, HasTheCodeOfEveryKey)
{
    const std::vector<std::pair<int, int>> codes{{KEY_A, 0}, {KEY_S, 1}, {KEY_D, 2}, {KEY_F, 3}, {KEY_H, 4},
        {KEY_G, 5}, {KEY_Z, 6}, {KEY_X, 7}, {KEY_C, 8}, {KEY_V, 9}, {KEY_B, 11}, {KEY_Q, 12}, {KEY_W, 13},
        {KEY_E, 14}, {KEY_R, 15}, {KEY_Y, 16}, {KEY_T, 17}, {KEY_1, 18}, {KEY_2, 19}, {KEY_3, 20},
        {KEY_4, 21}, {KEY_6, 22}, {KEY_5, 23}, {KEY_9, 25}, {KEY_7, 26}, {KEY_8, 28}, {KEY_0, 29},
        {KEY_O, 31}, {KEY_U, 32}, {KEY_I, 34}, {KEY_P, 35}, {KEY_ENTER, 36}, {KEY_L, 37}, {KEY_J, 38},
        {KEY_K, 40}, {KEY_COMMA, 43}, {KEY_N, 45}, {KEY_M, 46}, {KEY_ESC, 53}, {KEY_KPENTER, 76},
        {KEY_F5, 96}, {KEY_LEFT, 123}, {KEY_RIGHT, 124}, {KEY_DOWN, 125}, {KEY_UP, 126}};
    for (const auto& [key, code] : codes)
        EXPECT_EQ(tap(key).keyCode, code) << "key " << key;
}

TEST_F(KeyEventTest, HasTheModifiersThatAreHeld)
{
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTSHIFT}).modifierFlags, Flags::shift);
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTCTRL}).modifierFlags, Flags::command);
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTALT}).modifierFlags, Flags::option);
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTMETA}).modifierFlags, Flags::control);
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_LEFTALT}).modifierFlags,
        Flags::command | Flags::shift | Flags::option);
}

TEST_F(KeyEventTest, HasTheSuperKeyForCommandWhereThatWasChosen)
{
    NSApplication::shared().setCommandKey(NSApplication::CommandKey::super);
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTMETA}).modifierFlags, Flags::command);
    EXPECT_EQ(tap(KEY_F, {KEY_LEFTCTRL}).modifierFlags, Flags::control);
    EXPECT_EQ(recorder->events.back().characters, "\x06"); // as Control makes of the letter
    EXPECT_EQ(recorder->events.back().charactersIgnoringModifiers, "f");
}

TEST_F(KeyEventTest, KnowsLocksAndKindsOfKeys)
{
    tap(KEY_A);
    keyboard.tap(KEY_CAPSLOCK);
    NSEvent event = tap(KEY_A);
    EXPECT_EQ(event.modifierFlags, Flags::capsLock);
    EXPECT_EQ(event.characters, "A");
    EXPECT_EQ(event.charactersIgnoringModifiers, "a");
    keyboard.tap(KEY_CAPSLOCK);
    keyboard.tap(KEY_NUMLOCK);
    event = tap(KEY_A);
    EXPECT_EQ(event.modifierFlags, Flags());
    event = tap(KEY_KP5);
    EXPECT_EQ(event.characters, "5");
    EXPECT_EQ(event.modifierFlags, Flags::numericPad);
    EXPECT_EQ(tap(KEY_KPENTER).modifierFlags, Flags::numericPad);
    EXPECT_EQ(tap(KEY_LEFT).modifierFlags, Flags::numericPad | Flags::function);
    EXPECT_EQ(recorder->events.back().characters, NSLeftArrowFunctionKey);
    EXPECT_EQ(tap(KEY_F5).modifierFlags, Flags::function);
    EXPECT_EQ(recorder->events.back().characters, NSF5FunctionKey);
    EXPECT_EQ(tap(KEY_ENTER).characters, "\r");
    EXPECT_EQ(tap(KEY_ESC).characters, "\x1B");
    EXPECT_EQ(tap(KEY_BACKSPACE).characters, "\x7F");
}

TEST_F(KeyEventTest, SaysWhatOtherModifiersWouldType)
{
    const NSEvent event = tap(KEY_1, {KEY_LEFTSHIFT});
    EXPECT_EQ(event.charactersIgnoringModifiers, "!");
    EXPECT_EQ(event.charactersApplying({}), "1");
    EXPECT_EQ(event.charactersApplying(Flags::shift), "!");
}

TEST_F(KeyEventTest, RepeatsWhileAKeyIsHeld)
{
    keyboard.press(KEY_A);
    ASSERT_TRUE(waitUntil([&] { return recorder->events.size() >= 3; }));
    keyboard.release(KEY_A);
    EXPECT_FALSE(recorder->events[0].isARepeat);
    EXPECT_TRUE(recorder->events[1].isARepeat);
    EXPECT_TRUE(recorder->events[2].isARepeat);
    EXPECT_FALSE(tap(KEY_S).isARepeat);
    EXPECT_FALSE(tap(KEY_A).isARepeat);
}

TEST_F(KeyEventTest, HasThePlaceWhateverTheLayout)
{
    ASSERT_TRUE(keyboard.setLayout("de"));
    EXPECT_EQ(tap(KEY_Y).keyCode, 16);
    EXPECT_EQ(recorder->events.back().characters, "z");
    EXPECT_EQ(tap(KEY_SEMICOLON, {KEY_LEFTCTRL}).charactersIgnoringModifiers, "ö"); // Latin, too
    EXPECT_EQ(tap(KEY_Q, {KEY_RIGHTALT}).characters, "@");
    EXPECT_EQ(recorder->events.back().modifierFlags & modifiers, Flags::option);
    ASSERT_TRUE(keyboard.setLayout("ru"));
    EXPECT_EQ(tap(KEY_C).characters, "с"); // Cyrillic
    EXPECT_EQ(recorder->events.back().keyCode, 8);
    EXPECT_EQ(tap(KEY_C, {KEY_LEFTCTRL}).characters, "c"); // Latin, for a command
    EXPECT_EQ(tap(KEY_C, {KEY_LEFTCTRL, KEY_LEFTSHIFT}).charactersIgnoringModifiers, "C");
}

// ---- in a page

TEST_F(KeyboardTest, TypesIntoThePage)
{
    keyboard.tap(KEY_A);
    keyboard.tap(KEY_B, {KEY_LEFTSHIFT});
    EXPECT_EQ(page.logUpTo("keyup(B+shift)"),
        "keydown(a) input(a) keyup(a) keydown(B+shift) input(B) keyup(B+shift)");
    EXPECT_EQ(page.text(), "aB");
}

TEST_F(KeyboardTest, RepeatsInThePage)
{
    keyboard.press(KEY_A);
    ASSERT_TRUE(waitUntil([&] { return page.text().size() >= 3; }));
    keyboard.release(KEY_A);
    const std::string log = page.logUpTo("keyup(a)");
    EXPECT_TRUE(log.starts_with("keydown(a) input(a) keydown(a")) << log;
    EXPECT_EQ(log.find("keyup"), log.rfind("keyup")) << log;
}

TEST_F(KeyboardTest, TypesWithLocks)
{
    page.view->keyCodesToSilence = {KeyCode::s};
    keyboard.tap(KEY_CAPSLOCK);
    keyboard.tap(KEY_NUMLOCK);
    keyboard.tap(KEY_A);
    keyboard.tap(KEY_KP5);
    keyboard.tap(KEY_S); // silenced all the same
    keyboard.tap(KEY_D);
    EXPECT_EQ(page.logUpTo("keyup(D)"),
        "keydown(A) input(A) keyup(A) keydown(5) input(5) keyup(5) keydown(D) input(D) keyup(D)");
}

TEST_F(KeyboardTest, SilencesAKeyWithItsRelease)
{
    page.addItem("Find", "f");
    page.view->keyCodesToSilence = {{3}};
    keyboard.tap(KEY_F);
    keyboard.tap(KEY_F, {KEY_LEFTCTRL}); // neither the page nor the menu
    keyboard.tap(KEY_G);
    EXPECT_EQ(page.logUpTo("keyup(g)"), "keydown(g) input(g) keyup(g)");
    EXPECT_EQ(page.chosen, "");
    page.view->keyCodesToSilence = {};
    page.forget();
    keyboard.tap(KEY_F);
    EXPECT_EQ(page.logUpTo("keyup(f)"), "keydown(f) input(f) keyup(f)");
}

TEST_F(KeyboardTest, SilencesARepeatingKeyUntilItsRelease)
{
    page.view->keyCodesToSilence = {{3}};
    keyboard.press(KEY_F);
    keyboard.tap(KEY_G);
    EXPECT_EQ(page.logUpTo("keyup(g)"), "keydown(g) input(g) keyup(g)");
    page.view->keyCodesToSilence = {};
    keyboard.release(KEY_F);
    keyboard.tap(KEY_H);
    EXPECT_EQ(page.logUpTo("keyup(h)"), "keydown(g) input(g) keyup(g) keydown(h) input(h) keyup(h)");
}

TEST_F(KeyboardTest, SilencesByThePlaceOfTheKey)
{
    page.view->keyCodesToSilence = {KeyCode::y};
    ASSERT_TRUE(keyboard.setLayout("de"));
    keyboard.tap(KEY_Y); // which types z there
    keyboard.tap(KEY_Z); // which types y there
    EXPECT_EQ(page.logUpTo("keyup(y)"), "keydown(y) input(y) keyup(y)");
}

TEST_F(KeyboardTest, GivesThePageItsKeysBeforeTheMenus)
{
    page.addItem("Print", "p");
    page.addItem("New", "n");
    keyboard.tap(KEY_P, {KEY_LEFTCTRL}); // the page handles it
    keyboard.tap(KEY_N, {KEY_LEFTCTRL});
    EXPECT_TRUE(waitUntil([&] { return !page.chosen.empty(); }));
    EXPECT_EQ(page.chosen, "New ");
    EXPECT_EQ(page.logUpTo("keyup(n+ctrl)"),
        "keydown(p+ctrl) keyup(p+ctrl) keydown(n+ctrl) keyup(n+ctrl)"); // once each
    keyboard.tap(KEY_A);
    EXPECT_EQ(page.logUpTo("keyup(a)").substr(59), " keydown(a) input(a) keyup(a)"); // and the next is whole
}

TEST_F(KeyboardTest, LeavesCommandCommaToTheMenus)
{
    static_cast<void>(
        page.evaluate("addEventListener('keydown', e => { if (e.key == ',') e.preventDefault(); }); ''"));
    page.addItem("Settings", ",");
    keyboard.tap(KEY_COMMA, {KEY_LEFTCTRL});
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "Settings "; }));
    keyboard.tap(KEY_A);
    EXPECT_EQ(page.logUpTo("keyup(a)"), "keydown(a) input(a) keyup(a)");
    keyboard.tap(KEY_COMMA); // alone it is a key like others
    EXPECT_EQ(page.logUpTo("keyup(,)"), "keydown(a) input(a) keyup(a) keydown(,) keyup(,)");
}

TEST_F(KeyboardTest, SilencesCommandCommaWhereThatIsAsked)
{
    page.addItem("Settings", ",");
    page.view->keyCodesToSilence = {{43}};
    keyboard.tap(KEY_COMMA, {KEY_LEFTCTRL});
    keyboard.tap(KEY_A);
    EXPECT_EQ(page.logUpTo("keyup(a)"), "keydown(a) input(a) keyup(a)");
    EXPECT_EQ(page.chosen, "");
}

TEST_F(KeyboardTest, PerformsCommandsInALayoutOfAnotherScript)
{
    page.addItem("New", "n");
    ASSERT_TRUE(keyboard.setLayout("ru"));
    keyboard.tap(KEY_N, {KEY_LEFTCTRL});
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New "; })) << page.chosen;
    keyboard.tap(KEY_A);
    EXPECT_TRUE(page.logUpTo("keyup(ф)").ends_with("keydown(ф) input(ф) keyup(ф)"));
}

TEST_F(KeyboardTest, PerformsCommandsWithLocks)
{
    page.addItem("New", "n");
    keyboard.tap(KEY_CAPSLOCK);
    keyboard.tap(KEY_NUMLOCK);
    keyboard.tap(KEY_N, {KEY_LEFTCTRL});
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New "; }));
}

TEST_F(KeyboardTest, PerformsKeysWithShiftAndWithoutCommand)
{
    page.addItem("New window", "N");
    page.addItem("Larger", "+");
    page.addItem("Reload", NSF5FunctionKey, {});
    page.addItem("First", "1", Flags::command | Flags::shift);
    keyboard.tap(KEY_N, {KEY_LEFTCTRL});
    keyboard.tap(KEY_N, {KEY_LEFTCTRL, KEY_LEFTSHIFT});
    keyboard.tap(KEY_EQUAL, {KEY_LEFTCTRL, KEY_LEFTSHIFT});
    keyboard.tap(KEY_F5);
    keyboard.tap(KEY_1, {KEY_LEFTCTRL, KEY_LEFTSHIFT});
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New window Larger Reload First "; })) << page.chosen;
}

TEST_F(KeyboardTest, ShowsThePageItsMetaKeyWhereSuperIsCommand)
{
    NSApplication::shared().setCommandKey(NSApplication::CommandKey::super);
    ASSERT_TRUE(page.load());
    static_cast<void>(page.evaluate("t.focus(); ''"));
    page.addItem("New", "n");
    keyboard.tap(KEY_P, {KEY_LEFTMETA});
    keyboard.tap(KEY_N, {KEY_LEFTMETA});
    keyboard.tap(KEY_A);
    EXPECT_EQ(page.logUpTo("keyup(a)"),
        "keydown(p+meta) keyup(p+meta) keydown(n+meta) keyup(n+meta) keydown(a) input(a) keyup(a)");
    EXPECT_EQ(page.text(), "a"); // a command types nothing
    EXPECT_EQ(page.chosen, "New ");
}

TEST_F(KeyboardTest, EditsWithControl)
{
    keyboard.tap(KEY_A);
    keyboard.tap(KEY_B);
    keyboard.tap(KEY_A, {KEY_LEFTCTRL}); // the page selects all
    keyboard.tap(KEY_C);
    EXPECT_TRUE(waitUntil([&] { return page.text() == "c"; })) << page.text();
}

TEST_F(KeyboardTest, MovesTheKeyboardOutOfThePageAndBack)
{
    // The page has nothing more to move to, and leaves the key to the window.
    auto* entry = gtk_entry_new();
    GtkWidget* box = gtk_widget_get_parent(gtkWidget(*page.window->contentView()));
    gtk_box_pack_start(GTK_BOX(box), entry, FALSE, FALSE, 0);
    gtk_widget_show(entry);
    // It takes the keyboard by its place in the window, and so has to have one.
    ASSERT_TRUE(waitUntil([&] { return gtk_widget_get_allocated_width(entry) > 1; }));
    keyboard.tap(KEY_TAB);
    // The page has answered, and whatever it handed back has been seen.
    EXPECT_EQ(page.logUpTo("keyup(Tab)"), "keydown(Tab) keyup(Tab)");
    EXPECT_TRUE(gtk_widget_is_focus(entry));
    page.addItem("New", "n");
    keyboard.tap(KEY_A);
    keyboard.tap(KEY_N, {KEY_LEFTCTRL});
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New "; }));
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(entry)), "a");
    page.forget();
    keyboard.tap(KEY_TAB); // into the page
    EXPECT_TRUE(waitUntil([&] { return page.window->firstResponder() == page.view; }));
    keyboard.tap(KEY_B);
    const std::string log = page.logUpTo("keyup(b)");
    EXPECT_NE(log.find("keydown(b)"), std::string::npos) << log;
    static_cast<void>(page.evaluate("log = []; t.focus(); ''"));
    keyboard.tap(KEY_TAB, {KEY_LEFTSHIFT}); // and out of it, the other way
    EXPECT_TRUE(page.logUpTo("+shift)").starts_with("keydown("));
    EXPECT_TRUE(gtk_widget_is_focus(entry));
    gtk_widget_destroy(entry);
}

TEST_F(KeyboardTest, OpensTheMenuBarWithF10WhereThePageLeavesIt)
{
    page.addItem("New", "n");
    keyboard.tap(KEY_F10);
    GtkWindowGroup* group = gtk_window_get_group(GTK_WINDOW(gtk_widget_get_toplevel(gtkWidget(*page.view))));
    EXPECT_TRUE(waitUntil([&] { return GTK_IS_MENU(gtk_window_group_get_current_grab(group)); }));
    keyboard.tap(KEY_DOWN);
    keyboard.tap(KEY_ENTER);
    EXPECT_TRUE(waitUntil([&] { return page.chosen == "New "; }));
}

TEST_F(KeyboardTest, ComposesWithDeadKeys)
{
    ASSERT_TRUE(keyboard.setLayout("de"));
    keyboard.tap(KEY_EQUAL); // the dead acute
    keyboard.tap(KEY_E);
    EXPECT_TRUE(waitUntil([&] { return page.text() == "é"; })) << page.text();
}

TEST_F(KeyboardTest, KeepsASilencedKeyOutOfACompositionOfTheToolkit)
{
    ASSERT_TRUE(keyboard.setLayout("de"));
    page.view->keyCodesToSilence = {{3}};
    keyboard.tap(KEY_EQUAL);
    keyboard.tap(KEY_F);
    keyboard.tap(KEY_E);
    EXPECT_TRUE(waitUntil([&] { return page.text() == "é"; })) << page.text();
}

TEST_F(KeyboardTest, IsThroughTheInputMethodThatWasChosen)
{
    const char* chosen = std::getenv("GTK_IM_MODULE");
    ASSERT_TRUE(chosen); // by the session, if by nobody else
    GtkIMContext* method = gtk_im_multicontext_new();
    gtk_im_context_reset(method); // it is made now
    EXPECT_STREQ(gtk_im_multicontext_get_context_id(GTK_IM_MULTICONTEXT(method)), chosen);
    g_object_unref(method);
}

} // namespace
