#include "Support/Downloads.h"
#include "Support/TestServer.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>

#include <gtest/gtest.h>
#include <sys/types.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>

namespace {

using namespace LumoKit;
using LumoKit::Test::Downloads;
using LumoKit::Test::NavigationRecorder;
using LumoKit::Test::TestServer;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;

/// The engine's processes for pages that this process has started.
std::set<pid_t> webProcesses()
{
    std::set<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "stat");
        std::string identifier;
        std::string name;
        std::string state;
        pid_t parent = 0;
        if (status >> identifier >> name >> state >> parent && parent == getpid()
            && name == "(WebKitWebProces)" && state != "Z")
            found.insert(std::stoi(identifier));
    }
    return found;
}

TEST(WKWebView, ReportsANavigationInOrder)
{
    TestServer server;
    server.serveHTML("/", "<title>Title</title>");
    WebPage page;
    EXPECT_FALSE(page.view->url());
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    EXPECT_EQ(page.navigation->events, (std::vector<std::string>{"start", "commit", "finish"}));
    EXPECT_EQ(page.view->url()->absoluteString(), server.origin() + "/");
    EXPECT_TRUE(waitUntil([&] { return page.view->title() == "Title"; }));
    EXPECT_FALSE(page.view->isLoading());
}

TEST(WKWebView, AFailedLoadDoesNotFinish)
{
    WebPage page;
    page.view->load(*URL::parse(LumoKit::Test::refusedOrigin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("fail provisional"); }));
    ASSERT_TRUE(page.show("<p>after</p>")); // whatever else the engine says of the failure comes before this
    EXPECT_EQ(page.navigation->errors.size(), 1U);
    EXPECT_FALSE(page.navigation->errors[0].description.empty());
    EXPECT_EQ(page.navigation->events, (std::vector<std::string>{"start", "commit", "finish"}));
}

TEST(WKWebView, AFailedLoadLeavesThePageAlone)
{
    TestServer server;
    server.serveHTML("/", "<title>Still here</title>");
    WebPage page;
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    page.view->load(*URL::parse(LumoKit::Test::refusedOrigin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("fail provisional"); }));
    EXPECT_EQ(page.evaluate("document.title").first, Value("Still here"));
}

TEST(WKWebView, LetsTheDelegateRefuse)
{
    struct Refusing : NavigationRecorder {
        void decidePolicy(WKWebView&, const WKNavigationAction& action,
            std::function<void(WKNavigationActionPolicy)> decisionHandler) override
        {
            asked.push_back(action.url.path());
            if (action.url.path() == "/later")
                decide = std::move(decisionHandler);
            else if (action.url.path() != "/dropped")
                decisionHandler(action.url.path() == "/refused" ? WKNavigationActionPolicy::cancel
                                                                : WKNavigationActionPolicy::allow);
        }
        std::vector<std::string> asked;
        std::function<void(WKNavigationActionPolicy)> decide;
    };
    TestServer server;
    for (const char* path : {"/", "/refused", "/later", "/dropped"})
        server.serveHTML(path, "<p>page</p>");
    WebPage page;
    const auto delegate = std::make_shared<Refusing>();
    page.view->setNavigationDelegate(delegate);
    EXPECT_EQ(page.view->navigationDelegate(), delegate);
    page.view->load(*URL::parse(server.origin() + "/refused"));
    ASSERT_TRUE(waitUntil([&] { return delegate->asked.size() == 1; }));
    page.view->load(*URL::parse(server.origin() + "/later"));
    ASSERT_TRUE(waitUntil([&] { return delegate->decide != nullptr; }));
    EXPECT_FALSE(delegate->saw("finish"));
    delegate->decide(WKNavigationActionPolicy::allow);
    delegate->decide(WKNavigationActionPolicy::cancel); // only the first word counts
    ASSERT_TRUE(waitUntil([&] { return delegate->saw("finish"); }));
    delegate->decide = {};
    page.view->load(*URL::parse(server.origin() + "/dropped"));
    ASSERT_TRUE(waitUntil([&] { return delegate->saw("finish", 2); }));
    EXPECT_EQ(server.requests(), (std::vector<std::string>{"/later", "/dropped"}));
}

TEST(WKWebView, StoresNothingThatAPageOffers)
{
    TestServer server;
    server.serve("/attached",
        {.type = "application/x-unknown",
            .body = "bytes",
            .headers = {{"Content-Disposition", "attachment; filename=lumokit-test-attached"}}});
    server.serve("/linked", {.type = "application/x-unknown", .body = "bytes"});
    server.serveHTML("/", "<title>Still here</title><a href=/linked download=lumokit-test-linked></a>");
    WebPage page;
    const Downloads downloads(*page.view);
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    EXPECT_FALSE(page.evaluate("document.querySelector('a').click()").second);
    ASSERT_TRUE(waitUntil([&] { return downloads.ended == 1; }));
    EXPECT_FALSE(page.evaluate("location = '/attached'").second);
    ASSERT_TRUE(waitUntil([&] { return downloads.ended == 2; }));
    EXPECT_EQ(downloads.cancelled, 2);
    EXPECT_FALSE(Downloads::isThere("lumokit-test-linked"));
    EXPECT_FALSE(Downloads::isThere("lumokit-test-attached"));
    EXPECT_EQ(page.evaluate("document.title").first, Value("Still here"));
}

TEST(WKWebView, GoesBackAndForward)
{
    TestServer server;
    server.serveHTML("/1", "<title>1</title>");
    server.serveHTML("/2", "<title>2</title>");
    WebPage page;
    page.view->load(*URL::parse(server.origin() + "/1"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    EXPECT_FALSE(page.view->canGoBack());
    page.view->load(*URL::parse(server.origin() + "/2"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish", 2); }));
    ASSERT_TRUE(page.view->canGoBack());
    page.view->goBack();
    ASSERT_TRUE(waitUntil([&] { return page.view->url()->path() == "/1" && page.view->canGoForward(); }));
    page.view->goForward();
    EXPECT_TRUE(waitUntil([&] { return page.view->url()->path() == "/2"; }));
}

TEST(WKWebView, EncodesWhatTheEngineLetsStandInAnAddress)
{
    TestServer server;
    server.serveHTML("/", "<p>page</p>");
    WebPage page;
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    page.view->evaluateJavaScript("history.pushState(null, '', '/?q=a|b{c}%zz%20[d]#e#f'); undefined");
    ASSERT_TRUE(waitUntil([&] { return page.view->url() && page.view->url()->query(); }));
    EXPECT_EQ(page.view->url()->query(), "q=a%7Cb%7Bc%7D%25zz%20%5Bd%5D");
    EXPECT_EQ(page.view->url()->fragment(), "e%23f");
}

TEST(WKWebView, TellsObserversOfItsTitleAndProgress)
{
    WebPage page;
    std::vector<std::pair<Value, Value>> titles;
    bool wasLoading = false;
    double progress = 0;
    const auto title = page.view->observe("title",
        [&](const KeyValueChange& change) { titles.emplace_back(change.oldValue, change.newValue); });
    const auto loading = page.view->observe(
        "loading", [&](const KeyValueChange& change) { wasLoading |= change.newValue == Value(true); });
    const auto estimated = page.view->observe("estimatedProgress",
        [&](const KeyValueChange& change) { progress = std::max(progress, *change.newValue.asNumber()); });
    ASSERT_TRUE(page.show("<title>first</title>"));
    ASSERT_TRUE(waitUntil([&] { return page.view->title() == "first"; }));
    page.view->evaluateJavaScript("document.title = 'second'; undefined");
    ASSERT_TRUE(waitUntil([&] { return page.view->title() == "second"; }));
    ASSERT_FALSE(titles.empty());
    EXPECT_EQ(titles.back(), (std::pair(Value("first"), Value("second"))));
    EXPECT_TRUE(wasLoading);
    EXPECT_EQ(progress, 1.0);
    EXPECT_EQ(page.view->value("URL").asURL()->absoluteString(), "https://page.example/");
    EXPECT_TRUE(page.view->value("no such property").isNull());
}

TEST(WKWebView, EvaluatesWithValueOrError)
{
    WebPage page;
    ASSERT_TRUE(page.show("<p>page</p>"));
    EXPECT_EQ(page.evaluate("({a: [1, 'x', null]})").first,
        Value(Value::Dictionary{{"a", Value::Array{1, "x", Value()}}}));
    const auto nothing = page.evaluate("undefined");
    EXPECT_FALSE(nothing.first);
    EXPECT_FALSE(nothing.second);
    const auto thrown = page.evaluate("throw new TypeError('wrong')");
    EXPECT_FALSE(thrown.first);
    ASSERT_TRUE(thrown.second);
    EXPECT_NE(thrown.second->description.find("wrong"), std::string::npos);
}

TEST(WKWebView, NeverCallsBackSynchronously)
{
    WebPage page;
    ASSERT_TRUE(page.show("<p>page</p>"));
    int calls = 0;
    for (const std::string& script : {std::string("1"), std::string("1\0", 2)})
        page.view->evaluateJavaScript(script, [&](auto&&, auto&&) { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(waitUntil([&] { return calls == 2; }));
}

TEST(WKWebView, EndsPendingEvaluationsWhenItIsReleased)
{
    auto page = std::make_unique<WebPage>();
    ASSERT_TRUE(page->show("<p>page</p>"));
    int calls = 0;
    bool failed = false;
    page->view->evaluateJavaScript(
        "for (const end = Date.now() + 300; Date.now() < end;) ; 1", [&](auto&&, auto error) {
            ++calls;
            failed = error.has_value();
        });
    page.reset();
    ASSERT_TRUE(waitUntil([&] { return calls > 0; }));
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(failed);
}

TEST(WKWebView, LeavesNothingBehindWhenItsWindowCloses)
{
    auto page = std::make_unique<WebPage>();
    const auto window = NSWindow::create({{}, {800, 600}});
    window->contentView()->addSubview(page->view);
    window->makeKeyAndOrderFront();
    ASSERT_TRUE(page->show("<p>page</p>"));

    bool widgetGone = false;
    g_object_weak_ref(
        G_OBJECT(webKitWebView(*page->view)),
        +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; }, &widgetGone);
    const std::weak_ptr<WKWebView> view = page->view;
    const std::weak_ptr<WKUserContentController> controller = page->configuration->userContentController();
    const std::weak_ptr<LumoKit::Test::MessageRecorder> handler = page->recorder;
    const std::weak_ptr<NSWindow> weakWindow = window;
    page.reset();
    EXPECT_FALSE(view.expired()); // the window shows it
    window->close();
    const_cast<std::shared_ptr<NSWindow>&>(window).reset();
    EXPECT_TRUE(weakWindow.expired());
    EXPECT_TRUE(view.expired());
    EXPECT_TRUE(controller.expired());
    EXPECT_TRUE(handler.expired());
    EXPECT_TRUE(waitUntil([&] { return widgetGone; }));
}

TEST(WKWebView, CanBeReleasedByItsOwnCallbacks)
{
    for (const char* event : {"start", "commit", "finish", "message"}) {
        auto page = std::make_unique<WebPage>();
        struct Releasing : WKNavigationDelegate {
            void release(const char* now)
            {
                if (std::string_view(now) == event)
                    view.reset();
            }
            void didStartProvisionalNavigation(WKWebView&) override { release("start"); }
            void didCommit(WKWebView&) override { release("commit"); }
            void didFinish(WKWebView&) override { release("finish"); }
            const char* event = nullptr;
            std::shared_ptr<WKWebView> view;
        };
        const auto delegate = std::make_shared<Releasing>();
        delegate->event = event;
        page->recorder->onMessage = [&](const WKScriptMessage&) { delegate->release("message"); };
        const std::weak_ptr<WKWebView> weak = page->view;
        page->view->setNavigationDelegate(delegate);
        page->view->loadHTMLString("<script>webkit.messageHandlers.test.postMessage(1)</script>",
            URL::parse("https://page.example/"));
        delegate->view = std::exchange(page->view, nullptr);
        EXPECT_TRUE(waitUntil([&] { return weak.expired(); })) << event;
    }
}

TEST(WKWebView, SharesOneProcessInsideAPool)
{
    WebPage first;
    ASSERT_TRUE(first.show("<p>1</p>"));
    const auto before = webProcesses();
    WebPage second;
    ASSERT_TRUE(second.show("<p>2</p>"));
    EXPECT_EQ(webProcesses(), before);

    const auto apart = std::make_shared<WKWebViewConfiguration>();
    apart->setProcessPool(std::make_shared<WKProcessPool>());
    WebPage third(apart);
    ASSERT_TRUE(third.show("<p>3</p>"));
    EXPECT_EQ(webProcesses().size(), before.size() + 1);
}

TEST(WKWebView, SharingAProcessSharesNoHandlers)
{
    WebPage first;
    WebPage second;
    ASSERT_TRUE(first.show("<p>1</p>"));
    ASSERT_TRUE(second.show("<p>2</p>"));
    EXPECT_EQ(second.messageAfter("webkit.messageHandlers.test.postMessage(2)"), Value(2));
    EXPECT_TRUE(first.recorder->messages.empty());
}

TEST(WKWebView, KeepsThePoolAndTheControllerThatItWasMadeWith)
{
    const auto pool = std::make_shared<WKProcessPool>();
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->setProcessPool(pool);
    {
        WebPage page(configuration);
        configuration->setProcessPool(std::make_shared<WKProcessPool>());
        configuration->setUserContentController(std::make_shared<WKUserContentController>());
        ASSERT_TRUE(page.show("<p>page</p>"));
        EXPECT_EQ(page.messageAfter("webkit.messageHandlers.test.postMessage(1)"), Value(1));
    }
    const auto later = std::make_shared<WKWebViewConfiguration>();
    later->setProcessPool(pool); // which must have forgotten the view
    WebPage second(later);
    EXPECT_TRUE(second.show("<p>page</p>"));
}

TEST(WKWebView, OutlivesItsPagesProcess)
{
    TestServer server;
    server.serveHTML("/", "<title>Page</title>");
    const auto own = std::make_shared<WKWebViewConfiguration>();
    own->setProcessPool(std::make_shared<WKProcessPool>());
    const auto before = webProcesses();
    WebPage page(own);
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    std::set<pid_t> started;
    std::ranges::set_difference(webProcesses(), before, std::inserter(started, started.begin()));
    ASSERT_EQ(started.size(), 1U);

    std::optional<Error> pending;
    page.view->evaluateJavaScript("for (;;) ;", [&](auto&&, auto error) { pending = error; });
    ASSERT_EQ(::kill(*started.begin(), SIGKILL), 0);
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("process gone"); }));
    EXPECT_TRUE(waitUntil([&] { return pending.has_value(); })); // nobody waits for ever

    page.navigation->events.clear();
    page.view->reload();
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    EXPECT_EQ(page.evaluate("document.title").first, Value("Page"));
    EXPECT_EQ(page.messageAfter("webkit.messageHandlers.test.postMessage('back')"), Value("back"));
}

} // namespace
