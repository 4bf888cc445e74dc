#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <functional>

namespace LumoKit {

class WKWebView;

/// A navigation that is about to happen.
struct WKNavigationAction {
    URL url;
    /// Whether the user clicked a link.
    bool isLinkActivated = false;
};

enum class WKNavigationActionPolicy { allow, cancel };

/// Follows and decides the navigations of a web view's main frame. Every operation has the platform's
/// default.
///
/// Thread: the main thread.
class WKNavigationDelegate {
public:
    virtual ~WKNavigationDelegate() = default;

    /// Decides by calling `decisionHandler` once, now or later; one that is dropped allows.
    virtual void decidePolicy(
        WKWebView&, const WKNavigationAction&, std::function<void(WKNavigationActionPolicy)> decisionHandler)
    {
        decisionHandler(WKNavigationActionPolicy::allow);
    }

    virtual void didStartProvisionalNavigation(WKWebView&) { }
    virtual void didReceiveServerRedirectForProvisionalNavigation(WKWebView&) { }
    /// The page began to arrive in place of the one before.
    virtual void didCommit(WKWebView&) { }
    virtual void didFinish(WKWebView&) { }
    /// The load ended with an error before the page began to arrive, or after.
    virtual void didFailProvisionalNavigation(WKWebView&, const Error&) { }
    virtual void didFail(WKWebView&, const Error&) { }

    /// The process of the page is gone. The view shows nothing until something is loaded; `reload` loads the
    /// page again.
    virtual void webContentProcessDidTerminate(WKWebView&) { }
};

} // namespace LumoKit
