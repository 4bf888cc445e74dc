#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/WebKit/WebFrame.h>
#include <LumoKit/Platform/WebKit/WebFrameLoadDelegate.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// An HTML document that is laid out off screen, to be printed. What is on screen is shown by `WKWebView`.
///
/// A document may be hostile. Its scripts run, as it may build itself by them, but alone: it has a process and data of
/// its own, which share nothing with the application's pages and end with the view; it posts no messages, asks the user
/// nothing, saves no files, opens no windows and makes no sound.
///
/// Ownership: made by `std::make_shared`.
/// Thread: the main thread; every callback arrives there.
/// Lifetime: when the view and its document view are released, its load ends, and evaluations that are under way end
/// without a result.
class WebView : public NSObject {
public:
    /// A view of the frame's size, in which there is no document yet.
    WebView(const CGRect& frame, std::string frameName, std::string groupName);
    ~WebView() override;

    [[nodiscard]] const CGRect& frame() const;
    [[nodiscard]] const std::string& groupName() const;

    /// Whether the document is laid out and drawn as if it were on screen; so it is at first.
    [[nodiscard]] bool shouldUpdateWhileOffscreen() const;
    void setShouldUpdateWhileOffscreen(bool should);

    /// Not kept.
    void setFrameLoadDelegate(const std::weak_ptr<WebFrameLoadDelegate>& delegate);
    [[nodiscard]] std::shared_ptr<WebFrameLoadDelegate> frameLoadDelegate() const;

    [[nodiscard]] const std::shared_ptr<WebFrame>& mainFrame() const;

    /// Whether the document, a frame in it, or anything that they need is still to come.
    [[nodiscard]] bool isLoading() const;

    using EvaluationHandler = std::move_only_function<void(std::optional<std::string> result)>;

    /// Runs a script and calls `completionHandler` with the text that it gives; with nothing for another value and for a
    /// script that fails. The script sees the document, but nothing of what the document's own scripts have made: they
    /// cannot lie to it.
    /// Never calls back synchronously: the document is in another process, whose scripts may run for ever. Then there is
    /// no answer while the view lives.
    void stringByEvaluatingJavaScript(const std::string& from, EvaluationHandler completionHandler);

private:
    struct Native;
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
