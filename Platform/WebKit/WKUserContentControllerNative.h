#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>
#include <LumoKit/Platform/WebKit/WKUserContentController.h>

#include <webkit2/webkit2.h>

#include <map>

namespace LumoKit {

/// The platform's side of a user content controller.
struct WKUserContentController::Native {
    struct Registration {
        std::shared_ptr<WKScriptMessageHandler> handler;
        detail::SignalConnection received;
    };

    /// Keeps pages from typing the letter of a key that is pressed with Command, where pages know Command as their
    /// meta key: the engine holds back letters of Control and Option only.
    void leaveCommandsUntyped();

    detail::ObjectPtr<WebKitUserContentManager> manager;
    std::map<std::string, Registration> registrations;
    std::vector<WKUserScript> scripts;
    bool leavesCommandsUntyped = false;
};

} // namespace LumoKit
