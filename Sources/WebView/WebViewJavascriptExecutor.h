#pragma once

#include <LumoKit/Platform/WebKit/WKWebView.h>

#include <memory>
#include <string>

namespace LumoKit {

/// Runs script in a hosted page without keeping the web view alive, and prints how it ended. A caller that
/// needs the script's value asks the web view itself.
///
/// Thread: the main thread.
class WebViewJavascriptExecutor {
public:
    explicit WebViewJavascriptExecutor(const std::shared_ptr<WKWebView>& webview)
        : webview(webview)
    {
    }
    virtual ~WebViewJavascriptExecutor() = default;

    /// Starts `js` in the page's main frame. When it has ended, prints "Result of evaluating <js>: <value>"
    /// if it had a value, and "Error while evaluating <js>: <error>" if it failed. Does nothing once the web
    /// view is gone.
    virtual void execute(const std::string& js);

    /// Empty once the view is released.
    std::weak_ptr<WKWebView> webview;
};

} // namespace LumoKit
