#pragma once

#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/WebKit/WebView.h>

#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// Prints HTML that the host has written: lays it out off screen, on the paper that is set, and puts the print panel up
/// on a window when it has loaded with all frames and images. One that never has loaded is never printed.
///
/// A host has one for each window. Printing anew drops a document that is still being loaded.
///
/// Ownership: made by `std::make_shared`.
/// Thread: the main thread.
/// Lifetime: when it is released while a document is loading, that is not printed; a panel that is up stays.
class WebPrinter : public NSObject, public WebFrameLoadDelegate {
public:
    /// Sets the margins of the application's print info to 30 points, for whatever it prints from then on.
    explicit WebPrinter(std::shared_ptr<NSWindow> window);

    /// Prints a document, whose relative links and images are resolved against `baseURL`.
    void printHtml(const std::string& html, const std::optional<URL>& baseURL);

    /// Puts the print panel up, once, if the view has loaded.
    /// Errors: stops the process if there is no view, no frame, or no document in it.
    void webView(
        const std::shared_ptr<WebView>& sender, const std::shared_ptr<WebFrame>& didFinishLoadFor) override;

    /// The document that is being loaded, or that was printed last; null before the first.
    [[nodiscard]] const std::shared_ptr<WebView>& view() const { return printView; }

private:
    void run(const WebFrame& frame);

    std::shared_ptr<WebView> printView;
    const std::shared_ptr<NSPrintInfo> printInfo;
    const std::shared_ptr<NSWindow> window;
};

} // namespace LumoKit
