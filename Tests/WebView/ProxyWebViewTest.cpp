#include "Support/TestServer.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/WebView/ProxyWebView.h>

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::TestServer;
using LumoKit::Test::waitUntil;
using NavigationType = ProxyWebView::NavigationType;

class ProxyWebViewTest : public testing::Test {
protected:
    using Event = std::pair<NavigationType, std::string>;

    void SetUp() override
    {
        static_cast<void>(NSApplication::shared());
        view = ProxyWebView::create(std::make_shared<WKWebViewConfiguration>());
        view->navigationHandler = [this](NavigationType type, const URL& url) {
            events.emplace_back(type, url.absoluteString());
        };
    }

    [[nodiscard]] bool finishes(const std::string& address)
    {
        const auto before = std::ranges::count(events, NavigationType::finishLoad, &Event::first);
        view->load(*URL::parse(address));
        return waitUntil(
            [&] { return std::ranges::count(events, NavigationType::finishLoad, &Event::first) > before; });
    }

    TestServer server;
    std::shared_ptr<ProxyWebView> view;
    std::vector<Event> events;
};

TEST_F(ProxyWebViewTest, ReportsARedirectChainHopByHop)
{
    server.redirect("/a", "/b");
    server.redirect("/b", "/c");
    server.serveHTML("/c", "<p>c</p>");
    ASSERT_TRUE(finishes(server.origin() + "/a"));
    EXPECT_EQ(events,
        (std::vector<Event>{
            {NavigationType::startLoad, server.origin() + "/a"},
            {NavigationType::redirect, server.origin() + "/b"},
            {NavigationType::redirect, server.origin() + "/c"},
            {NavigationType::finishLoad, server.origin() + "/c"},
        }));
}

TEST_F(ProxyWebViewTest, ReportsAFailedLoadAsOneThatNeverFinishes)
{
    const std::string refused = LumoKit::Test::refusedOrigin() + "/";
    server.redirect("/gone", refused);
    server.serveHTML("/", "<p>after</p>");
    view->load(*URL::parse(server.origin() + "/gone"));
    ASSERT_TRUE(waitUntil([&] { return events.size() == 2; }));
    ASSERT_TRUE(finishes(server.origin() + "/"));
    EXPECT_EQ(events,
        (std::vector<Event>{
            {NavigationType::startLoad, server.origin() + "/gone"},
            {NavigationType::redirect, refused},
            {NavigationType::startLoad, server.origin() + "/"},
            {NavigationType::finishLoad, server.origin() + "/"},
        }));
}

TEST_F(ProxyWebViewTest, NavigatesSilentlyWithoutAHandler)
{
    server.serveHTML("/", "<title>silent</title>");
    view->navigationHandler = nullptr;
    view->load(*URL::parse(server.origin() + "/"));
    EXPECT_TRUE(waitUntil([&] { return view->title() == "silent" && !view->isLoading(); }));
    EXPECT_TRUE(events.empty());
}

TEST_F(ProxyWebViewTest, ReadsTheHandlerAtEachEvent)
{
    server.serveHTML("/", "<p>page</p>");
    std::vector<NavigationType> later;
    view->navigationHandler = [&](NavigationType type, const URL&) {
        EXPECT_EQ(type, NavigationType::startLoad);
        view->navigationHandler = [&](NavigationType next, const URL&) { later.push_back(next); };
    };
    view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return !later.empty(); }));
    EXPECT_EQ(later, std::vector<NavigationType>{NavigationType::finishLoad});
}

TEST_F(ProxyWebViewTest, SaysNothingWhileItsAddressIsEmpty)
{
    ASSERT_FALSE(view->url());
    for (const auto event : {&WKNavigationDelegate::didStartProvisionalNavigation,
             &WKNavigationDelegate::didReceiveServerRedirectForProvisionalNavigation,
             &WKNavigationDelegate::didFinish})
        (static_cast<WKNavigationDelegate&>(*view).*event)(*view);
    EXPECT_TRUE(events.empty());

    server.serveHTML("/", "<p>page</p>"); // and speaks as soon as it is not
    EXPECT_TRUE(finishes(server.origin() + "/"));
}

TEST_F(ProxyWebViewTest, IsItsOwnDelegateAndOfNoSize)
{
    EXPECT_EQ(view->navigationDelegate().get(), static_cast<WKNavigationDelegate*>(view.get()));
    EXPECT_EQ(view->frame(), CGRect());
}

TEST_F(ProxyWebViewTest, IsConfiguredInOneExpression)
{
    server.serveHTML("/", "<p>page</p>");
    int calls = 0;
    const auto made = ProxyWebView::create(std::make_shared<WKWebViewConfiguration>())
                          ->updated([&](const std::shared_ptr<ProxyWebView>& fresh) {
                              fresh->navigationHandler = [&](NavigationType, const URL&) { ++calls; };
                          });
    made->load(*URL::parse(server.origin() + "/"));
    EXPECT_TRUE(waitUntil([&] { return calls == 2; }));
}

TEST_F(ProxyWebViewTest, DiesWhenReleasedThoughItIsItsOwnDelegate)
{
    const std::weak_ptr<ProxyWebView> weak = view;
    view.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(ProxyWebViewTest, CannotBeMadeFromAnArchive)
{
    NSCoder coder;
    EXPECT_DEATH(
        static_cast<void>(ProxyWebView::create(coder)), "ProxyWebView\\.cpp:[0-9]+: Fatal error: \n");
}

TEST_F(ProxyWebViewTest, CannotBeMadeWithAFrame)
{
    EXPECT_DEATH(
        static_cast<void>(ProxyWebView::create(CGRect(), std::make_shared<WKWebViewConfiguration>())),
        "Fatal error: Use of unimplemented initializer 'init\\(frame:configuration:\\)' for class "
        "'LumoKit\\.ProxyWebView'\n");
}

} // namespace
