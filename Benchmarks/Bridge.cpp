#include "Compare.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>
#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <memory>

namespace LumoKit::Bench {

namespace {

void runUntil(const bool& done)
{
    while (!done)
        g_main_context_iteration(nullptr, TRUE);
}

/// The page: `post(name, kind, count)` posts one of the bodies to a handler again and again.
constexpr const char* page = R"(<script>
const bodies = {
    number: 7,
    text: 'A short text',
    object: {id: 17, subject: 'Hello', unread: true},
    // About 10 KB as JSON.
    large: {rows: Array.from({length: 80}, (_, i) => ({id: i, subject: 'Conversation ' + i, from: 'someone@example.org',
        unread: i % 2 == 0, labels: ['inbox', 'team'], size: i * 1.5}))},
    megabyte: 'x'.repeat(1000000),
};
function post(name, kind, count) {
    const handler = webkit.messageHandlers[name], body = bodies[kind];
    for (let i = 0; i < count; ++i) handler.postMessage(body);
}
webkit.messageHandlers.kit.postMessage('ready');
</script>)";

/// One page with two handlers, so that both sides have the same process, page and memory, and differ in
/// nothing but the native side: "kit" is the kit's registry with one typed handler that counts; "bare" is a
/// handler of the bare engine that counts, and where a text is meant, takes it out.
class Bridge {
public:
    Bridge()
    {
        const auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setProcessPool(std::make_shared<WKProcessPool>());
        std::make_shared<WebViewMessageHandler<Bridge*>>(
            this, std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<Counting>()})
            ->registerHandlers(*configuration);
        webView = std::make_shared<WKWebView>(CGRect{{}, {800, 600}}, configuration);
        WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(engineView());
        g_signal_connect(content, "script-message-received::bare",
            G_CALLBACK(+[](WebKitUserContentManager*, WebKitJavascriptResult* result, gpointer data) {
                auto* bridge = static_cast<Bridge*>(data);
                if (bridge->takesText)
                    g_free(jsc_value_to_string(webkit_javascript_result_get_js_value(result)));
                bridge->message();
            }),
            this);
        webkit_user_content_manager_register_script_message_handler(content, "bare");
        left = 1;
        webView->loadHTMLString(page, URL::parse("https://bench.example/"));
        run();
    }

    /// Microseconds a message.
    double post(const char* name, const char* kind, std::size_t count)
    {
        left = count;
        const std::string script =
            std::string("post('") + name + "', '" + kind + "', " + std::to_string(count) + ")";
        const double seconds = secondsOf([&] {
            webkit_web_view_evaluate_javascript(
                engineView(), script.c_str(), -1, nullptr, nullptr, nullptr, nullptr, nullptr);
            run();
        });
        return seconds * 1e6 / static_cast<double>(count);
    }

    [[nodiscard]] WebKitWebView* engineView() const { return webKitWebView(*webView); }

    std::shared_ptr<WKWebView> webView;
    bool takesText = false;

private:
    struct Counting : ScriptMessageHandler<Bridge*> {
        [[nodiscard]] std::string messageName() const override { return "kit"; }
        void handleMessage(const std::string&, const Value& body, Bridge* const& bridge) override
        {
            if (!body.isNull())
                bridge->message();
        }
    };

    void message() { --left; }
    void run() const
    {
        while (left > 0)
            g_main_context_iteration(nullptr, TRUE);
    }

    std::size_t left = 0;
};

Bridge& bridge()
{
    static auto& shared = *new Bridge;
    return shared;
}

Row messageRow(const char* name, const char* kind, std::size_t count, double goal, bool takesText = false)
{
    return {"bridge/" + std::string(name), "µs",
        takesText ? "bare handler that takes the text" : "bare handler that counts", goal, 41,
        [=] { return bridge().post("kit", kind, count); },
        [=] {
            bridge().takesText = takesText;
            return bridge().post("bare", kind, count);
        }};
}

constexpr std::size_t evaluations = 2000;

double executeOnKit()
{
    WebViewJavascriptExecutor executor(bridge().webView);
    return secondsOf([&] {
        for (std::size_t index = 0; index < evaluations; ++index)
            executor.execute("undefined");
        bool ended = false;
        bridge().webView->evaluateJavaScript("undefined", [&](auto&&, auto&&) { ended = true; });
        runUntil(ended);
    }) * 1e6
        / evaluations;
}

double executeOnEngine()
{
    const auto finish = +[](GObject* view, GAsyncResult* result, gpointer flag) {
        JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, nullptr);
        if (value)
            g_object_unref(value);
        if (flag)
            *static_cast<bool*>(flag) = true;
    };
    WebKitWebView* view = bridge().engineView();
    return secondsOf([&] {
        for (std::size_t index = 0; index < evaluations; ++index)
            webkit_web_view_evaluate_javascript(
                view, "undefined", -1, nullptr, nullptr, nullptr, finish, nullptr);
        bool ended = false;
        webkit_web_view_evaluate_javascript(view, "undefined", -1, nullptr, nullptr, nullptr, finish, &ended);
        runUntil(ended);
    }) * 1e6
        / evaluations;
}

/// Milliseconds from making a view to the first message of its page.
double firstMessage(const std::shared_ptr<WKProcessPool>& pool, std::shared_ptr<WKWebView>& view)
{
    struct Waiting : WKScriptMessageHandler {
        void userContentController(WKUserContentController&, const WKScriptMessage&) override { done = true; }
        bool done = false;
    };
    const auto waiting = std::make_shared<Waiting>();
    return secondsOf([&] {
        const auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setProcessPool(pool);
        configuration->userContentController()->add(waiting, "kit");
        view = std::make_shared<WKWebView>(CGRect{{}, {800, 600}}, configuration);
        view->loadHTMLString(page, URL::parse("https://bench.example/"));
        runUntil(waiting->done);
    }) * 1e3;
}

double firstViewOfAPool()
{
    std::shared_ptr<WKWebView> first;
    return firstMessage(std::make_shared<WKProcessPool>(), first);
}

double secondViewOfAPool()
{
    const auto pool = std::make_shared<WKProcessPool>();
    std::shared_ptr<WKWebView> first;
    std::shared_ptr<WKWebView> second;
    static_cast<void>(firstMessage(pool, first));
    return firstMessage(pool, second);
}

} // namespace

std::vector<Row> bridgeRows()
{
    static_cast<void>(NSApplication::shared());
    return {
        messageRow("number", "number", 4000, 1.05),
        messageRow("text", "text", 4000, 1.05),
        messageRow("object", "object", 2000, 1.05),
        messageRow("object-10k", "large", 60, 1.1),
        messageRow("text-1m", "megabyte", 30, 1.1, true),
        {"bridge/execute", "µs", "bare evaluation", 1.05, 25, executeOnKit, executeOnEngine},
        {"bridge/second-view", "ms", "first view", 0.2, 9, secondViewOfAPool, firstViewOfAPool},
    };
}

} // namespace LumoKit::Bench
