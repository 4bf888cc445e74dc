// The inbox's page on the suite's real service, in the kit's web view: what the application relies on.

#include "Service.h"
#include "Support/WebPage.h"

#include <LumoKit/WebView/ProxyWebView.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace LumoKit;
using LumoKit::Test::MessageRecorder;
using LumoKit::Test::waitUntil;
using NavigationType = ProxyWebView::NavigationType;

class InboxPage : public testing::Test {
protected:
    void SetUp() override
    {
        static_cast<void>(NSApplication::shared());
        auto started = LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES});
        ASSERT_TRUE(started) << started.error();
        service = std::move(*started);
        for (const char* name : {"inboxReady", "unreadCount", "conversationOpened", "conversationDone",
                 "composeOpened", "mailSent", "shown", "pageError"})
            configuration->userContentController()->add(messages, name);
        view = ProxyWebView::create(configuration);
        view->navigationHandler = [this](NavigationType type, const URL& url) {
            navigations.emplace_back(type, url.absoluteString());
        };
    }

    void load(const std::string& path) { view->load(*URL::parse(service->origin() + path)); }

    /// The body of the first message of a name, or of the one after `skipped` of them.
    std::optional<Value> awaited(const std::string& name, std::size_t skipped = 0)
    {
        std::optional<Value> found;
        static_cast<void>(waitUntil([&] {
            std::size_t left = skipped;
            for (const auto& message : messages->messages)
                if (message.name == name && left-- == 0)
                    found = message.body;
            return found.has_value();
        }));
        return found;
    }

    std::unique_ptr<LumoSuite::Service> service;
    std::shared_ptr<MessageRecorder> messages = std::make_shared<MessageRecorder>();
    std::shared_ptr<WKWebViewConfiguration> configuration = std::make_shared<WKWebViewConfiguration>();
    std::shared_ptr<ProxyWebView> view;
    std::vector<std::pair<NavigationType, std::string>> navigations;
};

TEST_F(InboxPage, IsReachedThroughTheServicesRedirects)
{
    load("/");
    ASSERT_TRUE(awaited("inboxReady"));
    const std::string origin = service->origin();
    EXPECT_EQ(navigations,
        (std::vector<std::pair<NavigationType, std::string>>{
            {NavigationType::startLoad, origin + "/"},
            {NavigationType::redirect, origin + "/start"},
            {NavigationType::redirect, origin + "/inbox/"},
            {NavigationType::finishLoad, origin + "/inbox/"},
        }));
}

TEST_F(InboxPage, TellsOfUnreadOpenedAndDoneConversations)
{
    load("/inbox/");
    const auto ready = awaited("inboxReady");
    ASSERT_TRUE(ready);
    EXPECT_GT((*ready)["conversations"].asInteger().value_or(0), 10);
    const auto unread = awaited("unreadCount");
    ASSERT_TRUE(unread);
    const auto before = unread->asInteger();
    ASSERT_TRUE(before);

    WebViewJavascriptExecutor executor(view);
    executor.execute("LumoInbox.open()");
    const auto opened = awaited("conversationOpened");
    ASSERT_TRUE(opened);
    ASSERT_TRUE((*opened)["id"].asText());
    EXPECT_TRUE((*opened)["subject"].asText());
    EXPECT_TRUE((*opened)["receivedAt"].asDate());
    ASSERT_EQ((*opened)["unread"], Value(true));
    const auto after = awaited("unreadCount", 1);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->asInteger(), *before - 1);

    executor.execute("LumoInbox.markDone()");
    const auto done = awaited("conversationDone");
    ASSERT_TRUE(done);
    EXPECT_EQ(*done, Value(Value::Dictionary{{"id", (*opened)["id"]}, {"done", true}}));
}

TEST_F(InboxPage, TellsOfItsErrors)
{
    load("/inbox/?raise=error");
    const auto error = awaited("pageError");
    ASSERT_TRUE(error);
    EXPECT_TRUE((*error)["message"].asText());
    EXPECT_TRUE((*error)["line"].asInteger());
}

TEST_F(InboxPage, BeginsTheMailsThatItIsGivenAndSendsThem)
{
    load("/inbox/");
    ASSERT_TRUE(awaited("inboxReady"));
    WebViewJavascriptExecutor executor(view);
    // What the fields of the mail show, and whether they can be seen.
    const char* show =
        "webkit.messageHandlers.shown.postMessage([...['to', 'subject', 'body'].map(name => "
        "document.getElementById('compose-' + name).value), document.getElementById('draft-position')"
        ".textContent, !document.getElementById('compose').hidden]); undefined";
    executor.execute("LumoInbox.compose({to: ['ada@example.com', 'bob@example.com'], subject: 'First', "
                     "body: 'Line\\n<b>line</b>'})");
    ASSERT_TRUE(awaited("composeOpened"));
    executor.execute(show);
    EXPECT_EQ(awaited("shown"),
        Value(Value::Array{"ada@example.com, bob@example.com", "First", "Line\n<b>line</b>", "", true}));

    executor.execute("LumoInbox.compose({subject: 'Second'})"); // the first one waits
    ASSERT_TRUE(awaited("composeOpened", 1));
    executor.execute(show);
    EXPECT_EQ(awaited("shown", 1), Value(Value::Array{"", "Second", "", "1 other waiting", true}));
    executor.execute("document.getElementById('compose').requestSubmit()"); // for nobody
    executor.execute("document.getElementById('discard-button').click()");
    executor.execute(show);
    EXPECT_EQ(awaited("shown", 2), awaited("shown", 0));

    executor.execute("document.getElementById('compose').requestSubmit()");
    EXPECT_EQ(awaited("mailSent"), Value("First"));
    executor.execute("LumoInbox.open('sent-19')");
    const auto opened = awaited("conversationOpened");
    ASSERT_TRUE(opened);
    EXPECT_EQ((*opened)["subject"], Value("First"));
    EXPECT_EQ((*opened)["from"], Value("ada@example.com, bob@example.com"));
    EXPECT_FALSE(std::ranges::any_of(
        messages->messages, [](const auto& message) { return message.name == "pageError"; }));
}

TEST_F(InboxPage, SendsNothingThatIsNoMail)
{
    load("/inbox/");
    ASSERT_TRUE(awaited("inboxReady"));
    WebViewJavascriptExecutor executor(view);
    std::size_t asked = 0;
    for (const char* body : {"", "[]", "{}", R"({"to": [], "subject": "", "text": ""})",
             R"({"to": [""], "subject": "", "text": ""})", R"({"to": "a", "subject": "", "text": ""})",
             R"({"to": ["a"], "subject": 1, "text": ""})", R"({"to": ["a"], "subject": ""})",
             R"({"to": ["a"], "subject": "", "text": "", "from": "somebody else"})"}) {
        executor.execute(std::string("fetch('/api/conversations', {method: 'POST', headers: {'Content-Type': "
                                     "'application/json'}, body: '")
            + body + "'}).then(r => webkit.messageHandlers.shown.postMessage(r.status)); undefined");
        EXPECT_EQ(awaited("shown", asked++), Value(400)) << body;
    }
}

TEST_F(InboxPage, GivesNoFileFromOutsideItsFolder)
{
    load("/inbox/");
    ASSERT_TRUE(awaited("inboxReady"));
    for (const char* path :
        {"/inbox/..%2f..%2fService.cpp", "/inbox/%2e%2e/%2e%2e/CMakeLists.txt", "/inbox/.hidden",
            "/inbox/%00", "/inbox//etc/passwd", "/etc/passwd", "/inbox/..%5c..%5cService.cpp"}) {
        std::optional<Value> status;
        view->evaluateJavaScript(std::string("window.fetched = undefined; fetch('") + path
            + "').then(r => { window.fetched = r.status }, e => { window.fetched = '' + e }); undefined");
        ASSERT_TRUE(waitUntil([&] {
            std::optional<bool> answered;
            view->evaluateJavaScript("window.fetched", [&](std::optional<Value> result, auto&&) {
                status = result;
                answered = true;
            });
            return waitUntil([&] { return answered.has_value(); }) && status.has_value();
        }));
        EXPECT_TRUE(status == Value(404) || status == Value(400)) << path << ": " << status->description();
    }
}

} // namespace
