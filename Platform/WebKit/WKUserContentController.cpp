#include "ScriptResult.h"
#include "WKUserContentControllerNative.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>

namespace LumoKit {

WKUserContentController::WKUserContentController()
    : native(std::make_unique<Native>())
{
    assertMainThread();
    native->manager = detail::ObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new());
}

WKUserContentController::~WKUserContentController() = default;

void WKUserContentController::add(
    const std::shared_ptr<WKScriptMessageHandler>& handler, const std::string& name)
{
    if (native->registrations.contains(name))
        return;
    // Connected first, so that no message can come between.
    Native::Registration registration;
    registration.handler = handler;
    registration.received =
        detail::SignalConnection::connect<void(WebKitUserContentManager*, WebKitJavascriptResult*)>(
            native->manager.get(), ("script-message-received::" + name).c_str(),
            // The handler is called through a copy: it may remove itself.
            [this, handler, name](auto*, WebKitJavascriptResult* result) {
                const auto alive = weak_from_this().lock();
                handler->userContentController(*this, WKScriptMessage{name, detail::valueOf(result)});
            });
    native->registrations.emplace(name, std::move(registration));
    webkit_user_content_manager_register_script_message_handler(native->manager.get(), name.c_str());
}

void WKUserContentController::removeScriptMessageHandler(const std::string& forName)
{
    if (native->registrations.erase(forName))
        webkit_user_content_manager_unregister_script_message_handler(native->manager.get(), forName.c_str());
}

void WKUserContentController::addUserScript(const WKUserScript& script)
{
    const std::unique_ptr<WebKitUserScript, detail::FreedBy<webkit_user_script_unref>> made(
        webkit_user_script_new(script.source.c_str(),
            script.forMainFrameOnly ? WEBKIT_USER_CONTENT_INJECT_TOP_FRAME
                                    : WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
            script.injectionTime == WKUserScriptInjectionTime::atDocumentStart
                ? WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START
                : WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END,
            nullptr, nullptr));
    webkit_user_content_manager_add_script(native->manager.get(), made.get());
    native->scripts.push_back(script);
}

void WKUserContentController::Native::leaveCommandsUntyped()
{
    leavesCommandsUntyped = true;
    // In a world of its own, and before any script of the page, which can neither see nor undo it.
    constexpr const char* script = R"(
        let command = false;
        addEventListener('keydown', event => { command = event.metaKey; }, true);
        addEventListener('keyup', event => { command = event.metaKey; }, true);
        addEventListener('textInput', event => { if (command) event.preventDefault(); }, true);
    )";
    const std::unique_ptr<WebKitUserScript, detail::FreedBy<webkit_user_script_unref>> made(
        webkit_user_script_new_for_world(script, WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
            WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, "co.lumosuite.LumoKit", nullptr, nullptr));
    webkit_user_content_manager_add_script(manager.get(), made.get());
}

void WKUserContentController::removeAllUserScripts()
{
    webkit_user_content_manager_remove_all_scripts(native->manager.get());
    native->scripts.clear();
    if (native->leavesCommandsUntyped)
        native->leaveCommandsUntyped();
}

const std::vector<WKUserScript>& WKUserContentController::userScripts() const
{
    return native->scripts;
}

} // namespace LumoKit
