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

/// The page of both sides: `post(kind, count)` posts one of the bodies again and again.
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
function post(kind, count) {
    const handler = webkit.messageHandlers.bench, body = bodies[kind];
    for (let i = 0; i < count; ++i) handler.postMessage(body);
}
webkit.messageHandlers.bench.postMessage('ready');
</script>)";

/// A side of a comparison: a view with the page, and the messages that arrived.
struct Side {
    WebKitWebView* view = nullptr;
    std::size_t arrived = 0;
    std::size_t awaited = 0;
    bool done = false;

    void message()
    {
        if (++arrived == awaited)
            done = true;
    }
    void load()
    {
        expect(1);
        webkit_web_view_load_html(view, page, "https://bench.example/");
        runUntil(done);
    }
    void expect(std::size_t count)
    {
        arrived = 0;
        awaited = count;
        done = false;
    }
    /// Microseconds a message.
    double post(const char* kind, std::size_t count)
    {
        expect(count);
        const std::string script = "post('" + std::string(kind) + "', " + std::to_string(count) + ")";
        const double seconds = secondsOf([&] {
            webkit_web_view_evaluate_javascript(
                view, script.c_str(), -1, nullptr, nullptr, nullptr, nullptr, nullptr);
            runUntil(done);
        });
        return seconds * 1e6 / static_cast<double>(count);
    }
};

/// The kit: a registry with one typed handler that counts.
struct KitSide : Side {
    struct Counting : ScriptMessageHandler<Side*> {
        [[nodiscard]] std::string messageName() const override { return "bench"; }
        void handleMessage(const std::string&, const Value& body, Side* const& side) override
        {
            if (!body.isNull())
                side->message();
        }
    };

    KitSide()
    {
        const auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setProcessPool(std::make_shared<WKProcessPool>());
        std::make_shared<WebViewMessageHandler<Side*>>(
            this, std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<Counting>()})
            ->registerHandlers(*configuration);
        webView = std::make_shared<WKWebView>(CGRect{{}, {800, 600}}, configuration);
        view = webKitWebView(*webView);
        load();
    }

    std::shared_ptr<WKWebView> webView;
};

/// The bare engine: a handler that counts, and where a text is meant, takes it out.
struct BareSide : Side {
    BareSide()
    {
        WebKitUserContentManager* content = webkit_user_content_manager_new();
        g_signal_connect(content, "script-message-received::bench",
            G_CALLBACK(+[](WebKitUserContentManager*, WebKitJavascriptResult* result, gpointer data) {
                auto* side = static_cast<BareSide*>(data);
                if (side->takesText)
                    g_free(jsc_value_to_string(webkit_javascript_result_get_js_value(result)));
                side->message();
            }),
            this);
        webkit_user_content_manager_register_script_message_handler(content, "bench");
        view = WEBKIT_WEB_VIEW(webkit_web_view_new_with_user_content_manager(content));
        g_object_ref_sink(view);
        load();
    }

    bool takesText = false;
};

KitSide& kit()
{
    static auto& side = *new KitSide;
    return side;
}

BareSide& bare()
{
    static auto& side = *new BareSide;
    return side;
}

Row messageRow(const char* name, const char* kind, std::size_t count, double goal, bool takesText = false)
{
    return {"bridge/" + std::string(name), "µs",
        takesText ? "bare handler that takes the text" : "bare handler that counts", goal, 25,
        [=] { return kit().post(kind, count); },
        [=] {
            bare().takesText = takesText;
            return bare().post(kind, count);
        }};
}

constexpr std::size_t evaluations = 2000;

double executeOnKit()
{
    WebViewJavascriptExecutor executor(kit().webView);
    kit().expect(1);
    return secondsOf([&] {
        for (std::size_t index = 0; index < evaluations; ++index)
            executor.execute("undefined");
        bool ended = false;
        kit().webView->evaluateJavaScript("undefined", [&](auto&&, auto&&) { ended = true; });
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
    return secondsOf([&] {
        for (std::size_t index = 0; index < evaluations; ++index)
            webkit_web_view_evaluate_javascript(
                bare().view, "undefined", -1, nullptr, nullptr, nullptr, finish, nullptr);
        bool ended = false;
        webkit_web_view_evaluate_javascript(
            bare().view, "undefined", -1, nullptr, nullptr, nullptr, finish, &ended);
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
        configuration->userContentController()->add(waiting, "bench");
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
