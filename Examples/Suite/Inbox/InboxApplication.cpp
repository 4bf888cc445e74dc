#include "InboxApplication.h"

#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Utility/Pluralize.h>
#include <LumoKit/WebView/BundleResources.h>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr CGSize windowSize{1180, 760};
constexpr double barHeight = 46;

/// What the handlers of the page's messages get: a way to the application that does not keep it.
class InboxDependencies : public HasInbox {
public:
    explicit InboxDependencies(const std::shared_ptr<HasInbox>& application)
        : application(application)
    {
    }
    void inboxReady(std::int64_t conversations) const override { tell(&HasInbox::inboxReady, conversations); }
    void unreadCountChanged(std::int64_t count) const override { tell(&HasInbox::unreadCountChanged, count); }
    void conversationOpened(const Conversation& opened) const override
    {
        tell(&HasInbox::conversationOpened, opened);
    }
    void conversationDone(const std::string& id, bool done) const override
    {
        tell(&HasInbox::conversationDone, id, done);
    }
    void pagePainted() const override { tell(&HasInbox::pagePainted); }
    void pageFailed(const std::string& message, const std::string& source, std::int64_t line) const override
    {
        tell(&HasInbox::pageFailed, message, source, line);
    }

private:
    template <class... Arguments>
    void tell(void (HasInbox::*message)(Arguments...) const,
        const std::type_identity_t<Arguments>&... arguments) const
    {
        if (const auto alive = application.lock())
            ((*alive).*message)(arguments...);
    }

    std::weak_ptr<HasInbox> application;
};

} // namespace

InboxApplication::InboxApplication(std::optional<URL> page, std::function<void(const std::string&)> report)
    : page(std::move(page))
    , report(std::move(report))
{
}

void InboxApplication::start()
{
    mainWindow = NSWindow::create({{}, windowSize});
    mainWindow->setMinSize({700, 480});
    mainWindow->setDelegate(weak_from_this());
    setTitle("");

    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->developerExtrasEnabled = true;
    configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), "lumo-inbox");
    const auto registry = std::make_shared<WebViewMessageHandler<InboxDependencies>>(
        InboxDependencies(shared_from_this()), makeInboxHandlers());
    registry->registerHandlers(*configuration);

    view = ProxyWebView::create(configuration)->updated([this](const std::shared_ptr<ProxyWebView>& made) {
        made->navigationHandler = [weak = weak_from_this()](
                                      ProxyWebView::NavigationType type, const URL& url) {
            if (const auto application = weak.lock())
                application->navigated(type, url);
        };
    });
    scripts = std::make_unique<WebViewJavascriptExecutor>(view);

    const auto content = mainWindow->contentView();
    const double bar = page ? 0 : barHeight; // a page that is not ours has no use for our control
    view->setFrame({{}, {windowSize.width, windowSize.height - bar}});
    view->setAutoresizing(NSAutoresizing::sizable());
    content->addSubview(view);
    if (page) {
        titleObservation = view->observe("title", [weak = weak_from_this()](const KeyValueChange& change) {
            if (const auto application = weak.lock(); application && change.newValue.asText())
                application->setTitle(*change.newValue.asText());
        });
    } else {
        button = std::make_shared<NSButton>(
            "Mark as Done", CGRect{{windowSize.width - 148, windowSize.height - bar + 7}, {136, 32}});
        button->setAutoresizing({.minXMargin = true, .minYMargin = true});
        button->setEnabled(false);
        button->setAction([weak = weak_from_this()](NSButton&) {
            if (const auto application = weak.lock())
                application->markDone();
        });
        content->addSubview(button);
    }
    mainWindow->center();
    mainWindow->makeKeyAndOrderFront();

    if (page)
        return view->load(*page);
    const Bundle& bundle = Bundle::main();
    service = std::make_unique<ServiceProcess>(bundle.bundlePath() / "Contents" / "Linux" / "lumo-service",
        bundle.resourcePath(), [weak = weak_from_this()](const std::expected<std::string, Error>& origin) {
            const auto application = weak.lock();
            if (!application)
                return;
            if (!origin)
                return application->showOffline(origin.error());
            application->report("service: listening");
            application->view->load(*URL::parse(*origin + "/"));
        });
}

void InboxApplication::markDone()
{
    scripts->execute("LumoInbox.markDone()");
}

void InboxApplication::showOffline(const Error& error)
{
    report("service: " + error.description);
    view->load(*URL::parse("lumo-inbox://app/offline.html"));
}

void InboxApplication::setTitle(const std::string& title) const
{
    const std::string name = "Lumo for Inbox";
    mainWindow->setTitle(title.empty() ? name : title + " – " + name);
}

void InboxApplication::navigated(ProxyWebView::NavigationType type, const URL& url) const
{
    using enum ProxyWebView::NavigationType;
    const std::string what = type == startLoad ? "start" : type == redirect ? "redirect" : "finish";
    report("navigation " + what + ": " + (page ? url.absoluteString() : url.path()));
}

void InboxApplication::inboxReady(std::int64_t conversations) const
{
    report("page ready: " + std::to_string(conversations) + " " + pluralize("conversation", conversations));
}

void InboxApplication::unreadCountChanged(std::int64_t count) const
{
    setTitle(count == 0 ? "" : std::to_string(count) + " unread");
    report("window title: " + mainWindow->title());
}

void InboxApplication::conversationOpened(const Conversation& conversation) const
{
    if (button)
        button->setEnabled(true);
    report("conversation opened: " + conversation.subject);
}

void InboxApplication::conversationDone(const std::string& id, bool done) const
{
    report(std::string("conversation ") + (done ? "done" : "not done") + ": " + id);
}

void InboxApplication::pageFailed(const std::string& message, const std::string&, std::int64_t) const
{
    report("page error: " + message);
}

} // namespace LumoSuite
