#include <LumoKit/MailTo/MailToManager.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

using Texts = std::vector<std::string>;

NSAppleEventDescriptor event(const std::string& link)
{
    NSAppleEventDescriptor made(kInternetEventClass, kAEGetURL);
    made.setParam(NSAppleEventDescriptor(link), keyDirectObject);
    return made;
}

MailToParseResult mail(const std::string& subject)
{
    return {std::vector<std::string>{"ada@example.com"}, subject, std::nullopt};
}

class MailToManagerTest : public testing::Test {
protected:
    void receive(const NSAppleEventDescriptor& event) const
    {
        NSAppleEventDescriptor reply;
        manager->handleEvent(event, reply);
        EXPECT_EQ(reply, NSAppleEventDescriptor());
    }
    /// A link with a subject arrives.
    void receive(const std::string& subject) const
    {
        receive(event("mailto:ada@example.com?subject=" + subject));
    }

    /// What is printed meanwhile.
    template <class Act> static std::string printed(const Act& act)
    {
        testing::internal::CaptureStdout();
        act();
        return testing::internal::GetCapturedStdout();
    }

    [[nodiscard]] Texts unhandled() const
    {
        Texts subjects;
        for (const auto& link : manager->unhandled)
            subjects.push_back(link.subject.value_or("(none)"));
        return subjects;
    }

    /// A handler that notes the subjects it is offered, and accepts those in `accepted`.
    MailToManager::Handler accepting(Texts accepted)
    {
        return [this, accepted = std::move(accepted)](const MailToParseResult& link) {
            offered.push_back(link.subject.value_or("(none)"));
            return std::ranges::find(accepted, offered.back()) != accepted.end();
        };
    }

    const std::shared_ptr<MailToManager> manager = std::make_shared<MailToManager>();
    Texts offered;
};

TEST(MailToManagerShared, IsOneUntilAnotherIsPutInItsPlace)
{
    const auto first = MailToManager::shared();
    ASSERT_TRUE(first);
    EXPECT_EQ(MailToManager::shared(), first);
    EXPECT_TRUE(first->unhandled.empty());
    const auto second = std::make_shared<MailToManager>();
    MailToManager::shared() = second;
    EXPECT_EQ(MailToManager::shared(), second);
    MailToManager::shared() = first;
}

TEST_F(MailToManagerTest, PrintsALineForAnEventWithoutALink)
{
    receive("kept");
    NSAppleEventDescriptor without(kInternetEventClass, kAEGetURL);
    EXPECT_EQ(printed([&] { receive(without); }), "cannot extract mailto link from event\n");
    without.setParam(NSAppleEventDescriptor(), keyDirectObject); // no text
    EXPECT_EQ(printed([&] { receive(without); }), "cannot extract mailto link from event\n");
    NSAppleEventDescriptor elsewhere(kInternetEventClass, kAEGetURL);
    elsewhere.setParam(NSAppleEventDescriptor("mailto:ada@example.com"), fourCharCode("else"));
    EXPECT_EQ(printed([&] { receive(elsewhere); }), "cannot extract mailto link from event\n");
    EXPECT_EQ(unhandled(), Texts{"kept"});
}

TEST_F(MailToManagerTest, PrintsALineForWhatIsNoMailLink)
{
    receive("kept");
    manager->handleMailTo(accepting({}));
    offered.clear();
    for (const std::string link :
        {"http://example.com/", "MAILTO:ada@example.com", "", "mailto:a b", "mailto:\xff"})
        EXPECT_EQ(printed([&] { receive(event(link)); }), "mailto link is invalid\n") << link;
    EXPECT_EQ(unhandled(), Texts{"kept"});
    EXPECT_EQ(offered, Texts{}); // nothing is offered again for them
}

TEST_F(MailToManagerTest, KeepsLinksInTheirOrderWithoutAHandler)
{
    EXPECT_EQ(printed([&] {
        for (const char* subject : {"one", "two", "three"})
            receive(subject);
    }),
        "");
    EXPECT_EQ(manager->unhandled, (std::vector{mail("one"), mail("two"), mail("three")}));
}

TEST_F(MailToManagerTest, TakesALinkWhoseAddressesAreNone)
{
    receive(event("mailto:nobody,ada@example.com?subject=Tea"));
    EXPECT_EQ(manager->unhandled, (std::vector<MailToParseResult>{{std::nullopt, "Tea", std::nullopt}}));
}

TEST_F(MailToManagerTest, OffersALinkThatWaitsToAHandlerAtOnce)
{
    receive("one");
    manager->handleMailTo(accepting({"one"}));
    EXPECT_EQ(offered, Texts{"one"});
    EXPECT_EQ(unhandled(), Texts{});
    receive("two");
    EXPECT_EQ(offered, (Texts{"one", "two"}));
    EXPECT_EQ(unhandled(), Texts{"two"});
}

TEST_F(MailToManagerTest, OffersADeclinedLinkAgainAtTheNextEvent)
{
    receive("one");
    manager->handleMailTo(accepting({}));
    EXPECT_EQ(unhandled(), Texts{"one"});
    receive("two");
    EXPECT_EQ(offered, (Texts{"one", "two", "one"})); // the newest first
    EXPECT_EQ(unhandled(), (Texts{"one", "two"}));
}

TEST_F(MailToManagerTest, OffersADeclinedLinkAgainToTheNextHandler)
{
    manager->handleMailTo(accepting({}));
    receive("one");
    manager->handleMailTo(accepting({"one"}));
    EXPECT_EQ(offered, (Texts{"one", "one"}));
    EXPECT_EQ(unhandled(), Texts{});
}

TEST_F(MailToManagerTest, RemovesTheOldestForTheNewestThatIsAccepted)
{
    receive("older");
    receive("newer");
    manager->handleMailTo(accepting({"newer"}));
    EXPECT_EQ(offered, (Texts{"newer", "older"}));
    EXPECT_EQ(unhandled(), Texts{"newer"});
}

TEST_F(MailToManagerTest, RemovesTheSecondForTheSecondThatIsAccepted)
{
    receive("older");
    receive("newer");
    manager->handleMailTo(accepting({"older"}));
    EXPECT_EQ(offered, (Texts{"newer", "older"}));
    EXPECT_EQ(unhandled(), Texts{"older"});
}

TEST_F(MailToManagerTest, CountsThePlacesOfDeclinedLinks)
{
    for (const char* subject : {"1", "2", "3", "4"})
        receive(subject);
    manager->handleMailTo(accepting({"4", "2"})); // the first and the third that are offered
    EXPECT_EQ(offered, (Texts{"4", "3", "2", "1"}));
    EXPECT_EQ(unhandled(), (Texts{"2", "3"})); // 1 at place 0, then 4 at place 2 of 2, 3, 4
}

TEST_F(MailToManagerTest, StopsTheProcessAtTheSecondOfTwoThatAreAccepted)
{
    receive("older");
    receive("newer");
    EXPECT_DEATH(manager->handleMailTo([](const auto&) { return true; }), "Fatal error: Index out of range");
    EXPECT_DEATH(manager->handleMailTo([this](const auto& link) {
        // It was offered, and accepted: the second is what stops the process.
        if (link == mail("older") && manager->unhandled == std::vector{mail("newer")})
            std::fputs("the first is gone\n", stderr);
        return true;
    }),
        "the first is gone");
}

TEST_F(MailToManagerTest, OffersWhatWaitedWhenTheOfferBegan)
{
    receive("one");
    manager->handleMailTo([this](const MailToParseResult& link) {
        offered.push_back(*link.subject);
        manager->unhandled.push_back(mail("put in meanwhile"));
        return false;
    });
    EXPECT_EQ(offered, Texts{"one"});
    EXPECT_EQ(unhandled(), (Texts{"one", "put in meanwhile"}));
}

TEST_F(MailToManagerTest, RemovesFromWhatWaitsByThen)
{
    receive("one");
    manager->handleMailTo([this](const MailToParseResult&) {
        manager->unhandled.insert(manager->unhandled.begin(), mail("put in front"));
        return true;
    });
    EXPECT_EQ(unhandled(), Texts{"one"});
    manager->unhandled = {mail("last")};
    EXPECT_DEATH(manager->handleMailTo([this](const MailToParseResult&) {
        manager->unhandled.clear();
        return true;
    }),
        "Fatal error: Index out of range");
}

TEST_F(MailToManagerTest, ReleasesTheHandlerBefore)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> watched(captured);
    manager->handleMailTo([kept = std::move(captured)](const auto&) { return false; });
    EXPECT_FALSE(watched.expired());
    manager->handleMailTo(accepting({}));
    EXPECT_TRUE(watched.expired());
}

TEST_F(MailToManagerTest, LetsAHandlerInstallAnother)
{
    receive("one");
    auto captured = std::make_shared<std::string>("still here");
    manager->handleMailTo([this, captured = std::move(captured)](const auto&) {
        manager->handleMailTo(accepting({}));
        return *captured != "still here"; // released only when it has returned
    });
    EXPECT_EQ(offered, Texts{"one"});
    receive("two");
    EXPECT_EQ(offered, (Texts{"one", "two", "one"}));
}

TEST_F(MailToManagerTest, KeepsLinksAgainWhenTheHandlerIsTakenAway)
{
    manager->handleMailTo(accepting({}));
    receive("one");
    manager->handleMailTo({});
    receive("two");
    EXPECT_EQ(offered, Texts{"one"});
    EXPECT_EQ(unhandled(), (Texts{"one", "two"}));
}

TEST_F(MailToManagerTest, ReceivesTheLinksThatTheDesktopSends)
{
    auto& events = NSAppleEventManager::sharedAppleEventManager();
    ASSERT_TRUE(events.dispatch(event("mailto:ada@example.com?subject=before")));
    runPendingTurns();
    EXPECT_EQ(unhandled(), Texts{});
    manager->registerSystemHandler();
    ASSERT_TRUE(events.dispatch(event("mailto:ada@example.com?subject=after")));
    EXPECT_TRUE(waitUntil([&] { return manager->unhandled.size() == 2; }));
    EXPECT_EQ(unhandled(), (Texts{"before", "after"}));
    const auto other = std::make_shared<MailToManager>();
    other->registerSystemHandler();
    ASSERT_TRUE(events.dispatch(event("mailto:ada@example.com?subject=elsewhere")));
    EXPECT_TRUE(waitUntil([&] { return other->unhandled.size() == 1; }));
    EXPECT_EQ(manager->unhandled.size(), 2U);
}

} // namespace
