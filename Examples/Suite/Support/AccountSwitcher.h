#pragma once

#include <LumoKit/CookieJar/MultiCookieJar.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoSuite {

/// Shows one page in turn for several accounts, each signed in with its own cookies.
///
/// Web mail ends a session whose cookies are not all of one kind, or are too old. So, to go to another account, the page
/// is left first: nothing of it is on its way any more, while cookies are taken out and put in. Cookies that the service
/// replaces are stored at once, not only at sign-in. And a page that is not signed in has nothing that is worth storing:
/// the account's jar stays as it was.
///
/// Thread: the main thread.
class AccountSwitcher : public LumoKit::WKHTTPCookieStoreObserver,
                        public std::enable_shared_from_this<AccountSwitcher> {
public:
    using URL = LumoKit::URL;

    /// `page` is shown for each account.
    AccountSwitcher(
        std::shared_ptr<LumoKit::WKWebView> view, std::shared_ptr<LumoKit::MultiCookieJar> jar, URL page);

    /// Shows the page for an account; an empty one is a new account, for which the page asks to sign in. While one is on
    /// its way, the latest wish counts.
    void show(const std::string& account);

    /// To be called when the page tells that it is signed in, and to whom: from now on the cookies are this account's.
    /// Gives whether it is the account that was to be shown.
    bool pageIsSignedIn(const std::string& account);

    /// To be called when the page asks to sign in.
    void pageIsSignedOut() { isSignedIn = false; }

    /// To be called for every navigation that has ended.
    void pageWasLoaded(const URL& address);

    /// Stores the cookies of the account that is shown; before the application ends. `completion` is always called.
    void keep(std::function<void()> completion);

    /// Whether another account is on its way; what the page that is being left says no longer counts.
    [[nodiscard]] bool isUnderWay() const { return wanted.has_value(); }

    /// Empty while nobody is.
    [[nodiscard]] const std::string& account() const { return current; }

private:
    void cookiesDidChange(LumoKit::WKHTTPCookieStore&) override;
    void leave();
    void change();
    void arrive();

    const std::shared_ptr<LumoKit::WKWebView> view;
    const std::shared_ptr<LumoKit::MultiCookieJar> jar;
    const URL page;
    std::string current;
    std::optional<std::string> wanted; // while it is on its way there
    bool isLeaving = false;
    bool isSignedIn = false;
    bool willKeep = false;
};

} // namespace LumoSuite
