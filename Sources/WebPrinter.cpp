#include <LumoKit/Platform/ApplicationKit/NSPrintOperation.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/WebPrinter.h>

#include <utility>

namespace LumoKit {

WebPrinter::WebPrinter(std::shared_ptr<NSWindow> onWindow)
    : printInfo(NSPrintInfo::shared())
    , window(std::move(onWindow))
{
    printInfo->setTopMargin(30);
    printInfo->setBottomMargin(30);
    printInfo->setRightMargin(30);
    printInfo->setLeftMargin(30);
}

void WebPrinter::printHtml(const std::string& html, const std::optional<URL>& baseURL)
{
    printView = std::make_shared<WebView>(CGRect{{}, printInfo->paperSize()}, "printFrame", "printGroup");
    printView->setShouldUpdateWhileOffscreen(true);
    printView->setFrameLoadDelegate(std::static_pointer_cast<WebPrinter>(shared_from_this()));
    printView->mainFrame()->loadHTMLString(html, baseURL);
}

void WebPrinter::webView(
    const std::shared_ptr<WebView>& sender, const std::shared_ptr<WebFrame>& didFinishLoadFor)
{
    if (!sender || !didFinishLoadFor)
        fatalError("there is no web view to print");
    if (sender->isLoading())
        return; // a later call tells
    const auto self = std::static_pointer_cast<WebPrinter>(shared_from_this());
    sender->stringByEvaluatingJavaScript("document.readyState",
        [weak = std::weak_ptr(self), weakSender = std::weak_ptr(sender), frame = didFinishLoadFor](
            const std::optional<std::string>& state) {
            const auto printer = weak.lock();
            const auto view = weakSender.lock();
            // Meanwhile the document may have been dropped, or printed for another of its frames.
            if (state != "complete" || !printer || !view || view->frameLoadDelegate() != printer)
                return;
            view->setFrameLoadDelegate({});
            printer->run(*frame);
        });
}

void WebPrinter::run(const WebFrame& frame)
{
    const auto document = frame.frameView()->documentView();
    if (!document)
        fatalError("there is no document to print");
    std::make_shared<NSPrintOperation>(document, printInfo)->runModal(window, window);
}

} // namespace LumoKit
