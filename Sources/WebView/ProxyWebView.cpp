#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/WebView/ProxyWebView.h>

namespace LumoKit {

std::shared_ptr<ProxyWebView> ProxyWebView::create(
    const std::shared_ptr<WKWebViewConfiguration>& configuration)
{
    const auto view = std::make_shared<ProxyWebView>(Key(), configuration);
    view->setNavigationDelegate(std::shared_ptr<WKNavigationDelegate>(view));
    return view;
}

std::shared_ptr<ProxyWebView> ProxyWebView::create(
    const CGRect&, const std::shared_ptr<WKWebViewConfiguration>&)
{
    unimplementedInitializer("LumoKit.ProxyWebView", "init(frame:configuration:)");
}

std::shared_ptr<ProxyWebView> ProxyWebView::create(NSCoder&)
{
    fatalError();
}

void ProxyWebView::didStartProvisionalNavigation(WKWebView&)
{
    tell(NavigationType::startLoad);
}

void ProxyWebView::didReceiveServerRedirectForProvisionalNavigation(WKWebView&)
{
    tell(NavigationType::redirect);
}

void ProxyWebView::didFinish(WKWebView&)
{
    tell(NavigationType::finishLoad);
}

void ProxyWebView::tell(NavigationType type) const
{
    const auto current = url();
    const auto handler = navigationHandler; // a copy: it may replace itself
    if (current && handler)
        handler(type, *current);
}

} // namespace LumoKit
