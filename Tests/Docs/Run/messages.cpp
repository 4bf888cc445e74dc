#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/Utility/DispatchQueue.h>

std::shared_ptr<LumoKit::WKWebViewConfiguration> makeConfiguration();

/// The page posts what the guide says that pages post.
class Loaded : public LumoKit::WKNavigationDelegate {
    void didFinish(LumoKit::WKWebView& view) override
    {
        view.evaluateJavaScript("webkit.messageHandlers.conversationOpened.postMessage({id: 'c1', subject: "
                                "'Harbour map'}); undefined",
            [](auto, auto) {
                LumoKit::DispatchQueue::main()->async([] { LumoKit::NSApplication::shared().terminate(); });
            });
    }
};

int main()
{
    auto& application = LumoKit::NSApplication::shared();
    const auto view =
        std::make_shared<LumoKit::WKWebView>(LumoKit::CGRect{{}, {100, 100}}, makeConfiguration());
    const auto loaded = std::make_shared<Loaded>();
    view->setNavigationDelegate(loaded);
    view->loadHTMLString("<p>A page</p>", std::nullopt);
    application.run();
}
