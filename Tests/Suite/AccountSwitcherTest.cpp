// Accounts that take turns in one view, on the suite's real service, which ends the session of every cookie that is out of
// place.

#include "Support/AccountSwitcher.h"

#include "Service.h"
#include "Support/CookieArchive.h"
#include "Support/WebPage.h"

#include <LumoKit/WebView/ProxyWebView.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace LumoKit;
using namespace LumoKit::Test;
using LumoSuite::AccountSwitcher;

namespace {

const std::string robin = "robin@example.com";
const std::string noor = "noor@example.com";

/// What a host is made of, as far as accounts are concerned.
class Accounts : public testing::Test {
protected:
    void SetUp() override
    {
        static_cast<void>(NSApplication::shared());
        auto started = LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES, .signIn = true});
        ASSERT_TRUE(started) << started.error();
        service = std::move(*started);
        open();
    }

    /// Begins afresh, as an application does that is started: only what was stored is there.
    void open()
    {
        switcher.reset();
        view.reset();
        const auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setWebsiteDataStore(WKWebsiteDataStore::nonPersistent());
        for (const char* name : {"inboxReady", "signInShown", "pageError"})
            configuration->userContentController()->add(messages, name);
        messages->onMessage = [this](const WKScriptMessage& message) {
            if (message.name == "inboxReady") {
                shown = *message.body["owner"]["address"].asText();
                switcher->pageIsSignedIn(*shown);
            } else if (message.name == "signInShown") {
                ++forms;
                shown = "form";
                switcher->pageIsSignedOut();
            }
        };
        view = ProxyWebView::create(configuration);
        view->navigationHandler = [this](ProxyWebView::NavigationType type, const URL& url) {
            if (type == ProxyWebView::NavigationType::finishLoad)
                switcher->pageWasLoaded(url);
        };
        switcher =
            std::make_shared<AccountSwitcher>(view, jar, *URL::parse(service->origin() + "/inbox/?lanes=6"));
    }

    /// Goes to an account and gives whose page is shown then, or "form".
    std::string show(const std::string& account)
    {
        shown.reset();
        switcher->show(account);
        static_cast<void>(waitUntil([&] { return shown.has_value(); }));
        return shown.value_or("nothing");
    }

    /// Signs in on the form, as a person does.
    std::string signIn(const std::string& account)
    {
        if (show("") != "form")
            return "no form";
        shown.reset();
        view->evaluateJavaScript("LumoSignIn.signIn('" + account + "', 'lumo')");
        static_cast<void>(waitUntil([&] { return shown.has_value(); }));
        forms = 0;
        return shown.value_or("nothing");
    }

    std::string turningCookie()
    {
        for (const auto& cookie : cookiesOf(*view->configuration()->websiteDataStore()->httpCookieStore()))
            if (cookie.name() == "lumo_turn")
                return cookie.value();
        return "";
    }

    /// Waits until the service has replaced the cookie that often.
    testing::AssertionResult awaitTurns(int turns)
    {
        for (std::string last = turningCookie(); turns > 0; --turns) {
            std::string now;
            const bool turned = waitForOthers([&] { return (now = turningCookie()) != last; });
            if (!turned || now.empty())
                return testing::AssertionFailure() << "the page does not turn its cookie: " << state();
            last = now;
        }
        return testing::AssertionSuccess();
    }

    /// What the page is about.
    std::string state()
    {
        std::optional<std::string> told;
        view->evaluateJavaScript("location.href + ' ' + document.readyState + ' ' + document.visibilityState",
            [&](const std::optional<Value>& result, const std::optional<Error>& error) {
                told = result ? result->description() : error->description;
            });
        static_cast<void>(waitUntil([&] { return told.has_value(); }));
        return told.value_or("it does not answer");
    }

    std::unique_ptr<LumoSuite::Service> service;
    std::shared_ptr<MemoryStorage> storage = std::make_shared<MemoryStorage>();
    std::shared_ptr<MultiCookieJar> jar = std::make_shared<MultiCookieJar>(storage);
    std::shared_ptr<MessageRecorder> messages = std::make_shared<MessageRecorder>();
    std::shared_ptr<ProxyWebView> view;
    std::shared_ptr<AccountSwitcher> switcher;
    std::optional<std::string> shown;
    int forms = 0;
};

TEST_F(Accounts, AreAskedToSignInOnceAndThenAreSignedIn)
{
    ASSERT_EQ(signIn(robin), robin);
    EXPECT_EQ(switcher->account(), robin);
    ASSERT_EQ(signIn(noor), noor);
    EXPECT_EQ(show(robin), robin);
    EXPECT_EQ(show(noor), noor);
    EXPECT_EQ(forms, 0);
    EXPECT_EQ(service->destroyedSessions(), 0u);
}

TEST_F(Accounts, TakeTurnsAHundredTimesWithoutLosingASession)
{
    ASSERT_EQ(signIn(robin), robin);
    ASSERT_EQ(signIn(noor), noor);
    for (int switches = 0; switches < 100; ++switches) {
        const std::string& account = switches % 2 ? noor : robin;
        ASSERT_EQ(show(account), account) << "after " << switches;
        ASSERT_EQ(service->destroyedSessions(), 0u) << "after " << switches;
        ASSERT_TRUE(awaitTurns(switches % 3)) << "after " << switches; // which leaves six requests under way
    }
    EXPECT_EQ(forms, 0);
}

TEST_F(Accounts, AreStillSignedInWhenTheirCookiesWereReplaced)
{
    ASSERT_EQ(signIn(robin), robin);
    const std::string atSignIn = turningCookie();
    ASSERT_TRUE(awaitTurns(2));
    ASSERT_EQ(signIn(noor), noor);
    EXPECT_EQ(show(robin), robin);
    EXPECT_NE(turningCookie(), atSignIn);
    EXPECT_EQ(service->destroyedSessions(), 0u);
}

TEST_F(Accounts, AreSignedInAfterTheApplicationWasKilled)
{
    ASSERT_EQ(signIn(robin), robin);
    ASSERT_TRUE(awaitTurns(3));
    // Nothing is stored at the end: what was stored last has to do.
    open();
    EXPECT_EQ(show(robin), robin);
    EXPECT_EQ(service->destroyedSessions(), 0u);
}

TEST_F(Accounts, WouldLoseTheirSessionIfJarsWereStoredAtSignInAlone)
{
    ASSERT_EQ(signIn(robin), robin);
    ASSERT_TRUE(waitUntil([&] { return storage->entries.contains("cookies:" + robin); }));
    const auto atSignIn = storage->entries;
    ASSERT_TRUE(awaitTurns(3));
    ASSERT_EQ(show(""), "form");
    storage->entries = atSignIn;
    EXPECT_EQ(show(robin), "form");
    EXPECT_EQ(service->destroyedSessions(), 1u);
}

TEST_F(Accounts, KeepTheirJarWhenThePageIsNotSignedIn)
{
    ASSERT_EQ(signIn(robin), robin);
    ASSERT_EQ(show(""), "form"); // on the form nobody is signed in
    const auto stored = storage->entries;
    ASSERT_TRUE(stored.contains("cookies:" + robin));
    // Cookies of the form's page are nobody's.
    view->evaluateJavaScript("document.cookie = 'form=1'");
    ASSERT_TRUE(waitUntil(
        [&] { return !cookiesOf(*view->configuration()->websiteDataStore()->httpCookieStore()).empty(); }));
    bool kept = false;
    switcher->keep([&] { kept = true; });
    EXPECT_TRUE(kept);
    EXPECT_EQ(storage->entries, stored);
    EXPECT_EQ(show(robin), robin);
}

TEST_F(Accounts, ShowTheOneThatWasAskedForLast)
{
    ASSERT_EQ(signIn(robin), robin);
    ASSERT_EQ(signIn(noor), noor);
    for (int round = 0; round < 5; ++round) {
        switcher->show(robin);
        switcher->show(noor);
        switcher->show(robin);
        EXPECT_EQ(show(noor), noor);
        switcher->show(noor);
        EXPECT_EQ(show(robin), robin);
    }
    EXPECT_EQ(forms, 0);
    EXPECT_EQ(service->destroyedSessions(), 0u);
}

} // namespace
