// The smallest host: one window, one page from the bundle, one message from the page, one script into it.

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/WebView/BundleResources.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>
#include <LumoKit/WebView/WebViewMessageHandler.h>

using namespace LumoKit;

namespace {

// What handlers need of the host. Here it is the window; a larger host has a container of services.
using Dependencies = std::shared_ptr<NSWindow>;

class GreetingHandler : public ScriptMessageHandler<Dependencies> {
    [[nodiscard]] std::string messageName() const override { return "greeting"; }

    void handleMessage(const std::string&, const Value& body, const Dependencies& window) override
    {
        print("The page says: " + body.description());
        if (const auto* name = body["name"].asText())
            window->setTitle("Hello, " + *name);
    }
};

class Host : public NSApplicationDelegate {
    bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
};

} // namespace

int main()
{
    auto& application = NSApplication::shared();
    const auto host = std::make_shared<Host>();
    application.setDelegate(host);

    const auto window = NSWindow::create({{}, {640, 400}});
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), "minimal");
    std::make_shared<WebViewMessageHandler<Dependencies>>(
        window, std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<GreetingHandler>()})
        ->registerHandlers(*configuration);

    const auto view = std::make_shared<WKWebView>(window->contentView()->bounds(), configuration);
    view->setAutoresizing(NSAutoresizing::sizable());
    window->contentView()->addSubview(view);
    view->load(*URL::parse("minimal://app/"));

    window->center();
    window->makeKeyAndOrderFront();
    WebViewJavascriptExecutor(view).execute("navigator.language");
    application.run();
}
