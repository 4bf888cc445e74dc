#pragma once

#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <memory>
#include <string>
#include <utility>

namespace LumoSuite {

class SuiteApplication;

/// What the handlers of a page's messages get: a way to the application that does not keep it.
using RunningApplication = std::weak_ptr<SuiteApplication>;

/// The text of a value; empty where it is none.
inline std::string textOf(const LumoKit::Value& value)
{
    const auto* text = value.asText();
    return text ? *text : "";
}

/// Handles the page's messages of one name. The page is not trusted: `handle` drops a body that is not as agreed.
template <class Application> class PageMessage : public LumoKit::ScriptMessageHandler<RunningApplication> {
public:
    using Handle = void (*)(Application& application, const LumoKit::Value& body);

    PageMessage(std::string name, Handle handle)
        : name(std::move(name))
        , handle(handle)
    {
    }

private:
    [[nodiscard]] std::string messageName() const override { return name; }
    void handleMessage(
        const std::string&, const LumoKit::Value& body, const RunningApplication& running) override
    {
        if (const auto application = std::dynamic_pointer_cast<Application>(running.lock()))
            handle(*application, body);
    }

    const std::string name;
    const Handle handle;
};

using PageMessages = std::vector<std::shared_ptr<LumoKit::AnyScriptMessageHandler>>;

} // namespace LumoSuite
