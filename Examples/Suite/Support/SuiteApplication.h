#pragma once

#include "Help/HelpWindowController.h"
#include "Support/AccountMenu.h"
#include "Support/AccountSwitcher.h"
#include "Support/MenuBar.h"
#include "Support/PageMessages.h"
#include "Support/ServiceProcess.h"
#include "Support/SuiteWindow.h"

#include <LumoKit/FileWatcher/FileWatcherManager.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>
#include <LumoKit/Platform/Foundation/OperationQueue.h>
#include <LumoKit/Utility/CrossApp.h>
#include <LumoKit/WebView/InjectDownloader.h>
#include <LumoKit/WebView/LMWebView.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoSuite {

/// What an application shows instead of its own page.
struct OtherPage {
    LumoKit::URL address;
    std::string name; // the application's for this page; empty for its own
};

/// What the suite's applications have in common: a window with a page of the suite's service, accounts that it is shown
/// for, light and dark, a script that the service gives out, a menu bar, and commands of the other applications.
///
/// Thread: the main thread.
class SuiteApplication : public LumoKit::NSApplicationDelegate,
                         public LumoKit::WKNavigationDelegate,
                         public LumoKit::WKUIDelegate,
                         public LumoKit::HasFileWatcherManager,
                         public LumoKit::InjectDownloaderConfigurationProvider,
                         public std::enable_shared_from_this<SuiteApplication> {
public:
    using App = LumoKit::CrossApp::App;
    using Report = std::function<void(const std::string&)>;

    /// Puts the window on the screen and starts loading.
    void start();

    /// Runs a script in the page.
    void execute(const std::string& js) { scripts->execute(js); }

    [[nodiscard]] std::shared_ptr<LumoKit::NSWindow> window() const { return mainWindow->native(); }
    [[nodiscard]] const std::shared_ptr<LumoKit::NSPopUpButton>& themeMenu() const { return themes; }
    [[nodiscard]] const std::shared_ptr<LumoKit::NSPopUpButton>& accountMenu() const
    {
        return accounts->button();
    }
    /// Null while it is closed.
    [[nodiscard]] const std::shared_ptr<HelpWindowController>& helpWindow() const { return help; }
    [[nodiscard]] std::shared_ptr<LumoKit::LMWebView> pageView() const { return view; }

protected:
    /// An application whose page is in a folder of the service ("inbox"), or that shows any other page instead.
    /// `report` is told what happens, a line each.
    SuiteApplication(App app, std::string folder, std::optional<OtherPage> otherPage, Report report);

    // What one of them adds.

    /// Handlers of its page's messages, beside those that every page sends.
    [[nodiscard]] virtual PageMessages pageMessages() const { return {}; }
    /// Controls of its own in the window's bar.
    virtual void addControls() { }
    /// Menus of its own, beside the application's and the developer's.
    virtual void addMenus(LumoKit::NSMenu&) { }
    /// The page is shown for an account, and can be called.
    virtual void pageIsReady() { }
    /// The page is left, or asks to sign in.
    virtual void pageIsGone() { }
    /// The command to open a web address; false where the application has nothing for it.
    virtual bool openAddress(const LumoKit::URL&) { return false; }
    /// Makes the application the one that links of its scheme are sent to.
    virtual void receiveLinks();
    /// A link that is for this application; here the commands of the others.
    virtual void openLink(
        const LumoKit::NSAppleEventDescriptor& event, LumoKit::NSAppleEventDescriptor& reply);

    /// To be called when the page tells that it is there, and whose it is ("name", "address", "image").
    void pageIsShown(const LumoKit::Value& owner);
    /// The address of the account that is shown; empty while there is none.
    [[nodiscard]] std::string shownAccount() const { return switcher ? switcher->account() : ""; }
    /// Shows the page for an account; an empty address asks to sign in to another one.
    void showAccount(const std::string& address);

    /// Shows the page for one of the suite's accounts, unless it is; false where it is none of them.
    bool openAccount(const std::string& address);

    /// Brings another application of the suite to the front, where it is installed.
    void showSibling(App sibling);

    /// An item that calls a member of the application, which it does not keep.
    template <class Application>
    [[nodiscard]] std::shared_ptr<LumoKit::NSMenuItem> menuItem(
        const std::string& title, void (Application::*action)(), const std::string& key = "")
    {
        return std::make_shared<LumoKit::NSMenuItem>(
            title,
            [weak = weak_from_this(), action](LumoKit::NSMenuItem&) {
                if (const auto application = std::dynamic_pointer_cast<Application>(weak.lock()))
                    ((*application).*action)();
            },
            key);
    }

    const Report report;
    std::shared_ptr<SuiteWindow> mainWindow;
    std::shared_ptr<LumoKit::LMWebView> view;
    std::string origin; // of the service; empty before it listens
    bool ready = false; // the page can be called

private:
    bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
    bool applicationShouldTerminate() override;

    void didStartProvisionalNavigation(LumoKit::WKWebView&) override { navigated("start"); }
    void didReceiveServerRedirectForProvisionalNavigation(LumoKit::WKWebView&) override
    {
        navigated("redirect");
    }
    void didFinish(LumoKit::WKWebView&) override;
    void navigated(const char* what) const;
    void runOpenPanel(LumoKit::WKWebView& webView, const LumoKit::WKOpenPanelParameters& with,
        LumoKit::WKUIDelegate::OpenPanelCompletion completionHandler) override;

    [[nodiscard]] std::shared_ptr<LumoKit::FileWatcherManager> fileWatcherManager() const override
    {
        return watchers;
    }
    [[nodiscard]] std::shared_ptr<LumoKit::InjectDownloader> injectDownloader() const override
    {
        return downloader;
    }
    [[nodiscard]] LumoKit::URL injectURL() const override;
    [[nodiscard]] LumoKit::Value injectUserInfo() const override { return {}; }

    [[nodiscard]] PageMessages commonMessages() const;
    void makePage();
    void makeControls();
    void makeMenu();
    [[nodiscard]] MenuItems siblings();
    void startService();
    void showService();
    void tellOfStart();
    void inject(const std::string& js);
    void askToForget();
    void askToQuit();
    void showHelp();
    void watchLocalScript();
    void pageAsksToSignIn();

    const App app;
    const std::string name;
    const std::string folder;
    const std::optional<OtherPage> otherPage;
    const std::shared_ptr<LumoKit::Settings> settings;
    std::unique_ptr<ServiceProcess> service;
    std::shared_ptr<LumoKit::NSPopUpButton> themes;
    std::unique_ptr<AccountMenu> accounts;
    const std::shared_ptr<LumoKit::FileWatcherManager> watchers =
        std::make_shared<LumoKit::FileWatcherManager>(std::any());
    std::shared_ptr<LumoKit::InjectDownloader> downloader;
    std::string script; // the latest; empty before it is delivered
    std::shared_ptr<AccountSwitcher> switcher; // null for another page, and before the service listens
    std::unique_ptr<LumoKit::WebViewJavascriptExecutor> scripts;
    LumoKit::OperationQueue operations;
    std::shared_ptr<LumoKit::CookieJar> helpCookies;
    std::shared_ptr<HelpWindowController> help; // null while it is closed
    std::optional<std::string> commanded; // the account that a command asked for before the service listened
    LumoKit::KeyValueObservation titleObservation;
    bool hasKeptCookies = false; // nothing holds up the end any more
};

} // namespace LumoSuite
