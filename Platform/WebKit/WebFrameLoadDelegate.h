#pragma once

#include <memory>

namespace LumoKit {

class WebFrame;
class WebView;

/// Follows the loads of a `WebView`. Every operation has the platform's default.
///
/// Thread: the main thread.
class WebFrameLoadDelegate {
public:
    virtual ~WebFrameLoadDelegate() = default;

    /// A frame's document has loaded, with all frames and images in it.
    virtual void webView(
        const std::shared_ptr<WebView>& /*sender*/, const std::shared_ptr<WebFrame>& /*didFinishLoadFor*/)
    {
    }
};

} // namespace LumoKit
