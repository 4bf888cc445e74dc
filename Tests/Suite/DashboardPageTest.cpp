// The dashboard's page on the suite's real service, in the kit's web view: what the application relies on.

#include "Service.h"
#include "Support/WebPage.h"

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;

class DashboardPage : public testing::Test {
protected:
    void SetUp() override
    {
        auto started = LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES});
        ASSERT_TRUE(started) << started.error();
        service = std::move(*started);
        for (const char* name :
            {"dashboardReady", "overview", "accountChosen", "dayChosen", "mailChosen", "pageError"})
            page.configuration->userContentController()->add(page.recorder, name);
        page.view->load(*URL::parse(service->origin() + "/dashboard/"));
        ASSERT_TRUE(awaited("overview"));
    }

    std::optional<Value> awaited(const std::string& name)
    {
        std::optional<Value> found;
        static_cast<void>(waitUntil([&] {
            for (const auto& message : page.recorder->messages)
                if (message.name == name)
                    found = message.body;
            return found.has_value();
        }));
        return found;
    }
    Value evaluate(const std::string& script) { return page.evaluate(script).first.value_or(Value()); }

    std::unique_ptr<LumoSuite::Service> service;
    LumoKit::Test::WebPage page;
};

TEST_F(DashboardPage, ShowsTheDayAndWhatIsUnread)
{
    EXPECT_EQ((*awaited("dashboardReady"))["owner"]["address"], Value("robin@example.com"));
    const auto overview = awaited("overview");
    EXPECT_GE((*overview)["events"].asInteger().value_or(0), 3);
    EXPECT_EQ(evaluate("document.querySelectorAll('#day .line').length"), (*overview)["events"]);
    EXPECT_EQ(evaluate("document.querySelectorAll('#unread .line').length"), (*overview)["unread"]);
    EXPECT_EQ(evaluate("document.querySelector('.account.current .account-number').textContent"),
        Value((*overview)["unread"].description()));
}

TEST_F(DashboardPage, WhatIsChosenIsToldToTheHost)
{
    evaluate("document.querySelector('#day .line').click()");
    EXPECT_EQ(awaited("dayChosen"), evaluate("LumoDays.text(LumoDays.today())"));
    evaluate("document.querySelector('#unread .line').click()");
    EXPECT_EQ(awaited("mailChosen"), Value("c1"));
    EXPECT_EQ(evaluate("location.pathname"), Value("/dashboard/")); // the page stays
}

TEST_F(DashboardPage, OtherAccountsAreCardsWithWhatTheHostKnows)
{
    evaluate("LumoDashboard.showAccounts([{name: 'Robin Ellery', address: 'robin@example.com'}, "
             "{name: '<b>Noor</b>', address: 'noor@example.com', image: '/avatars/noor.png', unread: 2}, "
             "{name: 'Mallory', address: 'm@example.com', image: 'https://elsewhere.example/a.png', unread: "
             "'many'}]); undefined");
    // The one that is shown has its own card.
    EXPECT_EQ(evaluate("[...document.querySelectorAll('button.account')].map(card => "
                       "card.querySelector('.account-name').textContent + '|' + "
                       "card.querySelector('.account-count').textContent).join()"),
        Value("<b>Noor</b>|2when last seen,Mallory|not seen yet"));
    EXPECT_EQ(evaluate("[...document.querySelectorAll('.accounts img')].every(image => "
                       "image.src.startsWith(location.origin + '/avatars/'))"),
        Value(true));
    evaluate("document.querySelector('button.account').click()");
    EXPECT_EQ(awaited("accountChosen"), Value("noor@example.com"));
}

} // namespace
