#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

class NSView;
class WebDocumentView;

/// Where a frame shows its document.
///
/// Thread: the main thread.
class WebFrameView : public NSObject {
public:
    /// The document, laid out; null before there is one. It can be printed by an `NSPrintOperation`.
    [[nodiscard]] std::shared_ptr<NSView> documentView() const;

private:
    friend class WebFrame;
    std::shared_ptr<WebDocumentView> shown;
};

/// The main frame of a `WebView`.
///
/// Thread: the main thread.
class WebFrame : public NSObject {
public:
    [[nodiscard]] const std::string& name() const { return frameName; }

    /// Shows `string` as a document whose address is `baseURL`, or "about:blank". Relative addresses in it are
    /// resolved against that.
    void loadHTMLString(const std::string& string, const std::optional<URL>& baseURL);

    [[nodiscard]] const std::shared_ptr<WebFrameView>& frameView() const { return view; }

private:
    friend class WebView;
    WebFrame(std::string name, std::shared_ptr<WebDocumentView> document);

    const std::string frameName;
    const std::shared_ptr<WebDocumentView> document;
    const std::shared_ptr<WebFrameView> view = std::make_shared<WebFrameView>();
};

} // namespace LumoKit
