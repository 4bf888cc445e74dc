// The inbox's page on the suite's real service, in the kit's web view: what the application relies on.

#include "Service.h"
#include "Support/TemporaryFolder.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/URLSession.h>
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
                 "composeOpened", "mailSent", "attached", "dayChosen", "shown", "pageError"})
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

TEST_F(InboxPage, ADayThatAMessageMentionsIsToldToTheHost)
{
    load("/inbox/");
    ASSERT_TRUE(awaited("inboxReady"));
    WebViewJavascriptExecutor executor(view);
    executor.execute(
        "LumoInbox.compose({to: ['ada@example.com'], subject: 'Days', body: 'On 2024-02-29 <b>or "
        "on 2024-02-30</b>, not on 1 April 2025'}); "
        "document.getElementById('compose').requestSubmit()");
    ASSERT_TRUE(awaited("mailSent"));
    executor.execute("LumoInbox.open('sent-19')");
    ASSERT_TRUE(awaited("conversationOpened"));
    const char* show = "webkit.messageHandlers.shown.postMessage([...document.querySelectorAll('.message a')]"
                       ".map(link => link.textContent + ' ' + link.getAttribute('href')).concat("
                       "document.querySelector('.message-text')?.textContent ?? '')); undefined";
    Value shown;
    std::size_t asked = 0;
    ASSERT_TRUE(waitUntil([&] { // the message is on its way
        executor.execute(show);
        shown = awaited("shown", asked++).value_or(Value());
        return shown[1].asText() != nullptr;
    }));
    EXPECT_EQ(shown,
        Value(Value::Array{"2024-02-29 /calendar/?date=2024-02-29", "1 April 2025 /calendar/?date=2025-04-01",
            "On 2024-02-29 <b>or on 2024-02-30</b>, not on 1 April 2025"}));
    executor.execute("document.querySelectorAll('.message a')[1].click()");
    EXPECT_EQ(awaited("dayChosen"), Value("2025-04-01"));
    EXPECT_EQ(navigations.back().second, service->origin() + "/inbox/"); // the page stays
}

/// Answers a page that asks for files with those that a test has.
class ChosenFiles : public WKUIDelegate {
public:
    void runOpenPanel(WKWebView&, const WKOpenPanelParameters& asked, OpenPanelCompletion answer) override
    {
        several = asked.allowsMultipleSelection;
        answer(files);
    }
    std::vector<URL> files;
    bool several = false;
};

class InboxAttachments : public InboxPage {
protected:
    void SetUp() override
    {
        InboxPage::SetUp();
        view->setUIDelegate(chosen);
        load("/inbox/");
        ASSERT_TRUE(awaited("inboxReady"));
        execute("LumoInbox.compose({to: ['ada@example.com'], subject: 'With files', body: 'Here.'})");
        ASSERT_TRUE(awaited("composeOpened"));
    }
    void execute(const std::string& script)
    {
        WebViewJavascriptExecutor(view).execute("{ " + script + " } undefined");
    }
    void attach(const std::string& name, const std::string& bytes)
    {
        LumoKit::Test::writeInPlace(folder / name, bytes);
        chosen->files.push_back(URL::fileURL((folder / name).string()));
    }
    /// The names, sizes and states of what the message shows, as one text each.
    Value shownFiles()
    {
        execute(
            "webkit.messageHandlers.shown.postMessage([...document.querySelectorAll('.files:not([hidden]) "
            ".file')].map(file => file.querySelector('.file-name').textContent + ' ' + "
            "file.querySelector('.file-size').textContent + (file.matches('.waiting') ? ' waiting' : '')))");
        return awaited("shown", asked++).value_or(Value());
    }
    /// What the service has of a file.
    std::optional<std::string> kept(const std::string& id)
    {
        std::optional<std::optional<std::string>> answer;
        URLSession::shared()
            ->dataTask(*URL::parse(service->origin() + "/api/attachments/" + id),
                [&](std::optional<Data> data, auto response, auto) {
                    const auto http = std::dynamic_pointer_cast<const HTTPURLResponse>(response);
                    std::optional<std::string> bytes;
                    if (data && http && http->statusCode() == 200)
                        bytes.emplace(reinterpret_cast<const char*>(data->data()), data->size());
                    DispatchQueue::main()->async([&answer, bytes] { answer = bytes; });
                })
            ->resume();
        static_cast<void>(waitUntil([&] { return answer.has_value(); }));
        return answer.value_or(std::nullopt);
    }
    /// The status of a request that the page makes.
    Value status(const std::string& path, const std::string& options)
    {
        execute("fetch('" + path + "', " + options
            + ").then(r => webkit.messageHandlers.shown.postMessage(r.status))");
        return awaited("shown", asked++).value_or(Value());
    }

    LumoKit::Test::TemporaryFolder folder;
    std::shared_ptr<ChosenFiles> chosen = std::make_shared<ChosenFiles>();
    std::size_t asked = 0;
};

TEST_F(InboxAttachments, ReachTheServiceByteForByte)
{
    std::string every; // every byte, and more than a small message may have
    for (int index = 0; index < 300'000; ++index)
        every += static_cast<char>(index * 7 + index / 256);
    attach("a.bin", every);
    attach("empty", "");
    attach("ü & 50 % #1?=+.txt", std::string("\0\r\n\xff", 4));
    execute("document.getElementById('attach-button').click()");
    for (std::size_t number = 0; number < 3; ++number)
        ASSERT_TRUE(awaited("attached", number));
    EXPECT_TRUE(chosen->several);
    EXPECT_EQ(
        shownFiles(), Value(Value::Array{"a.bin 300 kB", "empty 0 bytes", "ü & 50 % #1?=+.txt 4 bytes"}));
    EXPECT_EQ(kept("a1"), every);
    EXPECT_EQ(kept("a2"), "");
    EXPECT_EQ(kept("a3"), std::string("\0\r\n\xff", 4));
    EXPECT_EQ(kept("a4"), std::nullopt);

    execute("document.querySelectorAll('.file-remove')[1].click()");
    EXPECT_EQ(shownFiles(), Value(Value::Array{"a.bin 300 kB", "ü & 50 % #1?=+.txt 4 bytes"}));
    EXPECT_TRUE(waitUntil([&] { return !kept("a2"); }));

    // The message that is sent has them.
    execute("document.getElementById('compose').requestSubmit()");
    ASSERT_TRUE(awaited("mailSent"));
    execute("LumoInbox.open('sent-19')");
    ASSERT_TRUE(awaited("conversationOpened"));
    EXPECT_TRUE(waitUntil(
        [&] { return shownFiles() == Value(Value::Array{"a.bin 300 kB", "ü & 50 % #1?=+.txt 4 bytes"}); }));
    EXPECT_EQ(kept("a1"), every);
    EXPECT_FALSE(std::ranges::any_of(
        messages->messages, [](const auto& message) { return message.name == "pageError"; }));
}

TEST_F(InboxAttachments, AFileThatIsTooLargeIsRefusedAndTheOthersAreNot)
{
    attach("large", std::string((16UL << 20) + 1, 'x'));
    attach("largest", std::string(16UL << 20, 'y'));
    execute("document.getElementById('attach-button').click()");
    EXPECT_EQ(awaited("attached"), Value("largest"));
    EXPECT_TRUE(awaited("pageError"));
    EXPECT_EQ(shownFiles(), Value(Value::Array{"largest 17 MB"}));
    execute(
        "webkit.messageHandlers.shown.postMessage(document.getElementById('compose-problem').textContent)");
    EXPECT_EQ(awaited("shown", asked++), Value("“large” could not be attached."));
    EXPECT_EQ(kept("a1"), std::string(16UL << 20, 'y'));
}

TEST_F(InboxAttachments, ThereIsRoomForSomeOnly)
{
    attach("most", std::string(16UL << 20, 'y'));
    for (std::size_t number = 0; number < 4; ++number) {
        execute("document.getElementById('attach-button').click()");
        ASSERT_TRUE(awaited("attached", number));
    }
    chosen->files.clear();
    attach("more", "x");
    execute("document.getElementById('attach-button').click()");
    EXPECT_TRUE(awaited("pageError"));
    execute("document.querySelector('.file-remove').click()"); // which makes room
    EXPECT_TRUE(waitUntil([&] { return !kept("a1"); }));
    execute("document.getElementById('attach-button').click()");
    EXPECT_EQ(awaited("attached", 4), Value("more"));
    EXPECT_EQ(kept("a5"), "x");
}

TEST_F(InboxAttachments, OnlyBytesWithANameAreTaken)
{
    const std::string bytes =
        "{method: 'POST', body: 'x', headers: {'Content-Type': 'application/octet-stream'}}";
    EXPECT_EQ(status("/api/attachments?name=a", bytes), Value(200));
    for (const char* name :
        {"", "a%00b", "a%0Ab", "..%2F..%2Fetc%2Fpasswd", "a%5Cb", "%FF", "%", "%4", "%zz", "%7F"})
        EXPECT_EQ(status(std::string("/api/attachments?name=") + name, bytes), Value(400)) << name;
    EXPECT_EQ(status("/api/attachments?name=" + std::string(256, 'a'), bytes), Value(400));
    EXPECT_EQ(status("/api/attachments", bytes), Value(400));
    EXPECT_EQ(status("/api/attachments?other=a", bytes), Value(400));
    // What a form of a foreign page can send is not taken.
    for (const char* type : {"text/plain", "multipart/form-data; boundary=x",
             "application/x-www-form-urlencoded", "application/json"})
        EXPECT_EQ(status("/api/attachments?name=a",
                      std::string("{method: 'POST', body: 'x', headers: {'Content-Type': '") + type + "'}}"),
            Value(415))
            << type;
    EXPECT_EQ(status("/api/attachments/a9", "{}"), Value(404));
    EXPECT_EQ(
        status("/api/attachments/a9", "{method: 'DELETE', headers: {'Content-Type': 'application/json'}}"),
        Value(404));
    EXPECT_EQ(status("/api/attachments/a1", "{method: 'DELETE'}"), Value(415));
    // A message names files that there are.
    for (const char* files : {"['a9']", "'a1'", "[1]", "['']", "null", "{}", "Array(51).fill('a1')"})
        EXPECT_EQ(status("/api/conversations",
                      std::string("{method: 'POST', headers: {'Content-Type': 'application/json'}, body: "
                                  "JSON.stringify({to: ['a'], subject: '', text: '', attachments: ")
                          + files + "})}"),
            Value(400))
            << files;
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
