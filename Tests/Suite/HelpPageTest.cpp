// The form for requests on the suite's real service, in the kit's web view: what the help window relies on.

#include "Service.h"
#include "Support/WebPage.h"

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;

class HelpPage : public testing::Test {
protected:
    void SetUp() override
    {
        auto started = LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES, .signIn = true});
        ASSERT_TRUE(started) << started.error();
        service = std::move(*started);
        page.configuration->userContentController()->add(page.recorder, "help");
    }

    /// What the page says next.
    Value awaited()
    {
        EXPECT_TRUE(waitUntil([&] { return page.recorder->messages.size() > read; }));
        return page.recorder->messages.size() > read ? page.recorder->messages[read++].body : Value();
    }
    Value open(const std::string& query = "")
    {
        page.view->load(*URL::parse(service->origin() + "/help/" + query));
        return awaited();
    }
    Value evaluate(const std::string& script) { return page.evaluate(script).first.value_or(Value()); }
    /// The status with which the service answers a request for help.
    Value answerTo(const std::string& body)
    {
        evaluate("window.status_ = null; fetch('/api/help', {method: 'POST', headers: {'Content-Type': "
                 "'application/json'}, body: '"
            + body + "'}).then(answer => { window.status_ = answer.status }); undefined");
        static_cast<void>(waitUntil([&] { return evaluate("window.status_ !== null") == Value(true); }));
        return evaluate("window.status_");
    }

    std::unique_ptr<LumoSuite::Service> service;
    LumoKit::Test::WebPage page;
    std::size_t read = 0;
};

TEST_F(HelpPage, FillsInWhatItsAddressSays)
{
    const Value said =
        open("?prefill_contact=noor%40example%2Ecom&prefill_version=0%2E1&prefill_application=A%20%3Cb%3E"
             "&prefill_other=x");
    EXPECT_EQ(said["form"], Value("noor@example.com"));
    EXPECT_EQ(said["facts"], Value("A <b> · 0.1")); // in the form's own order, as text
    EXPECT_EQ(evaluate("document.querySelector('#facts b') === null"), Value(true));
    EXPECT_EQ(open()["form"], Value(""));
}

TEST_F(HelpPage, NumbersRequestsAndKnowsWhoHasAsked)
{
    open("?prefill_contact=noor%40example.com");
    evaluate("LumoHelp.write('desk@example.com', 'Where?')");
    EXPECT_EQ(awaited()["asked"], Value(1));
    EXPECT_EQ(open("?prefill_contact=noor%40example.com")["form"], Value("desk@example.com"));
    evaluate("LumoHelp.write('other@example.com', 'When?')");
    EXPECT_EQ(awaited()["asked"], Value(2));
}

TEST_F(HelpPage, AsksForAnAddressAndAQuestion)
{
    open();
    evaluate("LumoHelp.write('no address', 'Where?')");
    evaluate("LumoHelp.write('desk@example.com', '')");
    evaluate("LumoHelp.write('desk@example.com', 'Where?')");
    EXPECT_EQ(awaited()["asked"], Value(1)); // of three
}

TEST_F(HelpPage, TakesNothingButRequests)
{
    open();
    EXPECT_EQ(answerTo(R"({"contact": "a@example.com", "question": "Where?", "facts": ""})"), Value(200));
    for (const char* wrong : {"", "[]", "{}", R"({"contact": "a", "question": "b"})",
             R"({"contact": "a", "question": "b", "facts": 1})",
             R"({"contact": "", "question": "b", "facts": ""})",
             R"({"contact": "a", "question": "", "facts": ""})",
             R"({"contact": "a", "question": "b", "facts": "", "more": ""})"})
        EXPECT_EQ(answerTo(wrong), Value(400)) << wrong;
}

TEST_F(HelpPage, TakesNoMoreRequestsThanThereIsRoomFor)
{
    open();
    evaluate(R"(
        window.last = null;
        (async () => {
            const body = JSON.stringify({contact: 'a@example.com', question: 'Where?', facts: ''});
            const options = {method: 'POST', headers: {'Content-Type': 'application/json'}, body};
            for (let count = 0; count < 100; ++count)
                await fetch('/api/help', options);
            window.last = (await fetch('/api/help', options)).status;
        })();
        undefined
    )");
    EXPECT_TRUE(waitUntil([&] { return evaluate("window.last") == Value(507); }));
}

} // namespace
