#include "InboxApplication.h"

#include "InboxSettings.h"
#include "Support/SecretCookieStorage.h"
#include "Support/SharedAccounts.h"

#include <LumoKit/FileWatcher/WatchLocalInject.h>
#include <LumoKit/MailTo/MailToManager.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSMenuItem.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/JSONSerialization.h>
#include <LumoKit/Utility/AccountImageDownload.h>
#include <LumoKit/Utility/Alerts.h>
#include <LumoKit/Utility/FileSystem.h>
#include <LumoKit/Utility/Pluralize.h>
#include <LumoKit/Utility/ResetApp.h>
#include <LumoKit/WebView/Attachments.h>
#include <LumoKit/WebView/BundleResources.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <algorithm>
#include <cmath>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr CGSize smallestWindow{700, 480};
constexpr double barHeight = 46;
constexpr std::uint16_t findAgain = 99; // the key F3

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
    void scriptInjected(const std::string& version) const override
    {
        tell(&HasInbox::scriptInjected, version);
    }
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
    if (!page)
        makeMenu();

    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->developerExtrasEnabled = true;
    configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), "lumo-inbox");
    const auto registry = std::make_shared<WebViewMessageHandler<InboxDependencies>>(
        InboxDependencies(shared_from_this()), makeInboxHandlers());
    registry->registerHandlers(*configuration);

    view = std::make_shared<LMWebView>(CGRect{}, configuration);
    view->keyCodesToSilence = {KeyCode{findAgain}}; // the page's search has a key of its own
    view->setNavigationDelegate(weak_from_this());
    view->setUIDelegate(weak_from_this());
    view->setCustomUserAgent(UserAgentFetcher::shared()->userAgent());
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

void InboxApplication::showService(const std::string& listening)
{
    origin = listening;
    downloader = std::make_shared<InjectDownloader>(shared_from_this());
    downloader->downloadInject([weak = weak_from_this()](const std::string& js) {
        if (const auto application = weak.lock())
            application->inject(js);
    });
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
        if (!account.imageURL())
            continue;
        AccountImageDownloader::fetchProfileImageForAccountMenu(*account.imageURL(),
            [report = report, weak = std::weak_ptr(accounts), title = account.fullname(),
                index = accounts->numberOfItems() - 1](const std::shared_ptr<NSImage>& image) {
                if (const auto menu = weak.lock(); menu && image) {
                    menu->setImage(image, index);
                    report("avatar shown: " + title);
                }
            });
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

void InboxApplication::navigated(const char* what) const
{
    const auto url = view->url();
    const std::string address = !url ? "" : page ? url->absoluteString() : url->path();
    report(std::string("navigation ") + what + ": " + address);
}

void InboxApplication::didFinish(WKWebView&)
{
    navigated("finish");
    if (const auto url = view->url(); url && switcher)
        switcher->pageWasLoaded(*url);
}

void InboxApplication::runOpenPanel(
    WKWebView&, const WKOpenPanelParameters& with, WKUIDelegate::OpenPanelCompletion completionHandler)
{
    handleAttachmentUpload(mainWindow, with, std::move(completionHandler));
}

URL InboxApplication::injectURL() const
{
    return *URL::parse(origin + "/inject/inbox.js");
}

void InboxApplication::inject(const std::string& js) const
{
    script = js;
    if (ready)
        scripts->execute(js);
}

void InboxApplication::makeMenu()
{
    const auto weak = weak_from_this();
    const auto call = [weak](void (InboxApplication::*action)()) {
        return [weak, action](NSMenuItem&) {
            if (const auto application = weak.lock())
                ((*application).*action)();
        };
    };
    const auto add = [](NSMenu& bar, const std::string& title,
                         std::vector<std::shared_ptr<NSMenuItem>> items) {
        const auto menu = std::make_shared<NSMenu>(title);
        for (const auto& item : items)
            menu->addItem(item);
        const auto entry = std::make_shared<NSMenuItem>(title);
        entry->setSubmenu(menu);
        bar.addItem(entry);
    };
    const auto bar = std::make_shared<NSMenu>();
    add(*bar, "Inbox",
        {std::make_shared<NSMenuItem>("Settings…", call(&InboxApplication::askForTheme), ","),
            std::make_shared<NSMenuItem>("Forget Website Data…", call(&InboxApplication::askToForget)),
            NSMenuItem::separator(),
            std::make_shared<NSMenuItem>("Quit", [](NSMenuItem&) { quitApp(); }, "q")});
    add(*bar, "Conversation",
        {std::make_shared<NSMenuItem>("Mark as Done", call(&InboxApplication::markDone), "d"),
            std::make_shared<NSMenuItem>("Print…", call(&InboxApplication::printConversation), "p")});
    add(*bar, "Developer", {std::make_shared<NSMenuItem>("Use a Local Script…", [weak](NSMenuItem&) {
        if (const auto application = weak.lock())
            presentFilePickerAndWatch(application, [weak](const std::string& js) {
                if (const auto alive = weak.lock())
                    alive->inject(js);
            });
    })});
    NSApplication::shared().setMainMenu(bar);
}

void InboxApplication::printConversation()
{
    view->evaluateJavaScript("LumoInbox.printable()",
        [weak = weak_from_this()](const std::optional<Value>& document, const std::optional<Error>&) {
            const auto application = weak.lock();
            const auto* html = document ? document->asText() : nullptr;
            if (!application || !html || html->empty())
                return;
            if (!application->printer)
                application->printer = std::make_shared<WebPrinter>(application->mainWindow);
            application->printer->printHtml(*html, URL::parse(application->origin + "/inbox/"));
        });
}

void InboxApplication::askForTheme()
{
    report("settings shown");
    showThreeButtonPopup("Light or dark?", "Automatic follows the desktop.", "Automatic", "Light", "Dark",
        [settings = settings](std::size_t chosen) {
            settings->set(InboxSettings::themeMode, themeMode(static_cast<std::int64_t>(chosen)));
        });
}

void InboxApplication::askToForget()
{
    askConfirmation("Forget what pages have stored?",
        "Lumo for Inbox is started again. Accounts stay signed in, as their cookies are kept apart.",
        "Forget", "Cancel", std::nullopt, AlertPresentationStyle::sheet(mainWindow), [](bool confirmed) {
            if (confirmed)
                resetWebStuff(&relaunchApp);
        });
}

void InboxApplication::inboxReady(std::int64_t conversations, const Owner& owner) const
{
    report("page ready: " + std::to_string(conversations) + " " + pluralize("conversation", conversations));
    if (!owner.address.empty()) {
        shareAccount(
            owner.name, owner.address, owner.image.empty() ? std::nullopt : URL::parse(origin + owner.image));
        settings->set(InboxSettings::account, owner.address);
        if (switcher)
            switcher->pageIsSignedIn(owner.address);
        showAccounts();
        report("account shown: " + owner.address);
    }
    for (const Account& account : sharedAccounts())
        report("account of the suite: " + account.fullname() + " <" + account.email() + ">");
    ready = true;
    if (!script.empty())
        scripts->execute(script);
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
