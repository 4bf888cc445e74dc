#include "InboxApplication.h"

#include "InboxSettings.h"
#include "Support/SecretCookieStorage.h"
#include "Support/SharedAccounts.h"

#include <LumoKit/MailTo/MailToManager.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/JSONSerialization.h>
#include <LumoKit/Utility/FileSystem.h>
#include <LumoKit/Utility/Pluralize.h>
#include <LumoKit/WebView/BundleResources.h>

#include <algorithm>
#include <cmath>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr CGSize smallestWindow{700, 480};
constexpr double barHeight = 46;

std::string describe(const CGSize& size)
{
    return std::to_string(std::lround(size.width)) + " × " + std::to_string(std::lround(size.height));
}

/// What the handlers of the page's messages get: a way to the application that does not keep it.
class InboxDependencies : public HasInbox {
public:
    explicit InboxDependencies(const std::shared_ptr<HasInbox>& application)
        : application(application)
    {
    }
    void inboxReady(std::int64_t conversations, const Owner& owner) const override
    {
        tell(&HasInbox::inboxReady, conversations, owner);
    }
    void signInShown() const override { tell(&HasInbox::signInShown); }
    void unreadCountChanged(std::int64_t count) const override { tell(&HasInbox::unreadCountChanged, count); }
    void conversationOpened(const Conversation& opened) const override
    {
        tell(&HasInbox::conversationOpened, opened);
    }
    void conversationDone(const std::string& id, bool done) const override
    {
        tell(&HasInbox::conversationDone, id, done);
    }
    void composeOpened(const std::string& subject) const override { tell(&HasInbox::composeOpened, subject); }
    void mailSent(const std::string& subject) const override { tell(&HasInbox::mailSent, subject); }
    void pagePainted() const override { tell(&HasInbox::pagePainted); }
    void schemeChanged(const std::string& scheme) const override { tell(&HasInbox::schemeChanged, scheme); }
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
    , settings(Settings::create(UserDefaults::standard()))
{
}

void InboxApplication::start()
{
    followThemeMode();
    if (!page)
        receiveMailLinks();
    const CGSize kept = settings->get(InboxSettings::windowSize);
    const CGSize size{
        std::max(kept.width, smallestWindow.width), std::max(kept.height, smallestWindow.height)};
    report("opened as it was left: " + std::string(rawValue(settings->get(InboxSettings::themeMode))) + ", "
        + describe(size));
    mainWindow = NSWindow::create({{}, size});
    mainWindow->setMinSize(smallestWindow);
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
    view->setFrame({{}, {size.width, size.height - bar}});
    view->setAutoresizing(NSAutoresizing::sizable());
    content->addSubview(view);
    if (page) {
        titleObservation = view->observe("title", [weak = weak_from_this()](const KeyValueChange& change) {
            if (const auto application = weak.lock(); application && change.newValue.asText())
                application->setTitle(*change.newValue.asText());
        });
    } else {
        addControls(size);
    }
    mainWindow->center();
    mainWindow->makeKeyAndOrderFront();

    if (page)
        return view->load(*page);
    const Bundle& bundle = Bundle::main();
    const std::filesystem::path data = FileSystemUtils::applicationDataDirectoryURL().path();
    service = std::make_unique<ServiceProcess>(bundle.bundlePath() / "Contents" / "Linux" / "lumo-service",
        std::vector<std::string>{
            "--pages", bundle.resourcePath(), "--sign-in", "--sessions", data / "ServiceSessions"},
        [weak = weak_from_this()](const std::expected<std::string, Error>& origin) {
            const auto application = weak.lock();
            if (!application)
                return;
            if (!origin)
                return application->showOffline(origin.error());
            application->report("service: listening");
            application->showService(*origin);
        });
}

void InboxApplication::showService(const std::string& origin)
{
    const std::filesystem::path data = FileSystemUtils::applicationDataDirectoryURL().path();
    switcher = std::make_shared<AccountSwitcher>(view,
        std::make_shared<MultiCookieJar>(makeCookieStorage(data / "Cookies")), *URL::parse(origin + "/"));
    switcher->show(settings->get(InboxSettings::account));
}

bool InboxApplication::applicationShouldTerminate()
{
    if (!switcher || hasKeptCookies)
        return true;
    // The cookies of the last moment are kept first; an engine that does not answer must not hold up the end.
    const auto end = [weak = weak_from_this()] {
        const auto application = weak.lock();
        if (application && !std::exchange(application->hasKeptCookies, true))
            DispatchQueue::main()->async([] { NSApplication::shared().terminate(); });
    };
    switcher->keep(end);
    DispatchQueue::main()->asyncAfter(std::chrono::steady_clock::now() + std::chrono::seconds(2), end);
    return false;
}

void InboxApplication::followThemeMode()
{
    apply(settings->get(InboxSettings::themeMode));
    settings->subscribe(InboxSettings::themeMode, false, [this](ThemeMode mode) {
        apply(mode);
        report("theme chosen: " + std::string(rawValue(mode)));
    });
}

void InboxApplication::receiveMailLinks()
{
    // Each link is taken as it comes: one that started the application is there long before the page.
    MailToManager::shared()->handleMailTo([weak = weak_from_this()](const MailToParseResult& mail) {
        const auto application = weak.lock();
        if (!application)
            return false;
        application->mails.push_back(mail);
        application->composeMails();
        return true;
    });
    MailToManager::shared()->registerSystemHandler();
}

void InboxApplication::composeMails() const
{
    if (!ready)
        return;
    for (; !mails.empty(); mails.pop_front()) {
        const MailToParseResult& mail = mails.front();
        Value::Array recipients;
        for (const std::string& recipient : mail.recipients.value_or(std::vector<std::string>()))
            recipients.emplace_back(recipient);
        const auto draft = JSONSerialization::text(Value::Dictionary{{"to", std::move(recipients)},
            {"subject", mail.subject.value_or("")}, {"body", mail.body.value_or("")}});
        if (draft)
            scripts->execute("LumoInbox.compose(" + *draft + ")");
        mainWindow->makeKeyAndOrderFront();
    }
}

void InboxApplication::addControls(const CGSize& size)
{
    const double y = size.height - barHeight + 7;
    const auto content = mainWindow->contentView();
    accounts =
        std::make_shared<NSPopUpButton>(std::vector<std::string>(), CGRect{{size.width - 504, y}, {196, 32}});
    accounts->setAutoresizing({.minXMargin = true, .minYMargin = true});
    accounts->setAction([weak = weak_from_this()](NSPopUpButton& chosen) {
        const auto application = weak.lock();
        if (!application || !application->switcher)
            return;
        const auto shared = sharedAccounts();
        const auto index = static_cast<std::size_t>(chosen.indexOfSelectedItem());
        const std::string account = index < shared.size() ? shared[index].email() : "";
        application->report("account chosen: " + account);
        application->ready = false;
        application->switcher->show(account);
    });
    content->addSubview(accounts);
    showAccounts();

    themes = std::make_shared<NSPopUpButton>(
        std::vector<std::string>{"Automatic", "Light", "Dark"}, CGRect{{size.width - 296, y}, {136, 32}});
    themes->setAutoresizing({.minXMargin = true, .minYMargin = true});
    themes->selectItem(popupButtonIndex(settings->get(InboxSettings::themeMode)));
    themes->setAction([settings = settings](NSPopUpButton& chosen) {
        settings->set(InboxSettings::themeMode, themeMode(chosen.indexOfSelectedItem()));
    });
    content->addSubview(themes);

    button = std::make_shared<NSButton>("Mark as Done", CGRect{{size.width - 148, y}, {136, 32}});
    button->setAutoresizing({.minXMargin = true, .minYMargin = true});
    button->setEnabled(false);
    button->setAction([weak = weak_from_this()](NSButton&) {
        if (const auto application = weak.lock())
            application->markDone();
    });
    content->addSubview(button);
}

void InboxApplication::showAccounts() const
{
    accounts->removeAllItems();
    std::int64_t chosen = -1;
    for (const Account& account : sharedAccounts()) {
        if (switcher && account.email() == switcher->account())
            chosen = accounts->numberOfItems();
        accounts->addItem(account.fullname());
    }
    accounts->addItem("Add Account…");
    accounts->selectItem(chosen < 0 ? accounts->numberOfItems() - 1 : chosen);
}

void InboxApplication::windowDidResize(NSWindow& window)
{
    const CGSize size = window.frame().size;
    if (size == settings->get(InboxSettings::windowSize))
        return;
    settings->set(InboxSettings::windowSize, size);
    report("window size kept: " + describe(size));
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
    if (type == finishLoad && switcher)
        switcher->pageWasLoaded(url);
}

void InboxApplication::inboxReady(std::int64_t conversations, const Owner& owner) const
{
    report("page ready: " + std::to_string(conversations) + " " + pluralize("conversation", conversations));
    if (!owner.address.empty()) {
        shareAccount(owner.name, owner.address);
        settings->set(InboxSettings::account, owner.address);
        if (switcher)
            switcher->pageIsSignedIn(owner.address);
        showAccounts();
        report("account shown: " + owner.address);
    }
    for (const Account& account : sharedAccounts())
        report("account of the suite: " + account.fullname() + " <" + account.email() + ">");
    ready = true;
    composeMails();
}

void InboxApplication::signInShown() const
{
    report("sign-in form shown");
    setTitle("");
    if (button)
        button->setEnabled(false);
    if (switcher)
        switcher->pageIsSignedOut();
    showAccounts();
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
