// A minimal host on the kit: it writes a byte at its page's first message, and ends when its standard input
// closes.

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <unistd.h>

using namespace LumoKit;

namespace {

struct Nothing { };

class ReadyHandler : public ScriptMessageHandler<Nothing> {
    [[nodiscard]] std::string messageName() const override { return "ready"; }
    void handleMessage(const std::string&, const Value&, const Nothing&) override
    {
        if (::write(STDOUT_FILENO, "!", 1) != 1)
            ::_exit(1);
    }
};

} // namespace

int main()
{
    auto& application = NSApplication::shared();
    const auto window = NSWindow::create({{}, {800, 600}});
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    std::make_shared<WebViewMessageHandler<Nothing>>(
        Nothing(), std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<ReadyHandler>()})
        ->registerHandlers(*configuration);
    const auto view = std::make_shared<WKWebView>(window->contentView()->bounds(), configuration);
    view->setAutoresizing(NSAutoresizing::sizable());
    window->contentView()->addSubview(view);
    view->loadHTMLString("<p>page</p><script>webkit.messageHandlers.ready.postMessage(1)</script>",
        URL::parse("https://bench.example/"));
    window->makeKeyAndOrderFront();
    DispatchQueue::create("input")->async([&] {
        char byte = 0;
        while (::read(STDIN_FILENO, &byte, 1) > 0) { }
        DispatchQueue::main()->async([&] { application.terminate(); });
    });
    application.run();
}
