#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/WebKit/WKScriptMessageHandler.h>
#include <LumoKit/Platform/WebKit/WKUserScript.h>

#include <memory>
#include <string>
#include <vector>

namespace LumoKit {

/// What the host adds to pages: handlers of their messages, and scripts.
///
/// Ownership: keeps the handlers; web views keep the controller that they were made with.
/// Thread: the main thread.
class WKUserContentController : public NSObject {
public:
    WKUserContentController();
    ~WKUserContentController() override;

    /// Calls `handler` for messages that pages post to `window.webkit.messageHandlers.<name>`. A name that is
    /// taken keeps the handler that it has.
    void add(const std::shared_ptr<WKScriptMessageHandler>& handler, const std::string& name);
    /// Pages that are loaded later no longer have the handler; messages that are under way are dropped.
    void removeScriptMessageHandler(const std::string& forName);

    /// Runs `script` in every page that is loaded from now on.
    void addUserScript(const WKUserScript& script);
    void removeAllUserScripts();
    [[nodiscard]] const std::vector<WKUserScript>& userScripts() const;

    struct Native;
    /// The platform's side of the controller, for the platform layer itself.
    [[nodiscard]] Native& nativeController() const { return *native; }

private:
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit
