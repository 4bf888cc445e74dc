#include "Support/WebPage.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/WebKit/WKURLSchemeHandler.h>

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;

/// Answers as a test says.
class Answering : public WKURLSchemeHandler {
public:
    using Answer = std::function<void(const std::shared_ptr<WKURLSchemeTask>&)>;

    explicit Answering(Answer answer)
        : answer(std::move(answer))
    {
    }
    void start(WKWebView& webView, const std::shared_ptr<WKURLSchemeTask>& task) override
    {
        views.push_back(&webView);
        addresses.push_back(task->url().absoluteString());
        answer(task);
    }

    Answer answer;
    std::vector<WKWebView*> views;
    std::vector<std::string> addresses;
};

Answering::Answer page(std::string html)
{
    return [html = std::move(html)](const std::shared_ptr<WKURLSchemeTask>& task) {
        task->didReceive(WKURLSchemeTask::Response{"text/html", "utf-8", 200});
        task->didReceive(html);
        task->didFinish();
    };
}

struct SchemePage {
    explicit SchemePage(const std::string& scheme, Answering::Answer answer)
        : handler(std::make_shared<Answering>(std::move(answer)))
        , configuration(std::make_shared<WKWebViewConfiguration>())
    {
        configuration->setURLSchemeHandler(handler, scheme);
        web.emplace(configuration);
    }

    std::shared_ptr<Answering> handler;
    std::shared_ptr<WKWebViewConfiguration> configuration;
    std::optional<WebPage> web;
};

TEST(WKURLSchemeHandler, GivesAPageAnOriginAndStorage)
{
    SchemePage shown("lumo-test", page("<title>Bundled – é</title>"));
    shown.web->view->load(*URL::parse("lumo-test://host/index.html?a=1"));
    ASSERT_TRUE(waitUntil([&] { return shown.web->navigation->saw("finish"); }));
    EXPECT_EQ(shown.handler->addresses, std::vector<std::string>{"lumo-test://host/index.html?a=1"});
    EXPECT_EQ(shown.handler->views, std::vector<WKWebView*>{shown.web->view.get()});
    EXPECT_EQ(shown.web->evaluate("document.title").first, Value("Bundled – é"));
    EXPECT_EQ(shown.web->evaluate("location.origin").first, Value("lumo-test://host"));
    EXPECT_EQ(shown.web->evaluate("isSecureContext").first, Value(true));
    EXPECT_EQ(
        shown.web->evaluate("localStorage.setItem('k', 'v'), localStorage.getItem('k')").first, Value("v"));
}

TEST(WKURLSchemeHandler, AnswersLaterAndInPieces)
{
    std::shared_ptr<WKURLSchemeTask> waiting;
    SchemePage shown("lumo-later", [&](const auto& task) { waiting = task; });
    shown.web->view->load(*URL::parse("lumo-later://host/"));
    ASSERT_TRUE(waitUntil([&] { return waiting != nullptr; }));
    EXPECT_EQ(waiting->httpMethod(), "GET");
    waiting->didReceive(WKURLSchemeTask::Response{"text/html", "utf-8", 200});
    waiting->didReceive("<title>in ");
    waiting->didReceive("pieces</title>");
    waiting->didFinish();
    waiting->didReceive("<p>late</p>");
    waiting->didFinish();
    ASSERT_TRUE(waitUntil([&] { return shown.web->navigation->saw("finish"); }));
    EXPECT_EQ(shown.web->evaluate("document.title").first, Value("in pieces"));
}

TEST(WKURLSchemeHandler, FailsTheLoadWithTheHostsError)
{
    SchemePage shown("lumo-fail", [](const auto& task) { task->didFail({"host", 7, "no such thing"}); });
    shown.web->view->load(*URL::parse("lumo-fail://host/"));
    ASSERT_TRUE(waitUntil([&] { return shown.web->navigation->saw("fail provisional"); }));
    EXPECT_EQ(shown.web->navigation->errors.at(0).description, "no such thing");
}

TEST(WKURLSchemeHandler, FailsTheLoadOfATaskThatIsDropped)
{
    SchemePage shown("lumo-drop", [](const auto&) { });
    shown.web->view->load(*URL::parse("lumo-drop://host/"));
    EXPECT_TRUE(waitUntil([&] { return shown.web->navigation->saw("fail provisional"); }));
}

TEST(WKURLSchemeHandler, TellsThePageTheStatus)
{
    SchemePage shown("lumo-status", [](const auto& task) {
        const bool root = task->url().path() == "/";
        task->didReceive(WKURLSchemeTask::Response{"text/html", "utf-8", root ? 200 : 404});
        task->didReceive(root ? "<p>root</p>" : "missing");
        task->didFinish();
    });
    shown.web->view->load(*URL::parse("lumo-status://host/"));
    ASSERT_TRUE(waitUntil([&] { return shown.web->navigation->saw("finish"); }));
    EXPECT_EQ(shown.web->messageAfter(
                  "fetch('/x').then(r => webkit.messageHandlers.test.postMessage(r.status)); undefined"),
        Value(404));
}

TEST(WKURLSchemeHandler, IsTheOneOfTheViewsConfiguration)
{
    SchemePage first("lumo-shared", page("<title>first</title>"));
    SchemePage second("lumo-shared", page("<title>second</title>"));
    second.web->view->load(*URL::parse("lumo-shared://host/"));
    ASSERT_TRUE(waitUntil([&] { return second.web->navigation->saw("finish"); }));
    EXPECT_EQ(second.web->evaluate("document.title").first, Value("second"));

    WebPage without;
    without.view->load(*URL::parse("lumo-shared://host/"));
    EXPECT_TRUE(waitUntil([&] { return without.navigation->saw("fail provisional"); }));
}

TEST(WKURLSchemeHandler, IsFoundWhateverTheCaseOfTheScheme)
{
    static_cast<void>(NSApplication::shared());
    WKWebViewConfiguration configuration;
    const auto handler = std::make_shared<Answering>(page(""));
    configuration.setURLSchemeHandler(handler, "Lumo-Case");
    EXPECT_EQ(configuration.urlSchemeHandler("lumo-case"), handler);
    EXPECT_EQ(configuration.urlSchemeHandler("LUMO-CASE"), handler);
    EXPECT_EQ(configuration.urlSchemeHandler("other"), nullptr);
}

TEST(WKURLSchemeHandler, StopsOnASchemeThatItCannotHave)
{
    WKWebViewConfiguration configuration;
    const auto handler = std::make_shared<Answering>(page(""));
    EXPECT_DEATH(configuration.setURLSchemeHandler(handler, "https"),
        "'https' is a URL scheme that WKWebView handles natively");
    EXPECT_DEATH(configuration.setURLSchemeHandler(handler, "File"), "handles natively");
    EXPECT_DEATH(configuration.setURLSchemeHandler(handler, "1x"), "'1x' is not a valid URL scheme");
    EXPECT_DEATH(configuration.setURLSchemeHandler(handler, ""), "'' is not a valid URL scheme");
    configuration.setURLSchemeHandler(handler, "mine");
    EXPECT_DEATH(configuration.setURLSchemeHandler(handler, "MINE"),
        "'MINE' already has a registered URL scheme handler");
}

} // namespace
