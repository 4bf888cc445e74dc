#include "WebDocumentView.h"

#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/WebKit/WebFrame.h>

#include <utility>

namespace LumoKit {

std::shared_ptr<NSView> WebFrameView::documentView() const
{
    return shown;
}

WebFrame::WebFrame(std::string name, std::shared_ptr<WebDocumentView> made)
    : frameName(std::move(name))
    , document(std::move(made))
{
}

void WebFrame::loadHTMLString(const std::string& string, const std::optional<URL>& baseURL)
{
    view->shown = document;
    document->isLoading = true; // from now on; the engine tells of it later
    const std::unique_ptr<GBytes, detail::FreedBy<g_bytes_unref>> bytes(
        g_bytes_new(string.data(), string.size()));
    webkit_web_view_load_bytes(document->engine(), bytes.get(), "text/html", "UTF-8",
        baseURL ? baseURL->absoluteString().c_str() : nullptr);
}

} // namespace LumoKit
