#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSMenuItem.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/FramelessHost.h>
#include <Support/WebPage.h>
#include <Support/XKeys.h>
#include <gdk/gdkx.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

using Button = NSWindow::ButtonType;

bool isManaged()
{
    return gdk_x11_screen_supports_net_wm_hint(
        gdk_screen_get_default(), gdk_atom_intern_static_string("_NET_WM_STATE_FULLSCREEN"));
}

/// A frameless window under the real pointer. These tests have the screen to themselves.
class FramelessWindowInputTest : public ::testing::Test {
protected:
    ~FramelessWindowInputTest() override
    {
        releasePointer();
        movePointer(1, 1);
    }

    void show()
    {
        host.makeFrameless();
        ASSERT_TRUE(host.show());
        ASSERT_TRUE(waitForOthers([&] {
            return host.window->contentView()->frame().size == CGSize{400, 322} && isOnScreen({400, 322});
        }));
    }
    [[nodiscard]] bool isOnScreen(const CGSize& size) const
    {
        GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(gtkWindow(*host.window)));
        return gdk_window_get_width(surface) == size.width && gdk_window_get_height(surface) == size.height;
    }
    /// Where the window's top left corner is.
    [[nodiscard]] CGPoint corner() const
    {
        int x = 0;
        int y = 0;
        gdk_window_get_origin(gtk_widget_get_window(GTK_WIDGET(gtkWindow(*host.window))), &x, &y);
        return {double(x), double(y)};
    }
    void pointAt(int x, int y) const
    {
        const CGPoint from = corner();
        movePointer(int(from.x) + x, int(from.y) + y);
    }
    [[nodiscard]] static bool isAt(GtkWidget* focus, const std::shared_ptr<NSButton>& button)
    {
        return focus == gtkWidget(*button);
    }

    const FramelessHost host{{{300, 300}, {400, 300}}};
};

TEST_F(FramelessWindowInputTest, IsDraggedByItsStrip)
{
    show();
    const CGPoint from = corner();
    const CGPoint origin = host.window->frame().origin;
    pointAt(200, 20);
    pressPointer();
    for (int step = 0; step < 10; ++step)
        movePointerBy(3, 2);
    releasePointer();
    EXPECT_TRUE(waitForOthers([&] { return corner() == CGPoint{from.x + 30, from.y + 20}; }))
        << corner().x - from.x << ", " << corner().y - from.y;
    EXPECT_TRUE(
        waitForOthers([&] { return host.window->frame().origin == CGPoint{origin.x + 30, origin.y - 20}; }));
    movePointerBy(5, 5); // the button is up
    bool clicked = false;
    host.button(Button::zoomButton)->setAction([&](NSButton&) { clicked = true; });
    clickOn(gtkWidget(*host.button(Button::zoomButton)));
    ASSERT_TRUE(waitUntil([&] { return clicked; }));
    EXPECT_EQ(corner(), (CGPoint{from.x + 30, from.y + 20}));
}

TEST_F(FramelessWindowInputTest, IsDraggedStepByStep)
{
    show();
    const CGPoint from = corner();
    pointAt(200, 20);
    pressPointer();
    for (int step = 1; step <= 8; ++step) {
        movePointerBy(10, 5);
        ASSERT_TRUE(
            waitForOthers([&] { return corner() == CGPoint{from.x + 10 * step, from.y + 5 * step}; }));
    }
    releasePointer();
}

TEST_F(FramelessWindowInputTest, IsDraggedByItsBackground)
{
    show();
    const CGPoint from = corner();
    pointAt(200, 200);
    pressPointer();
    movePointerBy(20, 10);
    movePointerBy(20, 10);
    releasePointer();
    EXPECT_TRUE(waitForOthers([&] { return corner() == CGPoint{from.x + 40, from.y + 20}; }));
}

TEST_F(FramelessWindowInputTest, IsNotDraggedByAControl)
{
    int clicks = 0;
    const auto button = std::make_shared<NSButton>("Tea", CGRect{{0, 0}, {400, 200}});
    button->setAction([&](NSButton&) { ++clicks; });
    host.window->contentView()->addSubview(button);
    show();
    const CGPoint from = corner();
    pointAt(200, 250);
    pressPointer();
    movePointerBy(20, 10);
    releasePointer();
    EXPECT_TRUE(waitUntil([&] { return clicks == 1; }));
    EXPECT_EQ(corner(), from);
}

TEST_F(FramelessWindowInputTest, KeepsPressesFromThePageBelowItsStrip)
{
    WebPage page;
    host.window->setContentView(page.view);
    ASSERT_TRUE(
        page.show("<body style='margin:0;height:100vh'><script>addEventListener('mousedown', event => "
                  "webkit.messageHandlers.test.postMessage([event.clientX, event.clientY]))</script>"));
    show();
    const CGPoint from = corner();
    pointAt(200, 20);
    pressPointer();
    movePointerBy(10, 5);
    releasePointer();
    ASSERT_TRUE(waitForOthers([&] { return corner() == CGPoint{from.x + 10, from.y + 5}; }));
    pointAt(200, 100); // below the strip the page has the mouse
    pressPointer();
    movePointerBy(10, 5);
    releasePointer();
    ASSERT_TRUE(waitForOthers([&] { return !page.recorder->messages.empty(); }));
    ASSERT_EQ(page.recorder->messages.size(), 1U);
    EXPECT_EQ(page.recorder->messages.front().body, Value(Value::Array{Value(200), Value(100)}));
    EXPECT_EQ(corner(), (CGPoint{from.x + 10, from.y + 5}));
    // A page that comes later lies below the buttons, too.
    bool clicked = false;
    host.button(Button::zoomButton)->setAction([&](NSButton&) { clicked = true; });
    clickOn(gtkWidget(*host.button(Button::zoomButton)));
    EXPECT_TRUE(waitUntil([&] { return clicked; }));
    WebPage later;
    host.window->setContentView(later.view);
    ASSERT_TRUE(later.show("<p>Tea"));
    clicked = false;
    clickOn(gtkWidget(*host.button(Button::zoomButton)));
    EXPECT_TRUE(waitUntil([&] { return clicked; }));
}

TEST_F(FramelessWindowInputTest, ClosesByItsButton)
{
    show();
    clickOn(gtkWidget(*host.button(Button::closeButton)));
    EXPECT_TRUE(waitUntil([&] { return !host.window->isVisible(); }));
}

TEST_F(FramelessWindowInputTest, ZoomsByItsButtonAndBack)
{
    show();
    const auto zoom = host.button(Button::zoomButton);
    EXPECT_EQ(zoom->title(), "Maximise");
    clickOn(gtkWidget(*zoom));
    ASSERT_TRUE(
        waitForOthers([&] { return host.window->isZoomed() && host.window->frame().size.width > 1000; }));
    EXPECT_EQ(zoom->title(), "Restore");
    EXPECT_TRUE(waitForOthers([&] { return host.window->contentView()->frame().size.width > 1000; }));
    clickOn(gtkWidget(*zoom));
    EXPECT_TRUE(waitForOthers([&] { return !host.window->isZoomed() && isOnScreen({400, 322}); }));
    EXPECT_EQ(zoom->title(), "Maximise");
}

TEST_F(FramelessWindowInputTest, LeavesFullScreenByItsButton)
{
    show();
    host.window->toggleFullScreen();
    ASSERT_TRUE(waitForOthers([&] { return host.drawn(Button::closeButton) == CGRect{{12, 23}, {14, 14}}; }));
    EXPECT_EQ(host.button(Button::zoomButton)->title(), "Leave full screen");
    const CGPoint from = corner();
    pointAt(300, 20);
    pressPointer();
    movePointerBy(20, 10); // it has nowhere to go
    releasePointer();
    clickOn(gtkWidget(*host.button(Button::zoomButton)));
    EXPECT_TRUE(waitForOthers([&] { return !host.window->isFullScreen() && isOnScreen({400, 322}); }));
    EXPECT_EQ(from, (CGPoint{0, 0}));
}

TEST_F(FramelessWindowInputTest, IsPutAwayByItsButtonWhereSomebodyBringsItBack)
{
    show();
    bool clicked = false;
    clickOn(gtkWidget(*host.button(Button::miniaturizeButton)));
    if (isManaged()) {
        ASSERT_TRUE(waitForOthers([&] { return host.window->isMiniaturized(); }));
        host.window->deminiaturize();
        EXPECT_TRUE(waitForOthers([&] { return !host.window->isMiniaturized(); }));
        return;
    }
    host.button(Button::zoomButton)->setAction([&](NSButton&) { clicked = true; });
    clickOn(gtkWidget(*host.button(Button::zoomButton)));
    ASSERT_TRUE(waitUntil([&] { return clicked; }));
    EXPECT_TRUE(host.window->isVisible());
    EXPECT_FALSE(host.window->isMiniaturized());
}

TEST_F(FramelessWindowInputTest, ZoomsByADoubleClickOnItsStrip)
{
    show();
    pointAt(200, 20);
    for (int click = 0; click < 2; ++click) {
        pressPointer();
        releasePointer();
    }
    EXPECT_TRUE(waitForOthers([&] { return host.window->isZoomed(); }));
}

TEST_F(FramelessWindowInputTest, IsResizedByItsEdges)
{
    if (!isManaged())
        GTEST_SKIP() << "nobody would resize it";
    show();
    pointAt(398, 200);
    pressPointer();
    for (int step = 0; step < 4; ++step)
        movePointerBy(10, 0);
    // The manager takes the pointer, which takes a moment.
    EXPECT_TRUE(waitForOthers([&] {
        movePointerBy(1, 0);
        return gtk_widget_get_allocated_width(GTK_WIDGET(gtkWindow(*host.window))) >= 440;
    }));
    releasePointer();
    EXPECT_EQ(host.window->frame().size.height, 322);
}

TEST_F(FramelessWindowInputTest, HasButtonsForTheKeyboardBehindItsContent)
{
    const auto button = std::make_shared<NSButton>("Tea", CGRect{{10, 10}, {100, 40}});
    host.window->contentView()->addSubview(button);
    show();
    GtkWindow* widget = gtkWindow(*host.window);
    EXPECT_FALSE(isAt(gtk_window_get_focus(widget), host.button(Button::closeButton)));
    ASSERT_TRUE(host.window->makeFirstResponder(button));
    pressKey("Tab");
    EXPECT_TRUE(
        waitUntil([&] { return isAt(gtk_window_get_focus(widget), host.button(Button::closeButton)); }));
    pressKey("Tab");
    pressKey("Tab");
    ASSERT_TRUE(
        waitUntil([&] { return isAt(gtk_window_get_focus(widget), host.button(Button::zoomButton)); }));
    pressKey("space");
    EXPECT_TRUE(waitForOthers([&] { return host.window->isZoomed(); }));
}

TEST_F(FramelessWindowInputTest, DoesNotGiveItsCloseButtonTheKeyboardByItself)
{
    show();
    EXPECT_EQ(gtk_window_get_focus(gtkWindow(*host.window)), nullptr);
    pressKey("space");
    bool clicked = false;
    host.button(Button::zoomButton)->setAction([&](NSButton&) { clicked = true; });
    clickOn(gtkWidget(*host.button(Button::zoomButton)));
    ASSERT_TRUE(waitUntil([&] { return clicked; }));
    EXPECT_TRUE(host.window->isVisible());
}

TEST_F(FramelessWindowInputTest, HasTheMainMenuBehindAButton)
{
    int chosen = 0;
    const auto menu = std::make_shared<NSMenu>("");
    const auto item = std::make_shared<NSMenuItem>("Tea");
    item->setAction([&](NSMenuItem&) { ++chosen; });
    menu->addItem(item);
    NSApplication::shared().setMainMenu(menu);
    show();
    pressKey("F10");
    GtkWidget* button = nullptr;
    for (const auto& view : host.button(Button::closeButton)->superview()->subviews())
        if (GTK_IS_MENU_BUTTON(gtkWidget(*view)))
            button = gtkWidget(*view);
    ASSERT_NE(button, nullptr);
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(button)), "Main menu");
    GtkMenu* dropped = gtk_menu_button_get_popup(GTK_MENU_BUTTON(button));
    ASSERT_TRUE(waitForOthers([&] { return gtk_widget_get_mapped(GTK_WIDGET(dropped)); }));
    pressKey("Down");
    pressKey("Return");
    EXPECT_TRUE(waitForOthers([&] {
        if (chosen == 0 && gtk_widget_get_mapped(GTK_WIDGET(dropped)))
            return false;
        return chosen == 1;
    }));
    NSApplication::shared().setMainMenu(nullptr);
}

} // namespace
