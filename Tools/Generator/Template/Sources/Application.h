#pragma once

#include "AccountSwitcher.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>
#include <LumoKit/Utility/Settings.h>
#include <LumoKit/WebView/LMWebView.h>

#include <memory>
#include <string>

namespace Host {

/// The application: one window with the web application, its menus, and an account at a time.
///
/// Thread: the main thread.
class Application : public LumoKit::NSApplicationDelegate,
                    public LumoKit::NSWindowDelegate,
                    public LumoKit::WKNavigationDelegate,
                    public LumoKit::WKUIDelegate,
                    public std::enable_shared_from_this<Application> {
public:
    explicit Application(LumoKit::URL home);

    /// Puts the window on the screen and starts loading.
    void start();

private:
    bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
    bool applicationShouldTerminate() override;
    void windowDidResize(LumoKit::NSWindow& resized) override;
    void didFinish(LumoKit::WKWebView&) override;
    void didFailProvisionalNavigation(LumoKit::WKWebView&, const LumoKit::Error& error) override;
    void runOpenPanel(LumoKit::WKWebView&, const LumoKit::WKOpenPanelParameters& with,
        OpenPanelCompletion completionHandler) override;

    void makeWindow();
    void makeMenus();
    void showAccounts();
    void openLink(const LumoKit::NSAppleEventDescriptor& event, LumoKit::NSAppleEventDescriptor& reply);
    void showAccount(const std::string& account);
    void askForAccount();
    void reload();

    const LumoKit::URL home;
    const std::shared_ptr<LumoKit::Settings> settings;
    std::shared_ptr<LumoKit::NSWindow> window;
    std::shared_ptr<LumoKit::LMWebView> view;
    std::shared_ptr<LumoKit::NSMenu> accounts;
    std::shared_ptr<LumoKit::NSMenu> themes;
    std::shared_ptr<AccountSwitcher> switcher;
    bool hasKeptCookies = false; // nothing holds up the end any more
};

} // namespace Host
