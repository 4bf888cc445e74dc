#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/Native/Source.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::runPendingTurns;
using LumoKit::Test::waitUntil;

namespace {

using Texts = std::vector<std::string>;

/// Waits for something that no event tells of, as a picture on screen.
bool waitForScreen(const std::function<bool()>& condition)
{
    const detail::Source ticks = [] {
        GSource* source = g_timeout_source_new(10);
        g_source_set_callback(
            source, +[](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
        g_source_attach(source, nullptr);
        return detail::Source::adopt(source);
    }();
    return waitUntil(condition);
}

class Delegate : public NSWindowDelegate {
public:
    bool windowShouldClose(NSWindow&) override
    {
        calls.emplace_back("should close");
        return mayClose;
    }
    void windowWillClose(NSWindow& window) override
    {
        calls.emplace_back("will close");
        if (closeAgain)
            window.close();
    }
    void windowDidBecomeKey(NSWindow&) override { calls.emplace_back("key"); }
    void windowDidResignKey(NSWindow&) override { calls.emplace_back("not key"); }
    void windowDidResize(NSWindow&) override { ++resized; }

    bool mayClose = true;
    bool closeAgain = false;
    int resized = 0;
    Texts calls;
};

class NSWindowTest : public ::testing::Test {
protected:
    NSWindowTest() { static_cast<void>(NSApplication::shared()); }
    ~NSWindowTest() override
    {
        for (const auto& window : NSApplication::shared().windows())
            window->orderOut();
    }

    static std::shared_ptr<NSWindow> window(const CGRect& rect = {{100, 100}, {200, 150}})
    {
        return NSWindow::create(rect);
    }
    static void show(const std::shared_ptr<NSWindow>& shown)
    {
        shown->makeKeyAndOrderFront();
        EXPECT_TRUE(waitUntil([&] { return shown->isKeyWindow(); }));
    }
};

// ---- title
// ----------------------------------------------------------------------------------------------------------

TEST_F(NSWindowTest, HasATitle)
{
    const auto made = window();
    EXPECT_EQ(made->title(), "");
    made->setTitle("T\u00E9a _and_ <cake>");
    EXPECT_EQ(made->title(), "T\u00E9a _and_ <cake>");
    EXPECT_EQ(made->value("title"), Value("T\u00E9a _and_ <cake>"));
    EXPECT_STREQ(gtk_window_get_title(gtkWindow(*made)), "T\u00E9a _and_ <cake>");
    EXPECT_TRUE(made->value("unknown").isNull());
}

TEST_F(NSWindowTest, TellsOfItsTitlesChanges)
{
    const auto made = window();
    Texts changes;
    const auto observation = made->observe("title", [&](const KeyValueChange& change) {
        changes.push_back(change.oldValue.description() + "\u2192" + change.newValue.description());
    });
    made->setTitle("Tea");
    made->setTitle("Coffee");
    EXPECT_EQ(changes, (Texts{"\u2192Tea", "Tea\u2192Coffee"}));
}

// ---- content
// --------------------------------------------------------------------------------------------------------

TEST_F(NSWindowTest, HasAnEmptyContentViewOfItsSize)
{
    const auto made = window({{10, 20}, {300, 200}});
    ASSERT_NE(made->contentView(), nullptr);
    EXPECT_TRUE(made->contentView()->subviews().empty());
    EXPECT_EQ(made->contentView()->frame(), (CGRect{{0, 0}, {300, 200}}));
    EXPECT_EQ(made->contentView()->window(), made);
}

TEST_F(NSWindowTest, FillsItselfWithItsContentView)
{
    const auto made = window({{10, 20}, {300, 200}});
    const std::weak_ptr<NSView> replaced(made->contentView());
    const auto content = std::make_shared<NSView>(CGRect{{5, 5}, {10, 10}});
    const auto child = std::make_shared<NSView>(CGRect{{0, 0}, {10, 10}});
    child->setAutoresizing(NSAutoresizing::sizable());
    content->addSubview(child);
    made->setContentView(content);
    EXPECT_TRUE(replaced.expired());
    EXPECT_EQ(made->contentView(), content);
    EXPECT_EQ(content->window(), made);
    EXPECT_EQ(content->frame(), (CGRect{{0, 0}, {300, 200}}));
    EXPECT_EQ(child->frame(), (CGRect{{0, 0}, {300, 200}}));
    made->setContentView(content); // again
    EXPECT_EQ(made->contentView(), content);
    EXPECT_EQ(content->window(), made);
}

TEST_F(NSWindowTest, LetsGoOfTheContentViewThatItReplaces)
{
    const auto made = window();
    const auto old = made->contentView();
    made->setContentView(std::make_shared<NSView>());
    EXPECT_EQ(old->window(), nullptr);
    EXPECT_EQ(gtk_widget_get_parent(gtkWidget(*old)), nullptr);
}

TEST_F(NSWindowTest, TakesTheContentViewOfAnotherWindow)
{
    const auto first = window();
    const auto second = window();
    const auto content = first->contentView();
    second->setContentView(first->contentView()); // by a reference into the window that it leaves
    EXPECT_EQ(second->contentView(), content);
    EXPECT_EQ(content->window(), second);
    ASSERT_NE(first->contentView(), nullptr);
    EXPECT_NE(first->contentView(), content);
    EXPECT_EQ(first->contentView()->window(), first);
}

TEST_F(NSWindowTest, TakesAViewOfItsOwnContentAsTheContent)
{
    const auto made = window();
    const auto child = std::make_shared<NSView>();
    const auto sibling = std::make_shared<NSView>();
    const auto old = made->contentView();
    old->addSubview(child);
    old->addSubview(sibling);
    made->setContentView(old->subviews().front()); // by a reference into the list that it leaves
    EXPECT_EQ(made->contentView(), child);
    EXPECT_EQ(child->superview(), nullptr);
    EXPECT_EQ(child->window(), made);
    EXPECT_EQ(old->subviews(), std::vector{sibling});
    EXPECT_EQ(sibling->window(), nullptr);
}

TEST_F(NSWindowTest, GivesItsContentViewToAView)
{
    const auto made = window();
    const auto content = made->contentView();
    const auto holder = std::make_shared<NSView>();
    holder->addSubview(made->contentView()); // by a reference into the window that it leaves
    EXPECT_EQ(holder->subviews(), std::vector{content});
    EXPECT_EQ(content->superview(), holder);
    EXPECT_NE(made->contentView(), content);
    EXPECT_EQ(made->contentView()->window(), made);
}

// ---- frame
// ----------------------------------------------------------------------------------------------------------

TEST_F(NSWindowTest, HasTheFrameThatItWasMadeWith)
{
    const auto made = window({{10, 20}, {300, 200}});
    EXPECT_EQ(made->frame(), (CGRect{{10, 20}, {300, 200}}));
    made->setFrame({{30, 40}, {320, 240}});
    EXPECT_EQ(made->frame(), (CGRect{{30, 40}, {320, 240}}));
}

TEST_F(NSWindowTest, LiesOnScreenWhereItsFrameSaysFromTheBottomLeft)
{
    const auto made = window({{120, 80}, {300, 200}});
    show(made);
    EXPECT_TRUE(waitUntil([&] { return made->frame() == CGRect{{120, 80}, {300, 200}}; }));
    int left = 0;
    int top = 0;
    gdk_window_get_origin(gtk_widget_get_window(GTK_WIDGET(gtkWindow(*made))), &left, &top);
    GdkRectangle monitor;
    gdk_monitor_get_geometry(gdk_display_get_monitor(gdk_display_get_default(), 0), &monitor);
    EXPECT_EQ(left, 120);
    EXPECT_EQ(top, monitor.height - 80 - 200);
}

TEST_F(NSWindowTest, MovesAndResizesOnScreen)
{
    const auto made = window({{120, 80}, {300, 200}});
    show(made);
    made->setFrame({{60, 50}, {340, 260}});
    EXPECT_TRUE(waitUntil([&] { return made->frame() == CGRect{{60, 50}, {340, 260}}; }));
    EXPECT_TRUE(waitUntil([&] { return made->contentView()->frame().size == CGSize{340, 260}; }));
    made->setFrame({{60, 50}, {200, 150}});
    EXPECT_TRUE(waitUntil([&] { return made->frame() == CGRect{{60, 50}, {200, 150}}; }));
}

TEST_F(NSWindowTest, ShrinksBelowWhatIsInIt)
{
    const auto made = window({{50, 50}, {300, 200}});
    const auto wide = std::make_shared<NSButton>("A button with a long title", CGRect{{0, 0}, {300, 200}});
    made->contentView()->addSubview(wide);
    show(made);
    made->setFrame({{50, 50}, {100, 60}});
    EXPECT_TRUE(waitUntil([&] { return made->frame().size == CGSize{100, 60}; }));
}

TEST_F(NSWindowTest, StaysAtLeastAsLargeAsItsMinimum)
{
    const auto made = window({{50, 50}, {300, 200}});
    made->setMinSize({250, 180});
    show(made);
    made->setFrame({{50, 50}, {100, 100}});
    EXPECT_TRUE(waitUntil([&] { return made->frame().size == CGSize{250, 180}; }));
}

TEST_F(NSWindowTest, SurvivesAnyFrame)
{
    const auto made = window({{0, 0}, {0, 0}});
    made->setFrame({{-1e9, 1e300}, {-5, 0}});
    EXPECT_GE(made->frame().size.width, 1);
    EXPECT_GE(made->frame().size.height, 1);
}

TEST_F(NSWindowTest, GoesToTheMiddleOfTheScreen)
{
    GdkRectangle monitor;
    gdk_monitor_get_geometry(gdk_display_get_monitor(gdk_display_get_default(), 0), &monitor);
    const CGRect middle{{(monitor.width - 300) / 2.0, (monitor.height - 200) / 2.0}, {300, 200}};
    const auto made = window({{0, 0}, {300, 200}});
    made->center();
    EXPECT_EQ(made->frame(), middle);
    show(made);
    made->setFrame({{10, 10}, {300, 200}});
    ASSERT_TRUE(waitUntil([&] { return made->frame().origin == CGPoint{10, 10}; }));
    made->center();
    EXPECT_TRUE(waitUntil([&] { return made->frame() == middle; }));
}

TEST_F(NSWindowTest, TellsOfItsResizing)
{
    const auto made = window({{50, 50}, {300, 200}});
    const auto delegate = std::make_shared<Delegate>();
    made->setDelegate(delegate);
    int notified = 0;
    const auto observer = NotificationCenter::defaultCenter().addObserver(
        NSWindow::didResizeNotification, made, [&](const auto&) { ++notified; });
    show(made);
    ASSERT_TRUE(waitUntil([&] { return made->contentView()->frame().size == CGSize{300, 200}; }));
    delegate->resized = notified = 0;
    made->setFrame({{50, 50}, {350, 200}});
    EXPECT_TRUE(waitUntil([&] { return delegate->resized > 0 && notified > 0; }));
    EXPECT_EQ(delegate->resized, notified);
    ASSERT_TRUE(waitUntil([&] { return made->frame().size == CGSize{350, 200}; }));
    runPendingTurns();
    delegate->resized = notified = 0;
    made->setFrame({{90, 60}, {350, 200}}); // it only moves
    ASSERT_TRUE(waitUntil([&] { return made->frame().origin == CGPoint{90, 60}; }));
    runPendingTurns();
    EXPECT_EQ(delegate->resized, 0);
    EXPECT_EQ(notified, 0);
}

// ---- look
// -----------------------------------------------------------------------------------------------------------

TEST_F(NSWindowTest, IsPaintedInItsBackgroundColor)
{
    ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr);
    const auto made = window();
    using Pixel = std::array<int, 3>;
    const auto pixel = [&] {
        GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(gtkWindow(*made)));
        GdkPixbuf* picture = surface ? gdk_pixbuf_get_from_window(surface, 20, 20, 1, 1) : nullptr;
        if (!picture)
            return Pixel{-1, -1, -1};
        const guchar* bytes = gdk_pixbuf_read_pixels(picture);
        const Pixel found{bytes[0], bytes[1], bytes[2]};
        g_object_unref(picture);
        return found;
    };
    made->setBackgroundColor({1, 0.4, 0.2, 1});
    show(made);
    EXPECT_TRUE(waitForScreen([&] { return pixel() == Pixel{255, 102, 51}; }))
        << ::testing::PrintToString(pixel());
    made->setBackgroundColor({0, 0.2, 1, 1}); // while it is on screen
    EXPECT_TRUE(waitForScreen([&] { return pixel() == Pixel{0, 51, 255}; }))
        << ::testing::PrintToString(pixel());
    made->setBackgroundColor({-1, 2, 0, 1}); // as near as it gets
    EXPECT_TRUE(waitForScreen([&] { return pixel() == Pixel{0, 255, 0}; }))
        << ::testing::PrintToString(pixel());
}

TEST_F(NSWindowTest, HasTheStyleThatItWasMadeWith)
{
    const auto plain = window();
    EXPECT_TRUE(gtk_window_get_decorated(gtkWindow(*plain)));
    EXPECT_TRUE(gtk_window_get_deletable(gtkWindow(*plain)));
    EXPECT_TRUE(gtk_window_get_resizable(gtkWindow(*plain)));
    const auto bare =
        NSWindow::create({{0, 0}, {100, 100}}, {.titled = false, .closable = false, .resizable = false});
    EXPECT_FALSE(gtk_window_get_decorated(gtkWindow(*bare)));
    EXPECT_FALSE(gtk_window_get_deletable(gtkWindow(*bare)));
    EXPECT_FALSE(gtk_window_get_resizable(gtkWindow(*bare)));
}

TEST_F(NSWindowTest, HasAnEmptyViewForNone)
{
    const auto made = window();
    made->setContentView(nullptr);
    ASSERT_NE(made->contentView(), nullptr);
    EXPECT_TRUE(made->contentView()->subviews().empty());
    EXPECT_EQ(made->contentView()->window(), made);
}

TEST_F(NSWindowTest, HasItsSizeAlsoWhenTheUserCannotChangeIt)
{
    const auto made =
        NSWindow::create({{50, 50}, {240, 160}}, {.titled = true, .closable = true, .resizable = false});
    show(made);
    EXPECT_TRUE(waitUntil([&] { return made->frame().size == CGSize{240, 160}; }))
        << made->frame().size.width << " x " << made->frame().size.height;
    EXPECT_TRUE(waitUntil([&] { return made->contentView()->frame().size == CGSize{240, 160}; }));
}

// ---- on screen
// ------------------------------------------------------------------------------------------------------

TEST_F(NSWindowTest, IsOnScreenFromShowingToOrderingOut)
{
    const auto made = window();
    EXPECT_FALSE(made->isVisible());
    show(made);
    EXPECT_TRUE(made->isVisible());
    made->orderOut();
    EXPECT_FALSE(made->isVisible());
    show(made);
    EXPECT_TRUE(made->isVisible());
}

TEST_F(NSWindowTest, IsKeptWhileItIsOnScreenAndReleasedByClosing)
{
    auto made = window();
    const std::weak_ptr<NSWindow> watched(made);
    bool gone = false;
    g_object_weak_ref(
        G_OBJECT(gtkWindow(*made)), +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; },
        &gone);
    made->makeKeyAndOrderFront();
    made->makeKeyAndOrderFront();
    made.reset();
    ASSERT_FALSE(watched.expired());
    runPendingTurns();
    ASSERT_FALSE(watched.expired());
    watched.lock()->close();
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(waitForScreen([&] { return gone; }));
}

TEST_F(NSWindowTest, IsReleasedByOrderingOut)
{
    auto made = window();
    const std::weak_ptr<NSWindow> watched(made);
    const auto delegate = std::make_shared<Delegate>();
    made->setDelegate(delegate);
    made->makeKeyAndOrderFront();
    made.reset();
    watched.lock()->orderOut();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(delegate->calls, Texts{}); // it was not closed
}

TEST_F(NSWindowTest, IsNotKeptBeforeItIsOnScreen)
{
    auto made = window();
    const std::weak_ptr<NSWindow> watched(made);
    made.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(NSWindowTest, GivesTheKeyboardFromOneToAnother)
{
    const auto first = window({{50, 50}, {100, 100}});
    const auto second = window({{250, 50}, {100, 100}});
    const auto delegate = std::make_shared<Delegate>();
    first->setDelegate(delegate);
    Texts notified;
    const auto became = NotificationCenter::defaultCenter().addObserver(
        NSWindow::didBecomeKeyNotification, first, [&](const auto&) { notified.emplace_back("key"); });
    const auto resigned = NotificationCenter::defaultCenter().addObserver(
        NSWindow::didResignKeyNotification, first, [&](const auto&) { notified.emplace_back("not key"); });
    EXPECT_FALSE(first->isKeyWindow());
    show(first);
    EXPECT_EQ(NSApplication::shared().keyWindow(), first);
    show(second);
    EXPECT_TRUE(waitUntil([&] { return !first->isKeyWindow(); }));
    EXPECT_EQ(NSApplication::shared().keyWindow(), second);
    EXPECT_EQ(delegate->calls, (Texts{"key", "not key"}));
    EXPECT_EQ(notified, delegate->calls);
}

TEST_F(NSWindowTest, GivesTheKeyboardUpWhenItIsOrderedOut)
{
    const auto made = window();
    show(made);
    made->orderOut();
    EXPECT_TRUE(waitForScreen([&] { return !made->isKeyWindow(); }));
    EXPECT_EQ(NSApplication::shared().keyWindow(), nullptr);
}

// ---- closing
// --------------------------------------------------------------------------------------------------------

TEST_F(NSWindowTest, ClosesWithoutAskingAndTellsOnce)
{
    const auto made = window();
    const auto delegate = std::make_shared<Delegate>();
    delegate->mayClose = false;
    made->setDelegate(delegate);
    std::vector<std::shared_ptr<NSObject>> notified;
    const auto observer = NotificationCenter::defaultCenter().addObserver(NSWindow::willCloseNotification,
        made, [&](const auto& posted) { notified.push_back(posted.object); });
    made->makeKeyAndOrderFront();
    made->close();
    EXPECT_FALSE(made->isVisible());
    EXPECT_EQ(delegate->calls, Texts{"will close"});
    EXPECT_EQ(notified, std::vector<std::shared_ptr<NSObject>>{made});
}

TEST_F(NSWindowTest, AsksItsDelegateAsTheCloseButtonDoes)
{
    const auto made = window();
    const auto delegate = std::make_shared<Delegate>();
    made->setDelegate(delegate);
    made->makeKeyAndOrderFront();
    delegate->mayClose = false;
    made->performClose();
    EXPECT_TRUE(made->isVisible());
    EXPECT_EQ(delegate->calls, Texts{"should close"});
    delegate->mayClose = true;
    made->performClose();
    EXPECT_FALSE(made->isVisible());
    EXPECT_EQ(delegate->calls, (Texts{"should close", "should close", "will close"}));
}

TEST_F(NSWindowTest, ClosesWithoutADelegate)
{
    const auto made = window();
    made->makeKeyAndOrderFront();
    made->performClose();
    EXPECT_FALSE(made->isVisible());
}

TEST_F(NSWindowTest, AsksItsDelegateWhenTheUserClosesIt)
{
    auto made = window();
    const std::weak_ptr<NSWindow> watched(made);
    const auto delegate = std::make_shared<Delegate>();
    delegate->mayClose = false;
    made->setDelegate(delegate);
    show(made);
    GtkWindow* native = gtkWindow(*made);
    made.reset();
    gtk_window_close(native);
    ASSERT_TRUE(waitUntil([&] { return delegate->calls.back() == "should close"; }));
    ASSERT_FALSE(watched.expired());
    EXPECT_TRUE(watched.lock()->isVisible());
    delegate->mayClose = true;
    gtk_window_close(native);
    EXPECT_TRUE(waitUntil([&] { return watched.expired(); }));
}

TEST_F(NSWindowTest, ClosesOnceAlsoWhenItsDelegateClosesItAgain)
{
    const auto made = window();
    const auto delegate = std::make_shared<Delegate>();
    delegate->closeAgain = true;
    made->setDelegate(delegate);
    made->makeKeyAndOrderFront();
    made->close();
    EXPECT_EQ(delegate->calls, Texts{"will close"});
}

TEST_F(NSWindowTest, MayBeShownAndClosedAgain)
{
    const auto made = window();
    const auto delegate = std::make_shared<Delegate>();
    made->setDelegate(delegate);
    for (int round = 0; round < 2; ++round) {
        made->makeKeyAndOrderFront();
        EXPECT_TRUE(made->isVisible());
        made->close();
        EXPECT_FALSE(made->isVisible());
    }
    EXPECT_EQ(delegate->calls, (Texts{"will close", "will close"}));
}

TEST_F(NSWindowTest, IsStillWholeWhileItTellsOfItsClosing)
{
    std::weak_ptr<NSWindow> watched;
    Texts titles;
    NotificationObserver observer;
    {
        const auto made = window();
        made->setTitle("Tea");
        made->makeKeyAndOrderFront();
        watched = made;
    }
    observer = NotificationCenter::defaultCenter().addObserver(
        NSWindow::willCloseNotification, nullptr, [&](const Notification& posted) {
            const auto closing = std::static_pointer_cast<NSWindow>(posted.object);
            titles.push_back(closing->title());
            EXPECT_TRUE(closing->isVisible());
            closing->orderOut();
        });
    watched.lock()->close();
    EXPECT_EQ(titles, Texts{"Tea"});
    EXPECT_TRUE(watched.expired());
}

TEST_F(NSWindowTest, DoesNotKeepItsDelegate)
{
    const auto made = window();
    auto delegate = std::make_shared<Delegate>();
    const std::weak_ptr<Delegate> watched(delegate);
    made->setDelegate(delegate);
    delegate.reset();
    EXPECT_TRUE(watched.expired());
    made->makeKeyAndOrderFront();
    made->performClose();
    EXPECT_FALSE(made->isVisible());
}

} // namespace
