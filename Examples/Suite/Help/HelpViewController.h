#pragma once

#include "Help/HelpServices.h"
#include "Help/HelpView.h"

#include <LumoKit/Platform/ApplicationKit/NSViewController.h>
#include <LumoKit/View/ViewController.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>
#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <memory>

namespace LumoSuite {

/// In charge of what the help window shows: answers that are shipped with the application, and a form for whoever has not
/// found one. The form's page is somebody else's: it has cookies of its own, which are kept in a jar.
///
/// Thread: the main thread.
class HelpViewController : public LumoKit::NSViewController,
                           public LumoKit::ViewController<std::shared_ptr<const HelpServices>, HelpView> {
public:
    [[nodiscard]] const Dependencies& dependencies() const override { return services; }
    /// Shows the answers.
    void setDependencies(Dependencies dependencies) override;

    /// Opens the form, with what is known filled in.
    void write();

    /// Runs a script in the page.
    void execute(const std::string& js) { scripts->execute(js); }

private:
    class Messages;

    void navigated(LumoKit::ProxyWebView::NavigationType type, const LumoKit::URL& address);
    void showAnswers();
    void requestWasSent(const LumoKit::Value& message);
    [[nodiscard]] std::weak_ptr<HelpViewController> weak()
    {
        return std::static_pointer_cast<HelpViewController>(shared_from_this());
    }

    Dependencies services;
    std::unique_ptr<LumoKit::WebViewJavascriptExecutor> scripts;
};

} // namespace LumoSuite
