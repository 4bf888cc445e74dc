#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <cxxabi.h>

#include <cstdlib>

namespace LumoKit {

namespace {

std::string nameOf(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, decltype([](char* name) { std::free(name); })> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status));
    return readable ? readable.get() : type.name();
}

} // namespace

void AnyDependencies::castFailed(const std::type_info& wanted) const
{
    fatalError("Could not cast value of type '" + nameOf(value.type()) + "' to '" + nameOf(wanted) + "'");
}

namespace detail {

void MessageRegistry::registerHandlers(WKWebViewConfiguration& in)
{
    for (const auto& handler : unregisteredHandlers) {
        // The platform comes first: it refuses a name that is taken, and the check below then says whose
        // mistake it was.
        in.userContentController()->add(
            std::static_pointer_cast<MessageRegistry>(shared_from_this()), handler->messageName());
        registerHandler(handler);
    }
}

void MessageRegistry::registerHandler(const std::shared_ptr<AnyScriptMessageHandler>& handler)
{
    const std::string name = handler->messageName();
    if (registeredHandlers.contains(name))
        fatalError("An handler for message '" + name + "' already exists!");
    registeredHandlers.emplace(name, handler);
}

const std::shared_ptr<AnyScriptMessageHandler>& MessageRegistry::getHandler(
    const WKScriptMessage& message) const
{
    const auto found = registeredHandlers.find(message.name);
    if (found == registeredHandlers.end())
        fatalError("No hanlder found for message: message.name");
    return found->second;
}

void MessageRegistry::userContentController(WKUserContentController&, const WKScriptMessage& didReceive)
{
    const auto& handler = getHandler(didReceive);
    handler->handleMessage(didReceive.name, didReceive.body, dependencies());
}

} // namespace detail

} // namespace LumoKit
