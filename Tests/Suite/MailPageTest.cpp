// The mail's page on the suite's real service, in the kit's web view: what the application relies on.

#include "Service.h"
#include "Support/WebPage.h"

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;

class MailPage : public testing::Test {
protected:
    void SetUp() override
    {
        auto started = LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES});
        ASSERT_TRUE(started) << started.error();
        service = std::move(*started);
        for (const char* name : {"mailReady", "unreadCount", "threadOpened", "threadArchived", "pageError"})
            page.configuration->userContentController()->add(page.recorder, name);
        page.view->load(*URL::parse(service->origin() + "/mail/"));
        ASSERT_TRUE(awaited("mailReady"));
    }

    /// The body of the first message of a name, or of the one after `skipped` of them.
    std::optional<Value> awaited(const std::string& name, std::size_t skipped = 0)
    {
        std::optional<Value> found;
        static_cast<void>(waitUntil([&] {
            std::size_t left = skipped;
            for (const auto& message : page.recorder->messages)
                if (message.name == name && left-- == 0)
                    found = message.body;
            return found.has_value();
        }));
        return found;
    }
    Value evaluate(const std::string& script) { return page.evaluate(script).first.value_or(Value()); }
    void press(const std::string& key)
    {
        evaluate("document.dispatchEvent(new KeyboardEvent('keydown', {key: '" + key + "'})); undefined");
    }
    /// How many threads the service has under a mark.
    Value kept(const std::string& mark)
    {
        evaluate(
            "window.kept = null; fetch('/api/conversations').then(r => r.json()).then(a => { window.kept = "
            "a.conversations.filter(c => c."
            + mark + ").length }); undefined");
        static_cast<void>(waitUntil([&] { return evaluate("window.kept !== null") == Value(true); }));
        return evaluate("window.kept");
    }

    std::unique_ptr<LumoSuite::Service> service;
    LumoKit::Test::WebPage page;
};

TEST_F(MailPage, AThreadIsReadAndArchived)
{
    const auto unread = awaited("unreadCount");
    ASSERT_TRUE(unread && unread->asInteger());
    const Value done = kept("done");
    EXPECT_EQ(evaluate("LumoMail.open()"), Value("c1"));
    const auto opened = awaited("threadOpened");
    ASSERT_TRUE(opened);
    EXPECT_EQ((*opened)["id"], Value("c1"));
    EXPECT_EQ(evaluate("document.querySelectorAll('.message').length"), Value(3));
    EXPECT_EQ(awaited("unreadCount", 1), Value(*unread->asInteger() - 1));

    EXPECT_EQ(evaluate("LumoMail.archive()"), (*opened)["subject"]);
    EXPECT_EQ(awaited("threadArchived"), Value(Value::Dictionary{{"id", "c1"}}));
    ASSERT_TRUE(awaited("threadOpened", 1)); // the next one
    EXPECT_TRUE(waitUntil([&] { return kept("done") == Value(*done.asInteger() + 1); }));
}

TEST_F(MailPage, IsOperatedWithKeys)
{
    press("j");
    ASSERT_TRUE(awaited("threadOpened"));
    press("j");
    const auto second = awaited("threadOpened", 1);
    ASSERT_TRUE(second);
    press("k");
    EXPECT_EQ(awaited("threadOpened", 2), awaited("threadOpened"));
    const Value starred = kept("starred");
    press("s"); // it was starred
    EXPECT_TRUE(waitUntil([&] { return kept("starred") == Value(*starred.asInteger() - 1); }));
    press("u");
    EXPECT_EQ(evaluate("document.getElementById('thread').hidden"), Value(true));
    press("e"); // nothing is open
    press("toString"); // no key at all
    EXPECT_EQ(evaluate("LumoMail.open('nothing')"), Value(nullptr));
    EXPECT_EQ(evaluate("LumoMail.archive()"), Value(nullptr));
    for (const auto& message : page.recorder->messages)
        EXPECT_NE(message.name, "pageError") << message.body.description();
}

} // namespace
