#pragma once

#include "Support/Printing.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/Platform/WebKit/WKWebViewConfiguration.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace LumoKit::Test {

/// Keeps the messages that pages post.
class MessageRecorder : public WKScriptMessageHandler {
public:
    void userContentController(WKUserContentController&, const WKScriptMessage& didReceive) override
    {
        messages.push_back(didReceive);
        if (onMessage)
            onMessage(didReceive);
    }

    std::vector<WKScriptMessage> messages;
    std::function<void(const WKScriptMessage&)> onMessage;
};

/// Follows the navigations of a web view.
class NavigationRecorder : public WKNavigationDelegate {
public:
    void didStartProvisionalNavigation(WKWebView&) override { events.emplace_back("start"); }
    void didReceiveServerRedirectForProvisionalNavigation(WKWebView&) override
    {
        events.emplace_back("redirect");
    }
    void didCommit(WKWebView&) override { events.emplace_back("commit"); }
    void didFinish(WKWebView&) override { events.emplace_back("finish"); }
    void didFailProvisionalNavigation(WKWebView&, const Error& error) override
    {
        fail("fail provisional", error);
    }
    void didFail(WKWebView&, const Error& error) override { fail("fail", error); }
    void webContentProcessDidTerminate(WKWebView&) override { events.emplace_back("process gone"); }

    void fail(const char* event, const Error& error)
    {
        events.emplace_back(event);
        errors.push_back(error);
    }

    [[nodiscard]] bool saw(const std::string& event, int times = 1) const
    {
        return std::count(events.begin(), events.end(), event) >= times;
    }

    std::vector<std::string> events;
    std::vector<Error> errors;
};

/// A web view with one message name, "test", and helpers that wait.
struct WebPage {
    explicit WebPage(std::shared_ptr<WKWebViewConfiguration> from = nullptr)
    {
        static_cast<void>(NSApplication::shared());
        configuration = from ? std::move(from) : std::make_shared<WKWebViewConfiguration>();
        configuration->userContentController()->add(recorder, "test");
        view = std::make_shared<WKWebView>(CGRect{{}, {800, 600}}, configuration);
        view->setNavigationDelegate(navigation);
    }

    /// Shows a page and waits until it has loaded.
    [[nodiscard]] bool show(const std::string& html, const std::string& address = "https://page.example/")
    {
        navigation->events.clear();
        view->loadHTMLString(html, URL::parse(address));
        return waitUntil([&] { return navigation->saw("finish"); });
    }

    /// What a script gives, once it has ended.
    [[nodiscard]] std::pair<std::optional<Value>, std::optional<Error>> evaluate(
        const std::string& script) const
    {
        std::optional<std::pair<std::optional<Value>, std::optional<Error>>> outcome;
        view->evaluateJavaScript(script, [&](auto result, auto error) { outcome.emplace(result, error); });
        if (!waitUntil([&] { return outcome.has_value(); }))
            return {std::nullopt, Error{"test", 1, "the evaluation did not end"}};
        return *outcome;
    }

    /// The body of the next message after a script was run.
    [[nodiscard]] std::optional<Value> messageAfter(const std::string& script) const
    {
        const std::size_t before = recorder->messages.size();
        view->evaluateJavaScript(script);
        if (!waitUntil([&] { return recorder->messages.size() > before; }))
            return std::nullopt;
        return recorder->messages[before].body;
    }

    std::shared_ptr<WKWebViewConfiguration> configuration;
    std::shared_ptr<MessageRecorder> recorder = std::make_shared<MessageRecorder>();
    std::shared_ptr<NavigationRecorder> navigation = std::make_shared<NavigationRecorder>();
    std::shared_ptr<WKWebView> view;
};

} // namespace LumoKit::Test
