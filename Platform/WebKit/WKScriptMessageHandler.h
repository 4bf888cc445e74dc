#pragma once

#include <LumoKit/Platform/WebKit/WKScriptMessage.h>

namespace LumoKit {

class WKUserContentController;

/// Receives the messages that pages post under a name.
class WKScriptMessageHandler {
public:
    virtual ~WKScriptMessageHandler() = default;

    /// A page posted `didReceive`.
    /// Thread: the main thread.
    virtual void userContentController(
        WKUserContentController& userContentController, const WKScriptMessage& didReceive) = 0;
};

} // namespace LumoKit
