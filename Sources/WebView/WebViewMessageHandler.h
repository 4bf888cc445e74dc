#pragma once

#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/WebKit/WKScriptMessageHandler.h>
#include <LumoKit/Platform/WebKit/WKWebViewConfiguration.h>
#include <LumoKit/Utility/ServiceInterface.h>

#include <any>
#include <concepts>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

/// \file
/// Messages of hosted pages, routed to typed handlers. A page posts a body under a name; the registry finds
/// the handler of that name and calls it with the body and with what the host gave the registry once: its
/// dependencies.
///
///     class OpenedHandler : public ScriptMessageHandler<Services> {
///         std::string messageName() const override { return "conversationOpened"; }
///         void handleMessage(const std::string&, const Value& body, const Services& services) override { … }
///     };
///
///     auto registry = std::make_shared<WebViewMessageHandler<Services>>(services, handlers);
///     registry->registerHandlers(*configuration); // before the web view is made

namespace LumoKit {

/// The dependencies of a registry on their way to a handler: a value whose type only the two ends know.
class AnyDependencies {
public:
    template <class Dependencies>
        requires(!std::same_as<Dependencies, AnyDependencies>)
    explicit AnyDependencies(Dependencies dependencies)
        : value(std::move(dependencies))
    {
        auto& held = *std::any_cast<Dependencies>(&value);
        if constexpr (std::is_convertible_v<Dependencies*, const ServiceInterface*>)
            services = &held;
        else if constexpr (requires { static_cast<const ServiceInterface*>(&*held); })
            services = &*held;
    }
    AnyDependencies(const AnyDependencies&) = delete; // `services` points into `value`
    AnyDependencies& operator=(const AnyDependencies&) = delete;

    /// The value as `Dependencies`: its own type, or a service interface that it (or what it points to)
    /// implements.
    /// Errors: stops the process if it is neither.
    template <class Dependencies> [[nodiscard]] const Dependencies& forced() const
    {
        if constexpr (std::copy_constructible<Dependencies>)
            if (const auto* exact = std::any_cast<Dependencies>(&value))
                return *exact;
        if constexpr (std::is_polymorphic_v<Dependencies>)
            if (const auto* implemented = dynamic_cast<const Dependencies*>(services))
                return *implemented;
        castFailed(typeid(Dependencies));
    }

private:
    [[noreturn]] void castFailed(const std::type_info& wanted) const;

    std::any value;
    const ServiceInterface* services = nullptr;
};

/// A handler of script messages whose dependencies have no type yet; the registry knows handlers only as
/// this.
class AnyScriptMessageHandler {
public:
    virtual ~AnyScriptMessageHandler() = default;

    /// The name under which the handler is registered: the same for the whole life of the handler.
    [[nodiscard]] virtual std::string messageName() const = 0;

    /// A page posted `messageBody`.
    /// Thread: the main thread.
    virtual void handleMessage(
        const std::string& messageName, const Value& messageBody, const AnyDependencies& dependencies) = 0;
};

/// A handler of script messages: what a host derives from, with the type of dependencies that it needs. That
/// is the type of the registry's dependencies, or a service interface that they implement; with any other the
/// first message stops the process.
template <class HandlerDependencies> class ScriptMessageHandler : public AnyScriptMessageHandler {
public:
    using Dependencies = HandlerDependencies;

    /// A page posted `messageBody`.
    /// Thread: the main thread.
    virtual void handleMessage(
        const std::string& messageName, const Value& messageBody, const Dependencies& dependencies) = 0;

    void handleMessage(const std::string& messageName, const Value& messageBody,
        const AnyDependencies& dependencies) override
    {
        handleMessage(messageName, messageBody, dependencies.forced<Dependencies>());
    }
};

namespace detail {

/// What a registry is apart from the type of its dependencies.
class MessageRegistry : public NSObject, public WKScriptMessageHandler {
public:
    using Handlers = std::vector<std::shared_ptr<AnyScriptMessageHandler>>;

    /// The handlers as given; registering does not empty the list.
    const Handlers unregisteredHandlers;

    /// Attaches every handler to the pages of the views that are made from the configuration. To be called
    /// once.
    /// Errors: stops the process when two handlers share a name, and when called again.
    void registerHandlers(WKWebViewConfiguration& in);

    /// Hands a message to the handler of its name.
    /// Errors: stops the process when there is none.
    void userContentController(
        WKUserContentController& userContentController, const WKScriptMessage& didReceive) override;

protected:
    explicit MessageRegistry(Handlers handlers)
        : unregisteredHandlers(std::move(handlers))
    {
    }

private:
    void registerHandler(const std::shared_ptr<AnyScriptMessageHandler>& handler);
    [[nodiscard]] const std::shared_ptr<AnyScriptMessageHandler>& getHandler(
        const WKScriptMessage& message) const;
    [[nodiscard]] virtual const AnyDependencies& dependencies() const = 0;

    std::map<std::string, std::shared_ptr<AnyScriptMessageHandler>, std::less<>> registeredHandlers;
};

} // namespace detail

/// The one object that a host attaches to a configuration for all of its pages' messages.
///
/// Everything that can go wrong here is a mistake in the host and stops the process; nothing is told to the
/// page, and no reply goes back to it.
/// Ownership: keeps its handlers and dependencies; the configuration's content controller keeps the registry.
/// Thread: the main thread.
template <class Dependencies> class WebViewMessageHandler final : public detail::MessageRegistry {
public:
    /// Registers nothing yet.
    WebViewMessageHandler(Dependencies dependencies, Handlers messageHandlers)
        : MessageRegistry(std::move(messageHandlers))
        , wrapped(std::move(dependencies))
    {
    }

    /// Not offered: stops the process.
    [[noreturn]] WebViewMessageHandler()
        : MessageRegistry({})
        , wrapped(unimplemented())
    {
        std::unreachable();
    }

private:
    [[noreturn]] static Dependencies unimplemented()
    {
        unimplementedInitializer("LumoKit.WebViewMessageHandler", "init()");
    }

    [[nodiscard]] const AnyDependencies& dependencies() const override { return wrapped; }

    const AnyDependencies wrapped;
};

} // namespace LumoKit
