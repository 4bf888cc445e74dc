#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/WebKit/WKNavigationDelegate.h>
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

    void load(const URL& url);
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

    [[nodiscard]] Value value(std::string_view forKey) const override;
};

} // namespace LumoKit
