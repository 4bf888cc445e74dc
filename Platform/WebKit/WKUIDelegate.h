#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <functional>
#include <optional>
#include <vector>

namespace LumoKit {

class WKWebView;

/// What a page's file input asks for.
struct WKOpenPanelParameters {
    bool allowsMultipleSelection = false;
    /// Whether the input takes folders, with everything in them.
    bool allowsDirectories = false;
};

/// Puts what a page needs of the user before the user. Every operation has the platform's default.
///
/// Thread: the main thread.
class WKUIDelegate {
public:
    virtual ~WKUIDelegate() = default;

    /// Files for the page, or nothing if the user took it back.
    using OpenPanelCompletion = std::function<void(std::optional<std::vector<URL>> files)>;

    /// The page wants files. Answers by calling `completionHandler`, now or later; further calls, and calls when
    /// the page is gone, do nothing, and one that is dropped takes it back. Only `file:` URLs count. Until it is
    /// answered the page asks for no other files.
    virtual void runOpenPanel(WKWebView&, const WKOpenPanelParameters&, OpenPanelCompletion completionHandler)
    {
        completionHandler(std::nullopt);
    }
};

} // namespace LumoKit
