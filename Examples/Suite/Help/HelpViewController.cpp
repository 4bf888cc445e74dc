#include "Help/HelpViewController.h"

#include "Help/AttributedHtml.h"
#include "Support/PageMessages.h"

#include <LumoKit/Extensions/Dictionary.h>
#include <LumoKit/Extensions/NSAttributedString.h>
#include <LumoKit/Extensions/NSButton.h>
#include <LumoKit/Extensions/NSColor.h>
#include <LumoKit/Extensions/NSView.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/JSONSerialization.h>
#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>
#include <LumoKit/SafariUserAgent.h>
#include <LumoKit/Utility/Alerts.h>
#include <LumoKit/Utility/HelpRequestInfo.h>
#include <LumoKit/Utility/Result.h>
#include <LumoKit/Utility/String+Utils.h>
#include <LumoKit/Utility/StringObfuscation.h>
#include <LumoKit/Utility/URLConvertible.h>
#include <LumoKit/WebView/BundleResources.h>
#include <LumoKit/WebView/LMWebView.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <algorithm>
#include <array>
#include <map>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Fields = std::map<std::string, std::string>;
using Key = NSAttributedStringKey;

constexpr std::int64_t longestFact = 56;

/// Whom to write to. It does not stand in the program as a text, where those look for it who send mails to everybody.
std::string mailbox()
{
    using enum Symbol;
    return text(std::array{h, e, l, p}) + "@" + text(std::array{l, u, m, o, s, u, i, t, e}) + "."
        + text(std::array{e, x, a, m, p, l, e});
}

/// A fact in one line of the form.
std::string fact(const std::string& words)
{
    const bool isPlain =
        std::ranges::all_of(words, [](char letter) { return letter >= ' ' && letter <= '~'; });
    return isPlain && words.size() > longestFact ? clipped(words, longestFact, "...") : words;
}

/// How the service took a request: its number, or why it did not.
Result<std::int64_t> numberOf(const Value& message)
{
    if (const auto number = message["asked"].asInteger())
        return Result<std::int64_t>::success(*number);
    return Result<std::int64_t>::failure(Error{.domain = "LumoSuite.Help",
        .code = static_cast<int>(message["failed"].asInteger().value_or(0)),
        .description = "The request could not be sent."});
}

NSAttributedString about()
{
    const NSAttributes name{
        {Key::font, NSFont{.bold = true}}, {Key::paragraphStyle, NSParagraphStyleAttribute{leftAligned()}}};
    const NSAttributes soft{{Key::foregroundColor, color("#7b8494", 1)}};
    return composed(std::array{styled(HelpRequestInfo::applicationName(), name), doubleSpace(),
        styled(HelpRequestInfo::versionNumber() + " (" + HelpRequestInfo::buildNumber() + ")", soft)});
}

NSAttributedString writing()
{
    const NSAttributes soft{{Key::foregroundColor, color("#7b8494", 1)},
        {Key::paragraphStyle, NSParagraphStyleAttribute{centerAligned()}}};
    NSAttributes link{{Key::foregroundColor, color("#3b82f6", 1)}, {Key::underlineStyle, 1}};
    if (const auto address = URL::parse("mailto:" + mailbox()))
        link.insert_or_assign(Key::link, *address);
    return composed(
        std::array{styled("Not answered? Write to us below, or to", soft), space(), styled(mailbox(), link)});
}

} // namespace

class HelpViewController::Messages : public ScriptMessageHandler<std::weak_ptr<HelpViewController>> {
    [[nodiscard]] std::string messageName() const override { return "help"; }
    void handleMessage(
        const std::string&, const Value& body, const std::weak_ptr<HelpViewController>& running) override
    {
        const auto controller = running.lock();
        if (!controller)
            return;
        const auto& report = controller->services->report;
        if (body["answers"].asText())
            report("help shown: " + textOf(body["answers"]));
        else if (body["form"].asText())
            report("help form: " + textOf(body["form"]) + ", " + textOf(body["facts"]) + ", "
                + textOf(body["browser"]));
        else
            controller->requestWasSent(body);
    }
};

void HelpViewController::setDependencies(Dependencies dependencies)
{
    services = std::move(dependencies);
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->setWebsiteDataStore(WKWebsiteDataStore::nonPersistent()); // it is the jar that keeps
    configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), "lumo-help");
    std::make_shared<WebViewMessageHandler<std::weak_ptr<HelpViewController>>>(
        weak(), std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<Messages>()})
        ->registerHandlers(*configuration);
    const auto page = ProxyWebView::create(configuration)->updated([weak = weak()](const auto& view) {
        view->navigationHandler = [weak](ProxyWebView::NavigationType type, const URL& address) {
            if (const auto controller = weak.lock())
                controller->navigated(type, address);
        };
        // Forms of this kind turn away what they do not know.
        view->setCustomUserAgent(std::string(SafariUserAgent::macOS_10_14__5_12_0_2));
    });
    scripts = std::make_unique<WebViewJavascriptExecutor>(page);

    const auto root = rootView();
    root->page = page;
    root->addSubviews();
    root->layOutSubviews();
    if (const auto button = root->writeButton()) {
        button->setEnabled(services->form.has_value());
        onAction(*button, [weak = weak()](const std::shared_ptr<NSObject>&) {
            if (const auto controller = weak.lock())
                controller->write();
        });
    }
    onAction(*root->tellsFacts, [weak = weak()](const std::shared_ptr<NSObject>&) {
        const auto controller = weak.lock();
        const auto shown = controller ? controller->rootView()->page->url() : std::nullopt;
        if (shown && shown->scheme() != "lumo-help") // the form has what was told before
            controller->write();
    });
    services->cookieJar()->injectCookies(*page, true, [weak = weak()] {
        if (const auto controller = weak.lock())
            load(*controller->rootView()->page, staticURL("lumo-help://app/answers.html"));
    });
}

void HelpViewController::navigated(ProxyWebView::NavigationType type, const URL& address)
{
    if (type != ProxyWebView::NavigationType::finishLoad)
        return;
    services->report("help page: " + address.path());
    if (address.scheme() == "lumo-help")
        showAnswers();
}

void HelpViewController::showAnswers()
{
    const auto answers = JSONSerialization::text(Value::Dictionary{{"about", htmlOf(about())},
        {"writing", htmlOf(writing())}, {"ground", cssOf(backgroundColor(*rootView()))}});
    if (answers)
        execute("LumoAnswers.show(" + *answers + ")");
}

void HelpViewController::write()
{
    if (!services->form)
        return;
    Fields fields{{"application", HelpRequestInfo::applicationName()}, {"contact", services->contact}};
    if (isOn(*rootView()->tellsFacts))
        update(fields,
            {{"version", HelpRequestInfo::versionNumber() + " (" + HelpRequestInfo::buildNumber() + ")"},
                {"browser", fact(UserAgentFetcher::shared()->userAgent())},
                {"system", fact(HelpRequestInfo::macOsVersion())}});
    load(*rootView()->page, HelpRequestInfo::prefillAirtableURL(*services->form, fields));
}

void HelpViewController::requestWasSent(const Value& message)
{
    const auto outcome = numberOf(message);
    const auto thanks = outcome.mapSuccess(
        [](std::int64_t number) { return "Your request has the number " + std::to_string(number) + "."; });
    if (!thanks.isSuccess())
        return showError(thanks.error().value_or(Error{}));
    services->cookieJar()->persistCookies(*rootView()->page); // the form notes who has asked
    const auto window = rootView()->window();
    if (!window)
        return;
    showAlert("Thank you", *thanks.value(), "Done", AlertPresentationStyle::sheet(window),
        [report = services->report, number = *outcome.value()] {
            report("help asked: " + std::to_string(number));
        });
}

} // namespace LumoSuite
