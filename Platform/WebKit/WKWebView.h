#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URLRequest.h>
#include <LumoKit/Platform/WebKit/WKNavigationDelegate.h>
#include <LumoKit/Platform/WebKit/WKUIDelegate.h>
#include <LumoKit/Platform/WebKit/WKWebViewConfiguration.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// A view that shows a web page.
///
/// Thread: the main thread; every callback arrives there.
/// Lifetime: when the view is released its page is closed, and evaluations that are under way end with an
/// error.
/// Observable: "title", "URL", "estimatedProgress", "loading".
class WKWebView : public NSView {
public:
    /// A view made from `configuration`, ready to load. Made by `std::make_shared`.
    WKWebView(const CGRect& frame, std::shared_ptr<WKWebViewConfiguration> configuration);
    ~WKWebView() override;

    [[nodiscard]] const std::shared_ptr<WKWebViewConfiguration>& configuration() const;

    /// Not kept.
    void setNavigationDelegate(const std::weak_ptr<WKNavigationDelegate>& delegate);
    [[nodiscard]] std::shared_ptr<WKNavigationDelegate> navigationDelegate() const;

    /// Not kept. Without one the engine puts its own dialogs up.
    void setUIDelegate(const std::weak_ptr<WKUIDelegate>& delegate);
    [[nodiscard]] std::shared_ptr<WKUIDelegate> uiDelegate() const;

    void load(const URL& url);
    /// Errors: the navigation fails with `timedOut` if no answer comes in time.
    void load(const URLRequest& request);

    /// What the view tells servers and pages of the browser from its next load on; empty for the engine's own.
    [[nodiscard]] std::string customUserAgent() const;
    void setCustomUserAgent(const std::string& userAgent);
    /// Domain and code of the error of a load that was given no answer in time.
    static constexpr const char* errorDomain = "NSURLErrorDomain";
    static constexpr int timedOut = -1001;
    /// Shows `string` as a page whose address is `baseURL`, or "about:blank".
    void loadHTMLString(const std::string& string, const std::optional<URL>& baseURL);
    void reload();
    void stopLoading();
    [[nodiscard]] bool canGoBack() const;
    void goBack();
    [[nodiscard]] bool canGoForward() const;
    void goForward();

    /// The address of the page, or of the one that is being loaded; nothing before the first load. Characters
    /// that the engine lets stand in an address though the grammar does not are percent-encoded.
    [[nodiscard]] std::optional<URL> url() const;
    /// The page's title; empty where it has none.
    [[nodiscard]] std::string title() const;
    /// Units: 0 to 1.
    [[nodiscard]] double estimatedProgress() const;
    [[nodiscard]] bool isLoading() const;

    using EvaluationHandler =
        std::move_only_function<void(std::optional<Value> result, std::optional<Error> error)>;

    /// Runs a script in the page's main frame and then calls `completionHandler`, if there is one, with its
    /// value, as data (see `WKScriptMessage::body`), or an error; with neither for an undefined value. Never
    /// calls back synchronously.
    /// Lifetime: the handler is called once, also when the view is released before.
    void evaluateJavaScript(const std::string& script, EvaluationHandler completionHandler = {});

    /// Takes a key if this view has its window's keyboard: the page gets it. What the page does not handle comes
    /// back to the window, and goes on to the menus.
    bool performKeyEquivalent(const NSEvent& with) override;

    /// "drawsBackground" and its opposite "drawsTransparentBackground": whether there is white behind the page where
    /// it paints nothing, or what is behind the view. "pageZoomFactor": how large the page is shown, 1 at first.
    [[nodiscard]] Value value(std::string_view forKey) const override;
    /// Sets one of those three. A value of another type, and a factor that is no positive number, is ignored.
    void setValue(const Value& value, std::string_view forKey) override;
};

} // namespace LumoKit
