// A host outside of the tree: a page posts a message, its handler runs a script, and the script's value ends
// the program.

#include <LumoKit/Extensions/NSColor.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/Pluralize.h>
#include <LumoKit/WebView/ProxyWebView.h>
#include <LumoKit/WebView/WebViewMessageHandler.h>

using namespace LumoKit;

namespace {

struct Services {
    std::weak_ptr<WKWebView> view;
    int* status;
};

class ReadyHandler : public ScriptMessageHandler<std::shared_ptr<Services>> {
    std::string messageName() const override { return "ready"; }

    void handleMessage(
        const std::string&, const Value& body, const std::shared_ptr<Services>& services) override
    {
        print("the page has " + pluralize("paragraph", body.asInteger().value_or(0)));
        services->view.lock()->evaluateJavaScript("6 * 7", [services](std::optional<Value> result, auto) {
            *services->status = result == Value(42) ? 0 : 1;
            NSApplication::shared().terminate();
        });
    }
};

} // namespace

int main()
{
    auto& application = NSApplication::shared();
    int status = 1;
    const auto services = std::make_shared<Services>(std::weak_ptr<WKWebView>(), &status);
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    std::make_shared<WebViewMessageHandler<std::shared_ptr<Services>>>(
        services, std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<ReadyHandler>()})
        ->registerHandlers(*configuration);
    const auto view = ProxyWebView::create(configuration);
    services->view = view;
    view->loadHTMLString("<p>one<p>two<script>webkit.messageHandlers.ready.postMessage(document."
                         "querySelectorAll('p').length)</script>",
        URL::parse("https://consumer.example/"));
    if (color("#FFF", 1).redComponent != 0)
        return 2;
    application.run();
    return status;
}
