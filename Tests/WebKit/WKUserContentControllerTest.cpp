#include "Support/TestServer.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/WebKit/WKUserContentController.h>

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::MessageRecorder;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;

TEST(WKUserContentController, DeliversMessagesUnderTheirNames)
{
    WebPage page;
    const auto other = std::make_shared<MessageRecorder>();
    page.configuration->userContentController()->add(other, "other");
    ASSERT_TRUE(page.show("<script>webkit.messageHandlers.test.postMessage(1); "
                          "webkit.messageHandlers.other.postMessage(2)</script>"));
    ASSERT_TRUE(waitUntil([&] { return !page.recorder->messages.empty() && !other->messages.empty(); }));
    EXPECT_EQ(page.recorder->messages.front().name, "test");
    EXPECT_EQ(page.recorder->messages.front().body, Value(1));
    EXPECT_EQ(other->messages.front().name, "other");
    EXPECT_EQ(other->messages.front().body, Value(2));
}

TEST(WKUserContentController, KeepsTheFirstHandlerOfAName)
{
    WebPage page;
    const auto second = std::make_shared<MessageRecorder>();
    page.configuration->userContentController()->add(second, "test");
    ASSERT_TRUE(page.show("<p>page</p>"));
    EXPECT_EQ(page.messageAfter("webkit.messageHandlers.test.postMessage('x')"), Value("x"));
    EXPECT_TRUE(second->messages.empty());
}

TEST(WKUserContentController, RemovesAHandler)
{
    WebPage page;
    const std::weak_ptr<MessageRecorder> weak = page.recorder;
    page.configuration->userContentController()->removeScriptMessageHandler("test");
    page.recorder.reset();
    EXPECT_TRUE(weak.expired());
    ASSERT_TRUE(page.show("<p>page</p>"));
    EXPECT_EQ(page.evaluate("typeof (window.webkit?.messageHandlers?.test)").first, Value("undefined"));
}

TEST(WKUserContentController, LetsAHandlerRemoveItself)
{
    WebPage page;
    auto& controller = *page.configuration->userContentController();
    const auto once = std::make_shared<MessageRecorder>();
    once->onMessage = [&](const WKScriptMessage&) { controller.removeScriptMessageHandler("once"); };
    controller.add(once, "once");
    ASSERT_TRUE(page.show("<script>const once = webkit.messageHandlers.once;"
                          "try { once.postMessage(1); once.postMessage(2) } catch (e) {}"
                          "webkit.messageHandlers.test.postMessage('end')</script>"));
    ASSERT_TRUE(waitUntil([&] { return !page.recorder->messages.empty(); }));
    EXPECT_EQ(once->messages.size(), 1U);
}

TEST(WKUserContentController, RunsUserScriptsAtTheirTimes)
{
    WebPage page;
    auto& controller = *page.configuration->userContentController();
    const std::string post = "webkit.messageHandlers.test.postMessage('";
    controller.addUserScript(
        {post + "end: ' + document.body.children.length)", WKUserScriptInjectionTime::atDocumentEnd});
    controller.addUserScript(
        {post + "start: ' + (document.body === null))", WKUserScriptInjectionTime::atDocumentStart});
    EXPECT_EQ(controller.userScripts().size(), 2U);
    ASSERT_TRUE(page.show("<body><p>one</p><p>two</p></body>"));
    ASSERT_TRUE(waitUntil([&] { return page.recorder->messages.size() >= 2; }));
    EXPECT_EQ(page.recorder->messages[0].body, Value("start: true"));
    EXPECT_EQ(page.recorder->messages[1].body, Value("end: 2"));

    controller.removeAllUserScripts();
    EXPECT_TRUE(controller.userScripts().empty());
    page.recorder->messages.clear();
    ASSERT_TRUE(page.show("<script>webkit.messageHandlers.test.postMessage('page')</script>"));
    ASSERT_TRUE(waitUntil([&] { return !page.recorder->messages.empty(); }));
    EXPECT_EQ(page.recorder->messages.front().body, Value("page"));
}

TEST(WKUserContentController, LeavesInnerFramesAloneUnlessAsked)
{
    LumoKit::Test::TestServer server;
    server.serveHTML("/", "<iframe src='/inner'></iframe>");
    server.serveHTML("/inner", "<p>inner</p>");
    WebPage page;
    auto& controller = *page.configuration->userContentController();
    const auto script = [](const char* who) {
        return std::string("webkit.messageHandlers.test.postMessage('") + who + " ' + location.pathname)";
    };
    controller.addUserScript({script("main"), WKUserScriptInjectionTime::atDocumentEnd, true});
    controller.addUserScript({script("all"), WKUserScriptInjectionTime::atDocumentEnd, false});
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(
        waitUntil([&] { return page.recorder->messages.size() >= 3 && page.navigation->saw("finish"); }));
    std::vector<std::string> seen;
    for (const auto& message : page.recorder->messages)
        seen.push_back(*message.body.asText());
    std::ranges::sort(seen);
    EXPECT_EQ(seen, (std::vector<std::string>{"all /", "all /inner", "main /"}));
}

TEST(WKUserContentController, KeepsHandlersAndIsKeptByTheView)
{
    auto page = std::make_unique<WebPage>();
    const std::weak_ptr<MessageRecorder> handler = page->recorder;
    const std::weak_ptr<WKUserContentController> controller = page->configuration->userContentController();
    page->recorder.reset();
    page->configuration.reset();
    EXPECT_FALSE(handler.expired());
    EXPECT_FALSE(controller.expired());
    page->view.reset();
    EXPECT_TRUE(controller.expired());
    EXPECT_TRUE(handler.expired());
}

} // namespace
