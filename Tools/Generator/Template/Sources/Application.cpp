#include "Application.h"

#include "CookieFolder.h"
#include "Host.h"
#include "Links.h"
#include "Preferences.h"

#include <LumoKit/Platform/ApplicationKit/NSMenuItem.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/Alerts.h>
#include <LumoKit/Utility/FileSystem.h>
#include <LumoKit/Utility/ResetApp.h>
#include <LumoKit/WebView/Attachments.h>
#include <LumoKit/WebView/BundleResources.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

namespace Host {

using namespace LumoKit;

namespace {

constexpr const char* resources =
    "@{scheme}-app"; // the scheme of the pages that are shipped with the application
constexpr CGSize smallest{480, 360};

std::shared_ptr<NSMenu> addMenu(NSMenu& bar, const std::string& title)
{
    const auto menu = std::make_shared<NSMenu>(title);
    const auto entry = std::make_shared<NSMenuItem>(title);
    entry->setSubmenu(menu);
    bar.addItem(entry);
    return menu;
}

} // namespace

Application::Application(URL home)
    : home(std::move(home))
    , settings(Settings::create(UserDefaults::standard()))
{
}

void Application::start()
{
    apply(settings->get(Preferences::themeMode));
    settings->subscribe(Preferences::themeMode, false, [](ThemeMode mode) { apply(mode); });
    makeWindow();
    makeMenus();
    const std::filesystem::path data = FileSystemUtils::applicationDataDirectoryURL().path();
    switcher = std::make_shared<AccountSwitcher>(
        view, std::make_shared<MultiCookieJar>(std::make_shared<CookieFolder>(data / "Cookies")), home);
    NSAppleEventManager::sharedAppleEventManager().setEventHandler(
        shared_from_this(), &Application::openLink, kInternetEventClass, kAEGetURL);
    showAccount(settings->get(Preferences::account));
}

void Application::makeWindow()
{
    const CGSize size{std::max(settings->get(Preferences::width), smallest.width),
        std::max(settings->get(Preferences::height), smallest.height)};
    window = NSWindow::create({{}, size});
    window->setTitle(name);
    window->setMinSize(smallest);
    window->setDelegate(weak_from_this());

    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->setURLSchemeHandler(std::make_shared<BundleResources>(Bundle::main()), resources);
    view = std::make_shared<LMWebView>(CGRect{{}, size}, configuration);
    view->setAutoresizing(NSAutoresizing::sizable());
    view->setNavigationDelegate(weak_from_this());
    view->setUIDelegate(weak_from_this());
    window->contentView()->addSubview(view);
    window->center();
    window->makeKeyAndOrderFront();
}

void Application::makeMenus()
{
    const auto bar = std::make_shared<NSMenu>();
    const auto weak = weak_from_this();
    const auto call = [&weak](void (Application::*action)()) {
        return [weak, action](NSMenuItem&) {
            if (const auto application = weak.lock())
                ((*application).*action)();
        };
    };
    const auto application = addMenu(*bar, name);
    application->addItem(std::make_shared<NSMenuItem>("Reload", call(&Application::reload), "r"));
    application->addItem(NSMenuItem::separator());
    application->addItem(std::make_shared<NSMenuItem>("Quit", [](NSMenuItem&) { quitApp(); }, "q"));

    accounts = addMenu(*bar, "Account");

    themes = addMenu(*bar, "Theme");
    constexpr std::array modes{std::pair("Automatic", ThemeMode::automatic),
        std::pair("Light", ThemeMode::forceLight), std::pair("Dark", ThemeMode::forceDark)};
    for (const auto& [title, mode] : modes) {
        const auto item = std::make_shared<NSMenuItem>(title, [weak, mode](NSMenuItem& chosen) {
            const auto alive = weak.lock();
            if (!alive)
                return;
            alive->settings->set(Preferences::themeMode, mode);
            for (const auto& other : alive->themes->items())
                other->setState(other.get() == &chosen ? NSMenuItem::State::on : NSMenuItem::State::off);
        });
        item->setState(
            mode == settings->get(Preferences::themeMode) ? NSMenuItem::State::on : NSMenuItem::State::off);
        themes->addItem(item);
    }
    NSApplication::shared().setMainMenu(bar);
}

void Application::showAccounts()
{
    accounts->removeAllItems();
    const std::string shown = settings->get(Preferences::account);
    for (const std::string& account : settings->get(Preferences::accounts)) {
        const auto item =
            std::make_shared<NSMenuItem>(account, [weak = weak_from_this(), account](NSMenuItem&) {
                if (const auto application = weak.lock())
                    application->showAccount(account);
            });
        item->setState(account == shown ? NSMenuItem::State::on : NSMenuItem::State::off);
        accounts->addItem(item);
    }
    accounts->addItem(std::make_shared<NSMenuItem>("Add Account…", [weak = weak_from_this()](NSMenuItem&) {
        if (const auto application = weak.lock())
            application->askForAccount();
    }));
}

void Application::showAccount(const std::string& account)
{
    auto known = settings->get(Preferences::accounts);
    if (!account.empty() && std::ranges::find(known, account) == known.end()) {
        known.push_back(account);
        settings->set(Preferences::accounts, known);
    }
    settings->set(Preferences::account, account);
    showAccounts();
    print("account shown: " + account);
    switcher->show(account);
}

void Application::askForAccount()
{
    showTextInputAlert("The new account's address?", AlertPresentationStyle::sheet(window),
        [weak = weak_from_this()](const std::optional<std::string>& address) {
            if (const auto application = weak.lock(); application && address && !address->empty())
                application->showAccount(*address);
        });
}

void Application::openLink(const NSAppleEventDescriptor& event, NSAppleEventDescriptor&)
{
    const auto link = event.paramDescriptor(keyDirectObject);
    const auto wish = link && link->stringValue() ? wishOf(*link->stringValue(), home) : std::nullopt;
    if (!wish)
        return print("a link that asks for nothing here was left alone");
    window->makeKeyAndOrderFront();
    if (wish->account)
        showAccount(*wish->account);
    else
        view->load(*wish->page);
}

void Application::reload()
{
    view->load(home);
}

bool Application::applicationShouldTerminate()
{
    if (hasKeptCookies)
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

void Application::windowDidResize(NSWindow& resized)
{
    const CGSize size = resized.frame().size;
    settings->set(Preferences::width, size.width);
    settings->set(Preferences::height, size.height);
}

void Application::didFinish(WKWebView&)
{
    const auto url = view->url();
    if (!url)
        return;
    print("page shown: " + url->absoluteString());
    switcher->pageWasLoaded(*url);
    if (const std::string account = settings->get(Preferences::account);
        isSignedIn(*url, home) && !account.empty())
        switcher->pageIsSignedIn(account);
}

void Application::didFailProvisionalNavigation(WKWebView&, const Error& error)
{
    print("page not shown: " + error.description);
    view->load(*URL::parse(std::string(resources) + "://app/offline.html"));
}

void Application::runOpenPanel(
    WKWebView&, const WKOpenPanelParameters& with, OpenPanelCompletion completionHandler)
{
    handleAttachmentUpload(window, with, std::move(completionHandler));
}

} // namespace Host
