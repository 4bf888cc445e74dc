#pragma once

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <webkit2/webkit2.h>

namespace LumoKit {

/// The document of a `WebView`: a view of the engine in a window that is never on screen.
class WebDocumentView final : public NSView {
public:
    explicit WebDocumentView(const CGSize& size);

    [[nodiscard]] WebKitWebView* engine() const;
    void setUpdating(bool updating);

    /// Whether a document was ever loaded.
    bool holdsDocument = false;
    /// Whether one is being loaded.
    bool isLoading = false;
};

} // namespace LumoKit
