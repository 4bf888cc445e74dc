#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/Platform/WebKit/WKWebViewConfiguration.h>
#include <LumoKit/WebView/LMWebView.h>

#include <Support/FramelessHost.h>
#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

using Button = NSWindow::ButtonType;
using Points = std::vector<CGPoint>;
const Points inTheMiddle{{12, 13}, {32, 13}, {52, 13}};
const Points inFullScreen{{12, 3}, {32, 3}, {52, 3}};

void post(const FramelessHost& host, const char* name)
{
    NotificationCenter::defaultCenter().post({name, host.window, {}});
}

/// Puts the close button out of its place, and tells whether something puts it back.
bool isLaidOutAgain(const FramelessHost& host, const Points& places, const auto& after)
{
    host.button(Button::closeButton)->setFrame({{99, 9}, {14, 14}});
    after();
    return host.places() == places;
}

// ---- set-up ----------------------------------------------------------------------------------------------------------

TEST(FramelessWindow, IsSetUpAtOnceWhenOwnerAndHeightAreThere)
{
    const FramelessHost host;
    EXPECT_FALSE(host.behaviour->setupDone());
    host.behaviour->titlebarHeight = 40;
    host.behaviour->setOwner(host.owner);
    EXPECT_FALSE(host.behaviour->setupDone()); // an owner alone starts nothing
    host.behaviour->setWindow(host.window);
    EXPECT_TRUE(host.behaviour->setupDone());
    EXPECT_EQ(host.behaviour->window(), host.window);
    EXPECT_EQ(host.behaviour->owner(), host.owner);
}

TEST(FramelessWindow, WaitsForItsHeight)
{
    const FramelessHost host;
    const auto style = host.window->styleMask();
    host.behaviour->setOwner(host.owner);
    host.behaviour->setWindow(host.window);
    runPendingTurns();
    EXPECT_FALSE(host.behaviour->setupDone());
    EXPECT_EQ(host.window->styleMask(), style);
    EXPECT_EQ(host.window->frame(), (CGRect{{100, 100}, {400, 300}}));
    EXPECT_TRUE(host.window->contentView()->subviews().empty());
    host.behaviour->titlebarHeight = 40;
    EXPECT_FALSE(host.behaviour->setupDone()); // that alone does nothing
    EXPECT_TRUE(waitUntil([&] { return host.behaviour->setupDone(); }));
    EXPECT_EQ(host.window->frame().size, (CGSize{400, 322}));
    EXPECT_EQ(host.places(), inTheMiddle);
}

TEST(FramelessWindow, WaitsForItsOwner)
{
    const FramelessHost host;
    host.behaviour->titlebarHeight = 40;
    host.behaviour->setWindow(host.window);
    runPendingTurns();
    EXPECT_FALSE(host.behaviour->setupDone());
    host.behaviour->setOwner(host.owner);
    EXPECT_FALSE(host.behaviour->setupDone());
    EXPECT_TRUE(waitUntil([&] { return host.behaviour->setupDone(); }));
}

TEST(FramelessWindow, WaitsForItsWindow)
{
    const FramelessHost host;
    host.behaviour->titlebarHeight = 40;
    host.behaviour->setOwner(host.owner);
    host.behaviour->setWindow(nullptr); // which tries, too
    runPendingTurns();
    EXPECT_FALSE(host.behaviour->setupDone());
    host.behaviour->setWindow(host.window);
    EXPECT_TRUE(host.behaviour->setupDone());
}

TEST(FramelessWindow, IsThereForWhatIsQueuedAfterItsHeight)
{
    const FramelessHost host;
    host.behaviour->setOwner(host.owner);
    host.behaviour->setWindow(host.window);
    runPendingTurns();
    host.behaviour->titlebarHeight = 40;
    bool found = false;
    bool ran = false;
    DispatchQueue::main()->async([&] {
        ran = true;
        found = host.behaviour->setupDone();
    });
    ASSERT_TRUE(waitUntil([&] { return ran; }));
    EXPECT_TRUE(found);
}

TEST(FramelessWindow, LetsTheLoopSleepWhileItWaits)
{
    const FramelessHost waiting;
    waiting.behaviour->setOwner(waiting.owner);
    waiting.behaviour->setWindow(waiting.window);
    const FramelessHost again;
    again.makeFrameless();
    again.behaviour->setWindow(again.window); // it is set up, and tries for good
    runPendingTurns(); // they end
    bool over = false;
    DispatchQueue::main()->asyncAfter(
        std::chrono::steady_clock::now() + std::chrono::milliseconds(300), [&] { over = true; });
    int turns = 0;
    while (!over) {
        g_main_context_iteration(nullptr, TRUE);
        ++turns;
    }
    EXPECT_LT(turns, 30); // a loop that never sleeps has tens of thousands
    waiting.behaviour->titlebarHeight = 40;
    EXPECT_TRUE(waitUntil([&] { return waiting.behaviour->setupDone(); }));
}

TEST(FramelessWindow, IsNotCustomizedASecondTime)
{
    const FramelessHost host;
    host.makeFrameless();
    const CGRect frame = host.window->frame();
    host.behaviour->setWindow(host.window);
    runPendingTurns();
    EXPECT_EQ(host.window->frame(), frame);
    EXPECT_EQ(host.window->contentView()->subviews().size(), 1U);
    const FramelessHost other;
    host.behaviour->setWindow(other.window);
    runPendingTurns();
    EXPECT_EQ(other.window->frame(), (CGRect{{100, 100}, {400, 300}}));
    EXPECT_EQ(other.button(Button::closeButton), nullptr);
    EXPECT_TRUE(host.behaviour->setupDone());
}

// ---- look ------------------------------------------------------------------------------------------------------------

TEST(FramelessWindow, GainsOnePartOfItsStyleAndTheHeightOfATitle)
{
    const FramelessHost host;
    const auto style = host.window->styleMask();
    host.makeFrameless();
    EXPECT_EQ(host.window->styleMask().rawValue(), style.rawValue() | 0x8000);
    EXPECT_EQ(host.window->titleVisibility(), NSWindow::TitleVisibility::hidden);
    EXPECT_TRUE(host.window->titlebarAppearsTransparent());
    EXPECT_TRUE(host.window->isMovableByWindowBackground());
    EXPECT_FALSE(gtk_window_get_decorated(gtkWindow(*host.window)));
    EXPECT_EQ(host.window->frame(), (CGRect{{100, 100}, {400, 322}}));
}

TEST(FramelessWindow, KeepsTheOtherPartsOfItsStyle)
{
    static_cast<void>(NSApplication::shared());
    FramelessHost host;
    host.window = NSWindow::create({{100, 100}, {400, 300}},
        {.closable = false, .miniaturizable = false, .resizable = false, .fullSizeContentView = false});
    host.makeFrameless();
    EXPECT_EQ(host.window->styleMask().rawValue(), 0x8001U);
    EXPECT_FALSE(host.button(Button::closeButton)->isEnabled());
    EXPECT_FALSE(host.button(Button::miniaturizeButton)->isEnabled());
    EXPECT_FALSE(host.button(Button::zoomButton)->isEnabled());
}

TEST(FramelessWindow, GrowsOnScreenWithItsBottomInPlace)
{
    const FramelessHost host({{120, 80}, {400, 300}});
    ASSERT_TRUE(host.show());
    // A window manager moves it once or twice before it is where it stays.
    CGPoint origin;
    int looks = 0;
    ASSERT_TRUE(waitForOthers([&] {
        const CGRect now = host.window->frame();
        looks = now == CGRect{origin, {400, 300}} ? looks + 1 : 0;
        origin = now.origin;
        return looks == 20;
    }));
    host.makeFrameless();
    const CGRect grown{origin, {400, 322}};
    EXPECT_TRUE(waitForOthers([&] { return host.window->frame() == grown; }))
        << "at " << host.window->frame().origin.x << ", " << host.window->frame().origin.y << ", not at "
        << origin.x << ", " << origin.y;
    EXPECT_TRUE(waitUntil([&] { return host.window->contentView()->frame().size == grown.size; }));
}

TEST(FramelessWindow, HasAStripAtTheTopOfItsContent)
{
    const FramelessHost host;
    host.makeFrameless();
    const auto strip = host.strip();
    ASSERT_NE(strip, nullptr);
    EXPECT_EQ(strip->windowToDrag, host.window);
    const auto isAtTheTop = [&] {
        const CGSize size = host.window->contentView()->bounds().size;
        return strip->frame() == CGRect{{0, size.height - 40}, {size.width, 40}};
    };
    EXPECT_TRUE(isAtTheTop());
    ASSERT_TRUE(host.show());
    EXPECT_TRUE(waitUntil(
        [&] { return host.window->contentView()->bounds().size == CGSize{400, 322} && isAtTheTop(); }));
    host.window->setFrame({{100, 100}, {500, 250}});
    EXPECT_TRUE(waitUntil(
        [&] { return host.window->contentView()->bounds().size == CGSize{500, 250} && isAtTheTop(); }));
}

TEST(FramelessWindow, PutsItsButtonsIntoTheStrip)
{
    const FramelessHost host;
    host.makeFrameless(40);
    EXPECT_EQ(host.button(Button::closeButton)->frame().size, (CGSize{14, 14}));
    EXPECT_EQ(host.places(), inTheMiddle);
    EXPECT_EQ(host.container()->frame(), (CGRect{{0, 282}, {400, 40}}));
}

TEST(FramelessWindow, RoundsHalfPointsAwayFromZero)
{
    const FramelessHost host;
    host.makeFrameless(41); // 13.5
    EXPECT_EQ(host.places().front(), (CGPoint{12, 14}));
    const FramelessHost low;
    low.makeFrameless(13); // -0.5
    EXPECT_EQ(low.places().front(), (CGPoint{12, -1}));
}

TEST(FramelessWindow, KeepsTheSizesOfItsButtons)
{
    const FramelessHost host;
    host.makeFrameless();
    host.button(Button::closeButton)->setFrame({{0, 0}, {20, 10}});
    host.behaviour->updateTitlebar(false);
    EXPECT_EQ(host.button(Button::closeButton)->frame(), (CGRect{{12, 15}, {20, 10}}));
    EXPECT_EQ(host.button(Button::miniaturizeButton)->frame(), (CGRect{{38, 13}, {14, 14}}));
}

TEST(FramelessWindow, DrawsItsButtonsWhereTheirFramesAre)
{
    const FramelessHost host;
    host.makeFrameless();
    ASSERT_TRUE(host.show());
    EXPECT_TRUE(waitUntil([&] { return host.drawn(Button::closeButton) == CGRect{{12, 13}, {14, 14}}; }));
    EXPECT_EQ(host.drawn(Button::miniaturizeButton), (CGRect{{32, 13}, {14, 14}}));
    EXPECT_EQ(host.drawn(Button::zoomButton), (CGRect{{52, 13}, {14, 14}}));
    host.window->setFrame({{100, 100}, {480, 350}}); // the strip stays at the top
    EXPECT_TRUE(waitUntil([&] { return host.container()->frame() == CGRect{{0, 310}, {480, 40}}; }));
    EXPECT_EQ(host.drawn(Button::closeButton), (CGRect{{12, 13}, {14, 14}}));
}

TEST(FramelessWindow, HasButtonsThatAssistiveSoftwareKnows)
{
    const FramelessHost host;
    host.makeFrameless();
    const auto named = [&](Button type, const char* name) {
        GtkWidget* widget = gtkWidget(*host.button(type));
        AtkObject* object = gtk_widget_get_accessible(widget);
        EXPECT_STREQ(atk_object_get_name(object), name);
        EXPECT_EQ(atk_object_get_role(object), ATK_ROLE_PUSH_BUTTON);
        EXPECT_TRUE(gtk_widget_get_can_focus(widget));
        const char* label = gtk_button_get_label(GTK_BUTTON(widget)); // an icon is all that it shows
        EXPECT_TRUE(!label || !*label) << label;
    };
    named(Button::closeButton, "Close");
    named(Button::miniaturizeButton, "Minimise");
    named(Button::zoomButton, "Maximise");
}

TEST(FramelessWindow, DoesNothingWithoutButtons)
{
    static_cast<void>(NSApplication::shared());
    FramelessHost host;
    host.window = NSWindow::create({{100, 100}, {400, 300}}, {.titled = false, .fullSizeContentView = false});
    host.makeFrameless();
    EXPECT_TRUE(host.behaviour->setupDone());
    EXPECT_EQ(host.button(Button::closeButton), nullptr);
}

TEST(FramelessWindow, DoesNothingWithoutAContainer)
{
    const FramelessHost torn;
    torn.makeFrameless();
    torn.behaviour->updateTitlebar(false);
    const auto container = torn.container();
    torn.button(Button::closeButton)->superview()->removeFromSuperview();
    container->setFrame({{0, 300}, {400, 22}});
    torn.behaviour->updateTitlebar(false); // the buttons are in no container
    EXPECT_EQ(container->frame(), (CGRect{{0, 300}, {400, 22}}));
}

// ---- what it follows -------------------------------------------------------------------------------------------------

TEST(FramelessWindow, LaysOutAgainForItsWindowsNotifications)
{
    const FramelessHost host;
    host.makeFrameless();
    for (const char* name : {NSWindow::didBecomeKeyNotification, NSWindow::didResizeNotification,
             NSWindow::didExitFullScreenNotification})
        EXPECT_TRUE(isLaidOutAgain(host, inTheMiddle, [&] { post(host, name); })) << name;
    EXPECT_TRUE(
        isLaidOutAgain(host, inFullScreen, [&] { post(host, NSWindow::didEnterFullScreenNotification); }));
    EXPECT_FALSE(isLaidOutAgain(host, inTheMiddle, [&] { post(host, NSWindow::didResignKeyNotification); }));
    const FramelessHost other;
    EXPECT_FALSE(isLaidOutAgain(host, inTheMiddle, [&] { post(other, NSWindow::didResizeNotification); }));
}

TEST(FramelessWindow, LaysOutAgainForANewTitle)
{
    const FramelessHost host;
    host.makeFrameless();
    EXPECT_TRUE(isLaidOutAgain(host, inTheMiddle, [&] { host.window->setTitle("Tea"); }));
    EXPECT_STREQ(gtk_window_get_title(gtkWindow(*host.window)), "Tea"); // the desktop's lists say it
}

TEST(FramelessWindow, MovesItsButtonsDownInFullScreen)
{
    const FramelessHost host;
    host.makeFrameless();
    ASSERT_TRUE(host.show());
    ASSERT_TRUE(waitUntil([&] { return host.window->contentView()->frame().size == CGSize{400, 322}; }));
    const CGRect before = host.window->frame();
    host.window->toggleFullScreen();
    EXPECT_TRUE(waitUntil([&] { return host.places() == inFullScreen; }));
    EXPECT_TRUE(host.window->isFullScreen());
    GdkRectangle monitor;
    gdk_monitor_get_geometry(gdk_display_get_monitor(gdk_display_get_default(), 0), &monitor);
    EXPECT_EQ(host.window->frame().size, (CGSize{double(monitor.width), double(monitor.height)}));
    EXPECT_EQ(host.container()->frame().maxY(), monitor.height);
    EXPECT_TRUE(waitUntil([&] { return host.drawn(Button::closeButton) == CGRect{{12, 23}, {14, 14}}; }));
    host.window->toggleFullScreen();
    EXPECT_TRUE(waitUntil([&] { return host.places() == inTheMiddle && !host.window->isFullScreen(); }));
    EXPECT_TRUE(waitForOthers([&] { return host.window->frame() == before; }));
    EXPECT_TRUE(waitUntil([&] { return host.drawn(Button::closeButton) == CGRect{{12, 13}, {14, 14}}; }));
}

TEST(FramelessWindow, SurvivesWhatItFollows)
{
    FramelessHost host;
    host.makeFrameless();
    const std::weak_ptr<NSObject> weak = host.behaviour;
    host.behaviour.reset();
    EXPECT_FALSE(weak.expired()); // its owner keeps it
    host.owner.reset();
    EXPECT_TRUE(weak.expired());
    host.window->setTitle("Tea");
    post(host, NSWindow::didResizeNotification);
}

TEST(FramelessWindow, EndsWhileItTries)
{
    FramelessHost host;
    const std::weak_ptr<NSObject> weak = host.behaviour;
    host.behaviour->setWindow(host.window);
    host.behaviour.reset();
    EXPECT_TRUE(weak.expired());
    runPendingTurns();
}

TEST(FramelessWindow, ForgetsAWindowThatIsGone)
{
    FramelessHost host;
    host.behaviour->setOwner(host.owner);
    host.behaviour->setWindow(host.window);
    host.window.reset();
    EXPECT_EQ(host.behaviour->window(), nullptr);
    host.behaviour->titlebarHeight = 40;
    runPendingTurns();
    EXPECT_FALSE(host.behaviour->setupDone());
}

// ---- owner -----------------------------------------------------------------------------------------------------------

TEST(FramelessWindow, MovesFromOwnerToOwner)
{
    const FramelessHost host;
    const auto kept = [](const std::shared_ptr<NSObject>& by) {
        return by->associatedObject<std::shared_ptr<LMFramelessWindowBehaviour>>("owner").value_or(nullptr);
    };
    host.behaviour->setOwner(host.owner);
    EXPECT_EQ(kept(host.owner), host.behaviour);
    const auto other = std::make_shared<Owner>();
    host.behaviour->setOwner(other);
    EXPECT_EQ(kept(host.owner), nullptr);
    EXPECT_EQ(kept(other), host.behaviour);
    host.behaviour->setOwner(other); // again
    EXPECT_EQ(kept(other), host.behaviour);
    host.behaviour->setOwner(nullptr);
    EXPECT_EQ(kept(other), nullptr);
    EXPECT_EQ(host.behaviour->owner(), nullptr);
}

TEST(FramelessWindow, MayBeLetGoByTheOwnerThatItLeaves)
{
    const auto owner = std::make_shared<Owner>();
    auto made = std::make_shared<LMFramelessWindowBehaviour>();
    LMFramelessWindowBehaviour& behaviour = *made;
    const std::weak_ptr<NSObject> weak = made;
    behaviour.setOwner(owner);
    made.reset();
    behaviour.setOwner(nullptr); // the last to keep it
    EXPECT_TRUE(weak.expired());
}

TEST(FramelessWindow, MayBeOwnedByItsWindow)
{
    FramelessHost host;
    host.behaviour->titlebarHeight = 40;
    host.behaviour->setOwner(host.window);
    host.behaviour->setWindow(host.window);
    EXPECT_TRUE(host.behaviour->setupDone());
    const std::weak_ptr<NSObject> behaviour = host.behaviour;
    const std::weak_ptr<NSObject> window = host.window;
    host.behaviour.reset();
    host.window->close();
    host.window.reset();
    EXPECT_TRUE(window.expired());
    EXPECT_TRUE(behaviour.expired());
}

// ---- by name ---------------------------------------------------------------------------------------------------------

TEST(FramelessWindow, IsSetByNames)
{
    const FramelessHost host;
    host.behaviour->setValue(Value(40), "titlebarHeight");
    EXPECT_EQ(host.behaviour->titlebarHeight, 40);
    EXPECT_EQ(host.behaviour->value("titlebarHeight"), Value(40.0));
    host.behaviour->setOutlet(host.window, "window");
    EXPECT_FALSE(host.behaviour->setupDone());
    host.behaviour->setOutlet(host.owner, "owner");
    EXPECT_TRUE(waitUntil([&] { return host.behaviour->setupDone(); }));
}

TEST(FramelessWindowDeathTest, KnowsNoOtherNames)
{
    const FramelessHost host;
    EXPECT_DEATH(host.behaviour->setValue(Value(1), "tea"), "no property 'tea'");
    EXPECT_DEATH(host.behaviour->setOutlet(host.owner, "tea"), "no outlet 'tea'");
    EXPECT_DEATH(host.behaviour->setOutlet(host.owner, "window"), "for a window");
}

TEST(FramelessWindowDeathTest, NeedsAWindowForItsSteps)
{
    const auto behaviour = std::make_shared<LMFramelessWindowBehaviour>();
    EXPECT_DEATH(behaviour->registerForNotifications(), "Fatal error: window should not be nil here");
    EXPECT_DEATH(behaviour->updateTitlebar(false), "Fatal error: window should not be nil here");
    EXPECT_DEATH(behaviour->customizeWindow(), "Fatal error: window should not be nil here");
}

// ---- closing ---------------------------------------------------------------------------------------------------------

TEST(FramelessWindow, IsFreedOnceItIsClosed)
{
    FramelessHost host;
    host.makeFrameless();
    ASSERT_TRUE(host.show());
    const std::weak_ptr<NSObject> window = host.window;
    const std::weak_ptr<NSObject> strip = host.strip();
    host.window->close();
    host.window.reset();
    EXPECT_TRUE(waitUntil([&] { return window.expired(); }));
    EXPECT_TRUE(strip.expired());
}

TEST(FramelessWindow, HasItsStripAgainWhenItIsShownAgain)
{
    const FramelessHost host;
    if (!FramelessHost::hasKeyboard())
        GTEST_SKIP() << "no window becomes key";
    host.makeFrameless();
    ASSERT_TRUE(host.show());
    host.window->close();
    ASSERT_TRUE(waitUntil([&] { return !host.window->isKeyWindow(); }));
    ASSERT_TRUE(host.show());
    EXPECT_EQ(host.strip()->windowToDrag, host.window);
}

// ---- over a page -----------------------------------------------------------------------------------------------------

TEST(FramelessWindow, LiesOverAPageThatIsTheWholeContent)
{
    const FramelessHost host;
    const auto page = std::make_shared<LMWebView>(CGRect{}, std::make_shared<WKWebViewConfiguration>());
    host.window->setContentView(page);
    host.makeFrameless();
    ASSERT_EQ(host.window->contentView(), page);
    ASSERT_NE(host.strip(), nullptr);
    ASSERT_TRUE(host.show());
    EXPECT_TRUE(waitUntil([&] {
        return gtk_widget_get_allocated_height(gtkWidget(*page)) == 322
            && gtk_widget_get_allocated_height(gtkWidget(*host.strip())) == 40;
    }));
    EXPECT_TRUE(host.window->makeFirstResponder(page)); // it still takes keys
    EXPECT_EQ(host.window->firstResponder(), page);
}

// ---- the strip -------------------------------------------------------------------------------------------------------

TEST(WindowDraggingView, MovesItsWindowByWhatTheMouseMoved)
{
    const FramelessHost host({{100, 100}, {300, 200}});
    WindowDraggingView strip;
    EXPECT_EQ(strip.windowToDrag, nullptr);
    EXPECT_FALSE(strip.mouseDraggedSinceMouseDown);
    NSEvent event;
    event.type = NSEvent::EventType::leftMouseDragged;
    event.deltaX = 10;
    event.deltaY = 5;
    strip.mouseDragged(event); // nothing to move
    strip.windowToDrag = host.window;
    strip.mouseDragged(event);
    const bool moves = host.window->movesItself();
    EXPECT_EQ(host.window->frame(), (CGRect{moves ? CGPoint{110, 95} : CGPoint{100, 100}, {300, 200}}));
    EXPECT_FALSE(strip.mouseDraggedSinceMouseDown);
}

TEST(WindowDraggingView, IsMadeFromAFrameOrAnInterfaceFile)
{
    static_cast<void>(NSApplication::shared());
    EXPECT_EQ(WindowDraggingView(CGRect{{1, 2}, {3, 4}}).frame(), (CGRect{{1, 2}, {3, 4}}));
    const NSCoder coder({{"frame", Value("{{5, 6}, {7, 8}}")}, {"identifier", Value("strip")}});
    EXPECT_EQ(WindowDraggingView(coder).frame(), (CGRect{{5, 6}, {7, 8}}));
    EXPECT_EQ(WindowDraggingView(coder).identifier(), "strip");
}

} // namespace
