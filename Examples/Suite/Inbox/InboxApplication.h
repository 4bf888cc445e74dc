#pragma once

#include "Handlers.h"
#include "Support/AccountSwitcher.h"
#include "Support/ServiceProcess.h"

#include <LumoKit/FileWatcher/FileWatcherManager.h>
#include <LumoKit/MailTo/MailToParser.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSPopUpButton.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Utility/Settings.h>
#include <LumoKit/WebPrinter.h>
#include <LumoKit/WebView/InjectDownloader.h>
#include <LumoKit/WebView/LMWebView.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoSuite {

/// Lumo for Inbox: a window with the inbox's page and a native control for it.
///
/// Thread: the main thread.
class InboxApplication : public LumoKit::NSApplicationDelegate,
                         public LumoKit::NSWindowDelegate,
                         public LumoKit::WKNavigationDelegate,
                         public LumoKit::WKUIDelegate,
                         public LumoKit::HasFileWatcherManager,
                         public LumoKit::InjectDownloaderConfigurationProvider,
                         public HasInbox,
                         public std::enable_shared_from_this<InboxApplication> {
public:
    /// Shows `page`, or the inbox of the suite's service where there is none. `report` is told what happens,
    /// a line each.
    InboxApplication(std::optional<LumoKit::URL> page, std::function<void(const std::string&)> report);

    /// Puts the window on the screen and starts loading.
    void start();

    /// Marks the open conversation done, as the native control does.
    void markDone();

    [[nodiscard]] const std::shared_ptr<LumoKit::NSWindow>& window() const { return mainWindow; }
    [[nodiscard]] const std::shared_ptr<LumoKit::NSButton>& doneButton() const { return button; }
    [[nodiscard]] const std::shared_ptr<LumoKit::NSPopUpButton>& themeMenu() const { return themes; }
    /// The accounts of the suite, and an item to add one.
    [[nodiscard]] const std::shared_ptr<LumoKit::NSPopUpButton>& accountMenu() const { return accounts; }
    /// Runs a script in the page, as it is delivered or as a developer saves it.
    void inject(const std::string& js) const;
    [[nodiscard]] LumoKit::WebViewJavascriptExecutor& executor() { return *scripts; }

private:
    bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
    bool applicationShouldTerminate() override;

    void windowWillClose(LumoKit::NSWindow&) override { report("window closed"); }
    void windowDidResize(LumoKit::NSWindow&) override;

    void inboxReady(std::int64_t conversations, const Owner& owner) const override;
    void signInShown() const override;
    void unreadCountChanged(std::int64_t count) const override;
    void conversationOpened(const Conversation& conversation) const override;
    void conversationDone(const std::string& id, bool done) const override;
    void composeOpened(const std::string& subject) const override { report("mail begun: " + subject); }
    void scriptInjected(const std::string& version) const override { report("script injected: " + version); }
    void mailSent(const std::string& subject) const override { report("mail sent: " + subject); }
    void pagePainted() const override { report("page painted"); }
    void schemeChanged(const std::string& scheme) const override { report("page is " + scheme); }
    void pageFailed(const std::string& message, const std::string& source, std::int64_t line) const override;

    void followThemeMode();
    void receiveMailLinks();
    /// Shows what waits to be written, once the page can.
    void composeMails() const;
    void addControls(const LumoKit::CGSize& size);
    void showService(const std::string& listening);
    void showAccounts() const;
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

    void makeMenu();
    void printConversation();
    void askForTheme();
    void askToForget();
    void showOffline(const LumoKit::Error& error);
    void setTitle(const std::string& title) const;

    const std::optional<LumoKit::URL> page;
    const std::function<void(const std::string&)> report;
    const std::shared_ptr<LumoKit::Settings> settings;
    std::unique_ptr<ServiceProcess> service;
    std::shared_ptr<LumoKit::NSWindow> mainWindow;
    std::shared_ptr<LumoKit::NSButton> button;
    std::shared_ptr<LumoKit::NSPopUpButton> themes;
    std::shared_ptr<LumoKit::NSPopUpButton> accounts;
    std::shared_ptr<LumoKit::LMWebView> view;
    const std::shared_ptr<LumoKit::FileWatcherManager> watchers =
        std::make_shared<LumoKit::FileWatcherManager>(std::any());
    std::shared_ptr<LumoKit::InjectDownloader> downloader;
    std::shared_ptr<LumoKit::WebPrinter> printer;
    std::string origin; // of the service; empty before it listens
    mutable std::string script; // the latest; empty before it is delivered
    std::shared_ptr<AccountSwitcher> switcher; // null for another page, and before the service listens
    std::unique_ptr<LumoKit::WebViewJavascriptExecutor> scripts;
    LumoKit::KeyValueObservation titleObservation;
    mutable std::deque<LumoKit::MailToParseResult> mails; // to be written, when the page is ready
    mutable bool ready = false;
    bool hasKeptCookies = false; // nothing holds up the end any more
};

} // namespace LumoSuite
