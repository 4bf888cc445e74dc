#pragma once

#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/Utility/Updateable.h>

#include <functional>
#include <memory>

namespace LumoKit {

/// A web view that tells one callback of its navigations. It only watches: it decides, cancels and redirects
/// nothing, and a load that fails is one that never finishes.
///
///     auto view = ProxyWebView::create(configuration)->updated([](const std::shared_ptr<ProxyWebView>& view)
///     {
///         view->navigationHandler = [](ProxyWebView::NavigationType type, const URL& url) { … };
///     });
///
/// Thread: the main thread.
class ProxyWebView : public WKWebView, public WKNavigationDelegate, public Updateable<ProxyWebView> {
public:
    enum class NavigationType {
        /// A load begins.
        startLoad,
        /// The server redirects a load.
        redirect,
        /// A load has ended well.
        finishLoad
    };

    /// A view of no size that is its own navigation delegate.
    [[nodiscard]] static std::shared_ptr<ProxyWebView> create(
        const std::shared_ptr<WKWebViewConfiguration>& configuration);
    /// Not offered: each stops the process.
    [[noreturn]] static std::shared_ptr<ProxyWebView> create(
        const CGRect& frame, const std::shared_ptr<WKWebViewConfiguration>& configuration);
    [[noreturn]] static std::shared_ptr<ProxyWebView> create(NSCoder& coder);

    /// Called with each event and the view's address at that moment; not called while that is empty. Read at
    /// each event.
    /// Ownership: the view keeps it; what it captures of the view itself must be weak.
    std::function<void(NavigationType, const URL&)> navigationHandler;

private:
    class Key { };

public:
    /// For `create` alone.
    ProxyWebView(Key, const std::shared_ptr<WKWebViewConfiguration>& configuration)
        : WKWebView({}, configuration)
    {
    }

private:
    void didStartProvisionalNavigation(WKWebView& webView) override;
    void didReceiveServerRedirectForProvisionalNavigation(WKWebView& webView) override;
    void didFinish(WKWebView& webView) override;

    void tell(NavigationType type) const;
};

} // namespace LumoKit
