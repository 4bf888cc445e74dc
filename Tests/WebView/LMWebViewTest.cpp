#include "Support/KeyPage.h"

#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/WebView/LMWebView.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <optional>
#include <vector>

namespace {

std::atomic<bool> waitedAMinute = false;

} // namespace

/// In the place of the main loop's own, which it calls: how long the kit is about to wait.
extern "C" __attribute__((visibility("default"))) GSource* g_timeout_source_new(guint interval)
{
    static const auto own = reinterpret_cast<GSource* (*)(guint)>(::dlsym(RTLD_NEXT, "g_timeout_source_new"));
    if (interval == 60000)
        waitedAMinute = true;
    return own(interval);
}

using namespace LumoKit;
using LumoKit::Test::KeyPage;
using LumoKit::Test::NavigationRecorder;
using LumoKit::Test::waitUntil;

namespace {

using Flags = NSEvent::ModifierFlags;

NSEvent press(std::uint16_t keyCode, Flags modifiers, const std::string& characters = "f")
{
    return *NSEvent::keyEvent(
        NSEvent::EventType::keyDown, {}, modifiers, 0, 0, characters, characters, false, keyCode);
}

/// Something of a host's own that may have an address.
struct Bookmark {
    std::string address;
};
std::optional<URL> asURL(const Bookmark& bookmark)
{
    return URL::parse(bookmark.address);
}
struct Described {
    [[nodiscard]] std::string description() const { return "a described place"; }
};
std::optional<URL> asURL(const Described&)
{
    return std::nullopt;
}

/// Never answers.
class Silence : public WKURLSchemeHandler {
public:
    void start(WKWebView&, const std::shared_ptr<WKURLSchemeTask>& task) override { tasks.push_back(task); }
    std::vector<std::shared_ptr<WKURLSchemeTask>> tasks;
};

class LMWebViewTest : public ::testing::Test {
protected:
    LMWebViewTest()
    {
        static_cast<void>(NSApplication::shared());
        configuration->setURLSchemeHandler(silence, "silent");
        view = std::make_shared<LMWebView>(CGRect{{}, {300, 200}}, configuration);
        view->setNavigationDelegate(navigation);
    }

    std::shared_ptr<Silence> silence = std::make_shared<Silence>();
    std::shared_ptr<WKWebViewConfiguration> configuration = std::make_shared<WKWebViewConfiguration>();
    std::shared_ptr<LMWebView> view;
    std::shared_ptr<NavigationRecorder> navigation = std::make_shared<NavigationRecorder>();
};

TEST_F(LMWebViewTest, BeginsWithoutSilencedKeysAndBackground)
{
    EXPECT_TRUE(view->keyCodesToSilence.empty());
    EXPECT_FALSE(view->lm_drawsBackground());
    EXPECT_EQ(view->_pageZoomFactor(), 1.0);
    EXPECT_EQ(view->frame(), (CGRect{{}, {300, 200}}));
}

TEST_F(LMWebViewTest, CannotBeMadeFromAnArchive)
{
    NSCoder coder;
    EXPECT_EQ(LMWebView::create(coder), nullptr);
}

TEST_F(LMWebViewTest, SilencesKeysWithoutForbiddenModifiers)
{
    view->keyCodesToSilence = {{3, Flags::command}, {5}};
    EXPECT_FALSE(view->performKeyEquivalent(press(3, Flags::command)));
    EXPECT_TRUE(view->performKeyEquivalent(press(3, Flags::control)));
    EXPECT_TRUE(view->performKeyEquivalent(press(3, {})));
    EXPECT_TRUE(view->performKeyEquivalent(press(5, Flags::command)));
    EXPECT_FALSE(view->performKeyEquivalent(press(4, {})));
    view->keyCodesToSilence = {}; // read at each press
    EXPECT_FALSE(view->performKeyEquivalent(press(3, {})));
}

TEST_F(LMWebViewTest, SilencesIfAnyEntryMatches)
{
    view->keyCodesToSilence = {KeyCode::f, {3, Flags::control}};
    EXPECT_TRUE(view->performKeyEquivalent(press(3, Flags::command)));
    EXPECT_FALSE(view->performKeyEquivalent(press(3, Flags::command | Flags::control)));
}

TEST(LMWebViewKeys, LeaveCommandCommaUnlessItIsSilenced)
{
    KeyPage page;
    ASSERT_TRUE(page.open());
    EXPECT_TRUE(page.view->performKeyEquivalent(press(3, Flags::command))); // the page has it
    EXPECT_FALSE(page.view->performKeyEquivalent(press(43, Flags::command, ",")));
    EXPECT_FALSE(page.view->performKeyEquivalent(press(43, Flags::command | Flags::shift, "<")));
    EXPECT_TRUE(page.view->performKeyEquivalent(press(43, {}, ",")));
    EXPECT_EQ(page.logUpTo("input(,)"), "keydown(f+ctrl) keydown(,) input(,)");
    page.view->keyCodesToSilence = {{43}};
    EXPECT_TRUE(page.view->performKeyEquivalent(press(43, Flags::command, ",")));
}

TEST(LMWebViewKeys, GoToThePageThatHasTheKeyboard)
{
    KeyPage page;
    ASSERT_TRUE(page.open());
    const auto other =
        std::make_shared<LMWebView>(CGRect{{}, {100, 100}}, std::make_shared<WKWebViewConfiguration>());
    page.window->contentView()->addSubview(other);
    EXPECT_EQ(page.window->firstResponder(), page.view);
    EXPECT_FALSE(other->performKeyEquivalent(press(3, {})));
    EXPECT_TRUE(page.window->performKeyEquivalent(press(4, {}, "h")));
    EXPECT_EQ(page.logUpTo("input(h)"), "keydown(h) input(h)");
    EXPECT_TRUE(page.window->makeFirstResponder(nullptr));
    EXPECT_EQ(page.window->firstResponder(), nullptr);
    EXPECT_FALSE(page.window->performKeyEquivalent(press(5, {}, "g")));
    other->keyCodesToSilence = {{5}}; // though it has not got the keyboard
    EXPECT_TRUE(page.window->performKeyEquivalent(press(5, {}, "g")));
    other->setHidden(true);
    EXPECT_FALSE(page.window->performKeyEquivalent(press(5, {}, "g")));
    other->setHidden(false);
    EXPECT_TRUE(page.window->makeFirstResponder(other));
    EXPECT_EQ(page.window->firstResponder(), other);
    EXPECT_FALSE(page.view->performKeyEquivalent(press(3, {})));
    EXPECT_FALSE(page.window->makeFirstResponder(page.window->contentView()));
    EXPECT_FALSE(page.window->makeFirstResponder(std::make_shared<NSView>()));
}

TEST_F(LMWebViewTest, ZoomsThePage)
{
    view->_setPageZoomFactor(1.5);
    EXPECT_EQ(view->_pageZoomFactor(), 1.5);
    for (const double factor :
        {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        view->_setPageZoomFactor(factor);
    EXPECT_EQ(view->_pageZoomFactor(), 1.5);
    view->setValue("2", "pageZoomFactor");
    EXPECT_EQ(view->_pageZoomFactor(), 1.5);
    EXPECT_EQ(webkit_web_view_get_zoom_level(webKitWebView(*view)), 1.5);
}

TEST_F(LMWebViewTest, ChoosesThePropertyByTheFrameworksVersion)
{
    EXPECT_STREQ(detail::drawsBackgroundKey(1499), "drawsTransparentBackground");
    EXPECT_STREQ(detail::drawsBackgroundKey(1500.0), "drawsTransparentBackground");
    EXPECT_STREQ(detail::drawsBackgroundKey(1500.5), "drawsBackground");
    EXPECT_GT(NSAppKitVersionNumber, 1500.0);
    view->lm_setDrawsBackground(true);
    EXPECT_TRUE(view->lm_drawsBackground());
    EXPECT_EQ(view->value("drawsTransparentBackground"), Value(false));
    view->setValue(true, "drawsTransparentBackground");
    EXPECT_FALSE(view->lm_drawsBackground());
    view->setValue(1, "drawsBackground"); // no boolean
    EXPECT_FALSE(view->lm_drawsBackground());
}

/// One whose properties are whatever the test says.
class OddView : public LMWebView {
public:
    using LMWebView::LMWebView;
    [[nodiscard]] Value value(std::string_view forKey) const override
    {
        asked = forKey;
        return given;
    }
    Value given;
    mutable std::string asked;
};

TEST_F(LMWebViewTest, HasUsualValuesWhereThePropertiesHaveNone)
{
    OddView odd({}, configuration);
    for (const Value& none : {Value(), Value("text")}) {
        odd.given = none;
        EXPECT_FALSE(odd.lm_drawsBackground());
        EXPECT_EQ(odd.asked, "drawsBackground");
        EXPECT_EQ(odd._pageZoomFactor(), 1.0);
        EXPECT_EQ(odd.asked, "pageZoomFactor");
    }
    odd.given = 1.0; // no boolean
    EXPECT_FALSE(odd.lm_drawsBackground());
    odd.given = true; // and as it is, whichever property it is
    EXPECT_TRUE(odd.lm_drawsBackground());
}

TEST(LMWebViewZoom, MakesEverythingInThePageLarger)
{
    KeyPage page;
    ASSERT_TRUE(page.open());
    const int width = std::stoi(page.evaluate("String(innerWidth)"));
    page.view->_setPageZoomFactor(2);
    EXPECT_TRUE(waitUntil([&] { return page.evaluate("String(innerWidth)") == std::to_string(width / 2); }));
}

TEST_F(LMWebViewTest, TellsOfItsEnd)
{
    ::testing::internal::CaptureStderr();
    view.reset();
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("[LMWebView] deinit"), std::string::npos);
}

// ---- loading

TEST_F(LMWebViewTest, LoadsWhatConvertsToAURL)
{
    load(*view, "data:text/html,%3Ctitle%3EOne%3C/title%3E");
    ASSERT_TRUE(waitUntil([&] { return navigation->saw("finish"); }));
    EXPECT_TRUE(waitUntil([&] { return view->title() == "One"; }));
    load(*view, std::string("data:text/html,Two"));
    load(*view, staticURL("data:text/html,Three"));
    load(*view, Bookmark{"data:text/html,%3Ctitle%3EFour%3C/title%3E"});
    EXPECT_TRUE(waitUntil([&] { return view->title() == "Four"; }));
}

TEST_F(LMWebViewTest, PrintsWhatDoesNotAndKeepsThePage)
{
    load(*view, "data:text/html,%3Ctitle%3EOne%3C/title%3E");
    ASSERT_TRUE(waitUntil([&] { return navigation->saw("finish") && view->title() == "One"; }));
    const auto events = navigation->events;
    ::testing::internal::CaptureStdout();
    load(*view, "no url at all");
    load(*view, "");
    load(*view, Described());
    load(*view, Bookmark{"%"});
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.substr(0, printed.find("Cannot load '(anonymous")),
        "Cannot load 'no url at all', it does not convert to a valid url\n"
        "Cannot load '', it does not convert to a valid url\n"
        "Cannot load 'a described place', it does not convert to a valid url\n");
    EXPECT_TRUE(printed.ends_with("Bookmark', it does not convert to a valid url\n")) << printed;
    LumoKit::Test::runPendingTurns();
    EXPECT_EQ(navigation->events, events);
    EXPECT_EQ(view->title(), "One");
}

TEST_F(LMWebViewTest, WaitsAMinuteForAnAnswer)
{
    EXPECT_EQ(URLRequest(staticURL("silent://x/")).timeoutInterval, 60);
    EXPECT_EQ(
        URLRequest(staticURL("silent://x/")).cachePolicy, URLRequestCachePolicy::useProtocolCachePolicy);
    view->load(URLRequest(staticURL("silent://host/"), URLRequestCachePolicy::useProtocolCachePolicy, 0.05));
    ASSERT_TRUE(waitUntil([&] { return navigation->saw("fail provisional"); }));
    ASSERT_EQ(navigation->errors.size(), 1U);
    EXPECT_EQ(navigation->errors[0].domain, WKWebView::errorDomain);
    EXPECT_EQ(navigation->errors[0].code, WKWebView::timedOut);
    // A load that is answered is not cut off, and neither is the next one.
    navigation->events.clear();
    view->load(URLRequest(staticURL("silent://host/"), URLRequestCachePolicy::useProtocolCachePolicy, 0.05));
    view->loadHTMLString("<title>Other</title>", {});
    ASSERT_TRUE(waitUntil([&] { return view->title() == "Other"; }));
    const std::size_t before = silence->tasks.size();
    waitedAMinute = false;
    load(*view, "silent://host/");
    EXPECT_TRUE(waitedAMinute);
    ASSERT_TRUE(waitUntil([&] { return silence->tasks.size() > before; }));
    view->stopLoading();
    ASSERT_TRUE(waitUntil([&] { return navigation->errors.size() >= 2; }));
    for (std::size_t index = 1; index < navigation->errors.size(); ++index)
        EXPECT_NE(navigation->errors[index].code, WKWebView::timedOut);
}

// ---- what is behind the page

using Pixel = std::array<int, 4>;

Pixel pixelAt(const NSWindow& window, int x, int y)
{
    GdkWindow* surface = gtk_widget_get_window(GTK_WIDGET(gtkWindow(window)));
    GdkPixbuf* picture = surface ? gdk_pixbuf_get_from_window(surface, x, y, 1, 1) : nullptr;
    if (!picture)
        return {-1, -1, -1, -1};
    const guchar* bytes = gdk_pixbuf_read_pixels(picture);
    const Pixel found{bytes[0], bytes[1], bytes[2], gdk_pixbuf_get_has_alpha(picture) ? bytes[3] : 255};
    g_object_unref(picture);
    return found;
}

/// Every frame that a window draws, at one place of it.
class Frames {
public:
    Frames(const NSWindow& window, int x, int y)
        : window(window)
        , x(x)
        , y(y)
    {
        clock = gtk_widget_get_frame_clock(GTK_WIDGET(gtkWindow(window)));
        handler = g_signal_connect(clock, "after-paint", G_CALLBACK(+[](GdkFrameClock*, Frames* self) {
            const Pixel pixel = pixelAt(self->window, self->x, self->y);
            if (self->pixels.empty() || self->pixels.back() != pixel)
                self->pixels.push_back(pixel);
        }),
            this);
    }
    ~Frames() { g_signal_handler_disconnect(clock, handler); }

    std::vector<Pixel> pixels;

private:
    const NSWindow& window;
    int x;
    int y;
    GdkFrameClock* clock = nullptr;
    gulong handler = 0;
};

constexpr const char* seeThrough = "<body style='margin:0'>"
                                   "<div style='width:50px;height:50px;background:rgb(0,0,255)'></div>";

class LMWebViewBackgroundTest : public LMWebViewTest {
protected:
    LMWebViewBackgroundTest()
    {
        window = NSWindow::create({{50, 50}, {300, 200}});
        window->setBackgroundColor({0, 0.6, 0.2, 1});
        window->contentView()->addSubview(view);
        view->setAutoresizing(NSAutoresizing::sizable());
    }
    ~LMWebViewBackgroundTest() override { window->close(); }

    std::shared_ptr<NSWindow> window;
};

constexpr Pixel green{0, 153, 51, 255};
constexpr Pixel blue{0, 0, 255, 255};

TEST_F(LMWebViewBackgroundTest, IsTheWindowsFromTheFirstFrame)
{
    gtk_widget_realize(GTK_WIDGET(gtkWindow(*window)));
    const Frames beside(*window, 200, 150);
    window->makeKeyAndOrderFront();
    view->loadHTMLString(seeThrough, {});
    ASSERT_TRUE(waitUntil([&] { return pixelAt(*window, 20, 20) == blue; }));
    EXPECT_EQ(pixelAt(*window, 200, 150), green);
    for (const Pixel& pixel : beside.pixels)
        EXPECT_EQ(pixel, green);
    EXPECT_FALSE(beside.pixels.empty());
}

TEST(LMWebViewOnAComposedScreen, ShowsWhatIsBehindTheWindow)
{
    // Whoever owns this selection says that it composes the screen; it is asked before a window is made.
    static_cast<void>(NSApplication::shared());
    GdkDisplay* display = gdk_display_get_default();
    GdkScreen* screen = gdk_display_get_default_screen(display);
    GtkWidget* composer = gtk_invisible_new();
    gtk_widget_realize(composer);
    const GdkAtom selection = gdk_atom_intern_static_string("_NET_WM_CM_S0");
    ASSERT_TRUE(gdk_selection_owner_set_for_display(
        display, gtk_widget_get_window(composer), selection, GDK_CURRENT_TIME, FALSE));
    ASSERT_TRUE(waitUntil([&] { return gdk_screen_is_composited(screen); }));
    {
        const auto window = NSWindow::create({{50, 50}, {300, 200}});
        window->setBackgroundColor({0, 0, 0, 0});
        const auto view =
            std::make_shared<LMWebView>(CGRect{{}, {300, 200}}, std::make_shared<WKWebViewConfiguration>());
        window->contentView()->addSubview(view);
        window->makeKeyAndOrderFront();
        view->loadHTMLString(seeThrough, {});
        EXPECT_TRUE(waitUntil([&] { return pixelAt(*window, 20, 20) == blue; }));
        EXPECT_EQ(pixelAt(*window, 200, 150), (Pixel{0, 0, 0, 0})); // nothing: what is behind shows through
        window->close();
    }
    gdk_selection_owner_set_for_display(display, nullptr, selection, GDK_CURRENT_TIME, FALSE);
    gtk_widget_destroy(composer);
    EXPECT_TRUE(waitUntil([&] { return !gdk_screen_is_composited(screen); }));
}

TEST_F(LMWebViewBackgroundTest, IsWhiteWhereTheViewDrawsIt)
{
    view->lm_setDrawsBackground(true);
    window->makeKeyAndOrderFront();
    view->loadHTMLString(seeThrough, {});
    EXPECT_TRUE(waitUntil([&] {
        return pixelAt(*window, 20, 20) == blue && pixelAt(*window, 200, 150) == Pixel{255, 255, 255, 255};
    }));
    view->lm_setDrawsBackground(false); // while it is on screen
    EXPECT_TRUE(waitUntil([&] { return pixelAt(*window, 200, 150) == green; }));
}

} // namespace
