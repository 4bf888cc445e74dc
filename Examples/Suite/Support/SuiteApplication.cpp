#include "Support/SuiteApplication.h"

#include "Help/HelpCookieStorage.h"
#include "Support/SecretCookieStorage.h"
#include "Support/SharedAccounts.h"
#include "Support/SuiteSettings.h"
#include "Support/ThemeMenu.h"
#include "Support/UserAgentOperation.h"

#include <LumoKit/Extensions/NSWindowController.h>
#include <LumoKit/FileWatcher/WatchLocalInject.h>
#include <LumoKit/Platform/ApplicationKit/LaunchServices.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Utility/Alerts.h>
#include <LumoKit/Utility/FileSystem.h>
#include <LumoKit/Utility/NSView+Payload.h>
#include <LumoKit/Utility/ResetApp.h>
#include <LumoKit/Utility/URLCommandParser.h>
#include <LumoKit/WebView/Attachments.h>
#include <LumoKit/WebView/BundleResources.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <algorithm>
#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr std::uint16_t findAgain = 99; // the key F3
constexpr double accountWidth = 196;
constexpr double themeWidth = 136;

} // namespace

SuiteApplication::SuiteApplication(
    App app, std::string folder, std::optional<OtherPage> otherPage, Report report)
    : report(std::move(report))
    , app(app)
    , name(otherPage && !otherPage->name.empty() ? otherPage->name : CrossApp::name(app))
    , folder(std::move(folder))
    , otherPage(std::move(otherPage))
    , settings(Settings::create(UserDefaults::standard()))
{
}

void SuiteApplication::start()
{
    followTheme(settings, report);
    mainWindow = SuiteWindow::create(name, settings, report);
    makePage();
    if (otherPage) { // which has no use for what is ours
        titleObservation = view->observe("title", [weak = weak_from_this()](const KeyValueChange& change) {
            if (const auto application = weak.lock(); application && change.newValue.asText())
                application->mainWindow->setTitle(*change.newValue.asText());
        });
        mainWindow->show(view);
        return view->load(otherPage->address);
    }
    receiveLinks();
    makeMenu();
    makeControls();
    mainWindow->show(view);
    startService();
}

void SuiteApplication::makePage()
{
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->developerExtrasEnabled = true;
    configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), "lumo-" + folder);
    PageMessages messages = commonMessages();
    std::ranges::copy(pageMessages(), std::back_inserter(messages));
    std::make_shared<WebViewMessageHandler<RunningApplication>>(weak_from_this(), std::move(messages))
        ->registerHandlers(*configuration);

    view = std::make_shared<LMWebView>(CGRect{}, configuration);
    view->keyCodesToSilence = {KeyCode{findAgain}}; // the page's search has a key of its own
    view->setNavigationDelegate(weak_from_this());
    view->setUIDelegate(weak_from_this());
    view->setCustomUserAgent(UserAgentFetcher::shared()->userAgent());
    scripts = std::make_unique<WebViewJavascriptExecutor>(view);
}

PageMessages SuiteApplication::commonMessages() const
{
    using Message = PageMessage<SuiteApplication>;
    return {
        std::make_shared<Message>("signInShown",
            [](SuiteApplication& application, const Value&) { application.pageAsksToSignIn(); }),
        std::make_shared<Message>("injected",
            [](SuiteApplication& application, const Value& body) {
                application.report("script injected: " + textOf(body));
            }),
        std::make_shared<Message>("painted",
            [](SuiteApplication& application, const Value&) { application.report("page painted"); }),
        std::make_shared<Message>("schemeChanged",
            [](SuiteApplication& application, const Value& body) {
                application.report("page is " + textOf(body));
            }),
        std::make_shared<Message>("pageError",
            [](SuiteApplication& application, const Value& body) {
                application.report("page error: " + textOf(body["message"]));
            }),
    };
}

void SuiteApplication::makeControls()
{
    addControls();
    themes = makeThemeMenu(settings);
    mainWindow->addControl(themes, themeWidth);
    accounts = std::make_unique<AccountMenu>(
        [weak = weak_from_this()](const std::string& address) {
            const auto application = weak.lock();
            if (!application)
                return;
            application->report("account chosen: " + address);
            application->showAccount(address);
        },
        report);
    accounts->update(shownAccount());
    mainWindow->addControl(accounts->button(), accountWidth);
}

void SuiteApplication::makeMenu()
{
    const auto bar = std::make_shared<NSMenu>();
    const auto settingsItem = std::make_shared<NSMenuItem>(
        "Settings…",
        [settings = settings, report = report](NSMenuItem&) {
            report("settings shown");
            askForTheme(settings);
        },
        ",");
    const std::string shortName = name.substr(name.rfind(' ') + 1);
    addMenu(*bar, shortName,
        {settingsItem, menuItem("Forget Website Data…", &SuiteApplication::askToForget),
            NSMenuItem::separator(), menuItem("Quit", &SuiteApplication::askToQuit, "q")});
    addMenus(*bar);
    addMenu(*bar, "Suite", siblings());
    addMenu(*bar, "Developer", {menuItem("Use a Local Script…", &SuiteApplication::watchLocalScript)});
    addMenu(*bar, "Help", {menuItem("Lumo Help", &SuiteApplication::showHelp, "?")});
    NSApplication::shared().setMainMenu(bar);
}

MenuItems SuiteApplication::siblings()
{
    MenuItems items;
    for (const App sibling : {App::gmail, App::calendar, App::inbox, App::dashboard}) {
        if (sibling == app)
            continue;
        const std::string key = std::to_string(items.size() + 1);
        items.push_back(std::make_shared<NSMenuItem>(
            "Show " + CrossApp::name(sibling),
            [weak = weak_from_this()](NSMenuItem& item) {
                if (const auto application = weak.lock())
                    application->showSibling(std::any_cast<App>(payload(item)));
            },
            key));
        setPayload(*items.back(), sibling);
    }
    return items;
}

void SuiteApplication::showSibling(App sibling)
{
    report((CrossApp::open(sibling) ? "sibling shown: " : "no sibling: ") + CrossApp::name(sibling));
}

void SuiteApplication::showHelp()
{
    if (help)
        return help->showWindow();
    if (!helpCookies)
        helpCookies = std::make_shared<CookieJar>(std::make_shared<HelpCookieStorage>(
            makeCookieStorage(FileSystemUtils::applicationDataDirectoryURL().path() + "/HelpCookies"),
            report));
    const auto form = origin.empty() ? std::nullopt : URL::parse(origin + "/help/");
    help =
        HelpWindowController::open(std::make_shared<HelpServices>(form, shownAccount(), helpCookies, report));
    onClose(*help, [weak = weak_from_this()] {
        const auto application = weak.lock();
        if (!application || !application->help)
            return;
        // It is closing still, and released afterwards.
        DispatchQueue::main()->async([closed = std::exchange(application->help, nullptr)] { });
        application->report("help closed");
    });
}

// ---- the service and its script

void SuiteApplication::startService()
{
    const Bundle& bundle = Bundle::main();
    const std::filesystem::path data = FileSystemUtils::applicationDataDirectoryURL().path();
    service = std::make_unique<ServiceProcess>(bundle.bundlePath() / "Contents" / "Linux" / "lumo-service",
        std::vector<std::string>{
            "--pages", bundle.resourcePath(), "--sign-in", "--sessions", data / "ServiceSessions"},
        [weak = weak_from_this()](const std::expected<std::string, Error>& listening) {
            const auto application = weak.lock();
            if (!application)
                return;
            if (!listening) {
                application->report("service: " + listening.error().description);
                return application->view->load(
                    *URL::parse("lumo-" + application->folder + "://app/offline.html"));
            }
            application->report("service: listening");
            application->origin = *listening;
            application->showService();
        });
}

void SuiteApplication::showService()
{
    tellOfStart();
    downloader =
        std::make_shared<InjectDownloader>(std::static_pointer_cast<SuiteApplication>(shared_from_this()));
    downloader->downloadInject([weak = weak_from_this()](const std::string& js) {
        if (const auto application = weak.lock())
            application->inject(js);
    });
    const std::filesystem::path data = FileSystemUtils::applicationDataDirectoryURL().path();
    switcher = std::make_shared<AccountSwitcher>(view,
        std::make_shared<MultiCookieJar>(makeCookieStorage(data / "Cookies")),
        *URL::parse(origin + "/" + folder));
    switcher->show(commanded.value_or(settings->get(SuiteSettings::account)));
}

void SuiteApplication::tellOfStart()
{
    // The service is asked for a user agent, and so learns of every start; what pages see is settled before.
    UserAgentFetcher::setShared(
        UserAgentFetcher::create({.url = *URL::parse(origin + "/user_agent/v1/latest"),
            .configuration = URLSessionConfiguration::defaultConfiguration()}));
    const auto asking = std::make_shared<UserAgentOperation>(UserAgentFetcher::shared());
    asking->setCompletionBlock([weak = weak_from_this()] {
        DispatchQueue::main()->async([weak] {
            if (const auto application = weak.lock())
                application->report("service told of the start");
        });
    });
    operations.addOperation(asking);
}

URL SuiteApplication::injectURL() const
{
    return *URL::parse(origin + "/inject/" + folder + ".js");
}

void SuiteApplication::inject(const std::string& js)
{
    script = js;
    if (ready)
        execute(script);
}

void SuiteApplication::watchLocalScript()
{
    presentFilePickerAndWatch(shared_from_this(), [weak = weak_from_this()](const std::string& js) {
        if (const auto application = weak.lock())
            application->inject(js);
    });
}

// ---- accounts

void SuiteApplication::showAccount(const std::string& address)
{
    ready = false;
    pageIsGone();
    if (switcher)
        switcher->show(address);
    else
        commanded = address;
}

void SuiteApplication::pageIsShown(const Value& owner)
{
    if (switcher && switcher->isUnderWay())
        return; // a last word of the page that is being left
    const std::string address = textOf(owner["address"]);
    if (!address.empty()) {
        const std::string image = textOf(owner["image"]);
        shareAccount(
            textOf(owner["name"]), address, image.empty() ? std::nullopt : URL::parse(origin + image));
        settings->set(SuiteSettings::account, address);
        if (switcher)
            switcher->pageIsSignedIn(address);
        accounts->update(shownAccount());
        report("account shown: " + address);
    }
    for (const Account& account : sharedAccounts())
        report("account of the suite: " + account.fullname() + " <" + account.email() + ">");
    ready = true;
    if (!script.empty())
        execute(script);
    pageIsReady();
}

void SuiteApplication::pageAsksToSignIn()
{
    if (switcher && switcher->isUnderWay())
        return;
    report("sign-in form shown");
    ready = false;
    mainWindow->setTitle("");
    if (switcher)
        switcher->pageIsSignedOut();
    accounts->update(shownAccount());
    pageIsGone();
}

void SuiteApplication::askToForget()
{
    askConfirmation("Forget what pages have stored?",
        name + " is started again. Accounts stay signed in, as their cookies are kept apart.", "Forget",
        "Cancel", std::nullopt, AlertPresentationStyle::sheet(window()), [report = report](bool confirmed) {
            if (!confirmed)
                return;
            report("website data forgotten");
            resetWebStuff([report] {
                report("started again");
                relaunchApp();
            });
        });
}

void SuiteApplication::askToQuit()
{
    askConfirmation("Quit " + name + "?", "What comes meanwhile is there when it is started again.", "Quit",
        "Cancel", AlertSuppressionInfo{std::string(SuiteSettings::quitsWithoutAsking), "Do not ask again"},
        AlertPresentationStyle::sheet(window()), [report = report](bool confirmed) {
            report(confirmed ? "quit" : "not quit");
            if (confirmed)
                quitApp();
        });
}

bool SuiteApplication::applicationShouldTerminate()
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

// ---- links

void SuiteApplication::receiveLinks()
{
    NSAppleEventManager::sharedAppleEventManager().setEventHandler(
        shared_from_this(), &SuiteApplication::openLink, kInternetEventClass, kAEGetURL);
    // The scheme is the application's own, and nobody else is asked.
    if (app != App::dashboard)
        if (const auto made = LaunchServices::setDefaultHandler(CrossApp::urlScheme(app)); !made)
            report("links: " + made.error().description);
}

void SuiteApplication::openLink(const NSAppleEventDescriptor& event, NSAppleEventDescriptor&)
{
    const auto object = event.paramDescriptor(keyDirectObject);
    const auto link = object ? object->stringValue() : std::nullopt;
    static const URLCommandParser parser(
        {urlCommandType<OpenAccountCommand>, urlCommandType<OpenURLCommand>});
    const auto command = link ? parser.parse(*link) : nullptr;
    window()->makeKeyAndOrderFront();
    if (const auto* account = dynamic_cast<const OpenAccountCommand*>(command.get())) {
        openAccount(account->email);
    } else if (const auto* address = dynamic_cast<const OpenURLCommand*>(command.get())) {
        report("address commanded: " + address->url);
        const auto url = URL::parse(address->url);
        if (!url || !openAddress(*url))
            report("address refused");
    } else {
        report("no command: " + link.value_or(""));
    }
}

bool SuiteApplication::openAccount(const std::string& address)
{
    // Only accounts that somebody signed in to have a jar of cookies; links come from anywhere.
    const auto shared = sharedAccounts();
    const bool isKnown = std::ranges::find(shared, address, &Account::email) != shared.end();
    report((isKnown ? "account commanded: " : "no such account: ") + address);
    if (isKnown && !(ready && address == shownAccount()))
        showAccount(address);
    return isKnown;
}

// ---- the page

void SuiteApplication::navigated(const char* what) const
{
    const auto url = view->url();
    const std::string address = !url ? "" : otherPage ? url->absoluteString() : url->path();
    report(std::string("navigation ") + what + ": " + address);
}

void SuiteApplication::didFinish(WKWebView&)
{
    navigated("finish");
    if (const auto url = view->url(); url && switcher)
        switcher->pageWasLoaded(*url);
}

void SuiteApplication::runOpenPanel(
    WKWebView&, const WKOpenPanelParameters& with, WKUIDelegate::OpenPanelCompletion completionHandler)
{
    handleAttachmentUpload(window(), with, std::move(completionHandler));
}

} // namespace LumoSuite
