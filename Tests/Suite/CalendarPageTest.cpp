// The calendar's page on the suite's real service, in the kit's web view: what the application and the user rely on.

#include "Service.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/Foundation/JSONSerialization.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace LumoKit;
using LumoKit::Test::MessageRecorder;
using LumoKit::Test::waitUntil;

class CalendarPage : public testing::Test {
protected:
    void SetUp() override
    {
        static_cast<void>(NSApplication::shared());
        auto started = LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES});
        ASSERT_TRUE(started) << started.error();
        service = std::move(*started);
        for (const char* name : {"calendarReady", "dayShown", "pageError"})
            configuration->userContentController()->add(messages, name);
        view = std::make_shared<WKWebView>(CGRect{{}, {1100, 720}}, configuration);
    }

    void load(const std::string& path) { view->load(*URL::parse(service->origin() + path)); }

    /// Loads the page and waits until it is there.
    void show(const std::string& query)
    {
        messages->messages.clear();
        load("/calendar/" + query);
        ASSERT_TRUE(awaited("dayShown"));
    }

    /// The body of the first message of a name, or of the one after `skipped` of them.
    std::optional<Value> awaited(const std::string& name, std::size_t skipped = 0)
    {
        std::optional<Value> found;
        static_cast<void>(waitUntil([&] {
            std::size_t left = skipped;
            for (const auto& message : messages->messages)
                if (message.name == name && left-- == 0)
                    found = message.body;
            return found.has_value();
        }));
        return found;
    }

    /// What a script gives.
    Value evaluate(const std::string& script)
    {
        std::optional<std::optional<Value>> answer;
        view->evaluateJavaScript(script, [&](std::optional<Value> result, auto&&) { answer = result; });
        static_cast<void>(waitUntil([&] { return answer.has_value(); }));
        return answer && *answer ? **answer : Value("no answer");
    }

    /// The days of the month that is shown, from the first to the last that are not of its neighbours.
    Value ownDays()
    {
        return evaluate("[...document.querySelectorAll('.cell:not(.other)')].map(cell => cell.dataset.day)"
                        ".filter((day, index, all) => index === 0 || index === all.length - 1).join(' ')");
    }
    std::string chosen()
    {
        return evaluate("document.querySelector('[aria-selected=true]').dataset.day").description();
    }
    /// Presses a key in the grid, as a user who is there.
    void press(const std::string& key, bool shift = false)
    {
        evaluate("document.querySelector('.cell[tabindex=\"0\"]').dispatchEvent(new KeyboardEvent('keydown', "
                 "{key: '"
            + key + "', shiftKey: " + (shift ? "true" : "false") + ", bubbles: true})); undefined");
    }
    void expectNoErrors() const
    {
        for (const auto& message : messages->messages)
            EXPECT_NE(message.name, "pageError") << message.body.description();
    }

    std::unique_ptr<LumoSuite::Service> service;
    std::shared_ptr<MessageRecorder> messages = std::make_shared<MessageRecorder>();
    std::shared_ptr<WKWebViewConfiguration> configuration = std::make_shared<WKWebViewConfiguration>();
    std::shared_ptr<WKWebView> view;
};

TEST_F(CalendarPage, EveryMonthHasItsDays)
{
    show("?date=2023-01-15");
    for (const auto& [day, days] : {std::pair("2023-01-15", "2023-01-01 2023-01-31"),
             {"2023-02-01", "2023-02-01 2023-02-28"}, {"2024-02-10", "2024-02-01 2024-02-29"},
             {"2000-02-29", "2000-02-01 2000-02-29"}, {"1900-02-28", "1900-02-01 1900-02-28"},
             {"2100-02-28", "2100-02-01 2100-02-28"}, {"2026-04-30", "2026-04-01 2026-04-30"},
             {"2026-12-31", "2026-12-01 2026-12-31"}, {"0001-01-01", "0001-01-01 0001-01-31"},
             {"9999-12-31", "9999-12-01 9999-12-31"}, {"0099-06-15", "0099-06-01 0099-06-30"}}) {
        EXPECT_EQ(evaluate(std::string("LumoCalendar.show('") + day + "')"), Value(true)) << day;
        EXPECT_EQ(ownDays(), Value(days)) << day;
        EXPECT_EQ(chosen(), day);
        EXPECT_EQ(evaluate("[...document.querySelectorAll('.week')].every(week => "
                           "week.querySelectorAll('.cell').length === 7)"),
            Value(true));
    }
    expectNoErrors();
}

TEST_F(CalendarPage, AWeekBeginsOnTheDayThatIsAskedFor)
{
    // February 2027 begins on a Monday and has four whole weeks: with another first day it needs five.
    for (const auto& [first, name, day, weeks] : {std::tuple("1", "Monday", "2027-02-01", 4),
             {"0", "Sunday", "2027-01-31", 5}, {"6", "Saturday", "2027-01-30", 5}}) {
        show(std::string("?date=2027-02-10&first=") + first);
        EXPECT_EQ(evaluate("document.querySelector('.weekday').getAttribute('aria-label')"), Value(name));
        EXPECT_EQ(evaluate("document.querySelector('.cell').dataset.day"), Value(day));
        EXPECT_EQ(evaluate("document.querySelectorAll('.week').length"), Value(weeks));
    }
    show("?date=2021-05-05&first=1"); // 31 days from a Saturday on
    EXPECT_EQ(evaluate("document.querySelectorAll('.week').length"), Value(6));
}

TEST_F(CalendarPage, WeeksHaveTheirNumbers)
{
    for (const auto& [day, number] : {std::pair("2021-01-03", 53), {"2021-01-04", 1}, {"2024-12-30", 1},
             {"2026-12-31", 53}, {"2023-01-01", 52}}) {
        show(std::string("?date=") + day + "&first=1");
        evaluate("LumoCalendar.showWeekNumbers(true)");
        EXPECT_EQ(evaluate("document.querySelector('[aria-selected=true]').parentElement.querySelector("
                           "'.week-number').textContent"),
            Value(std::to_string(number)))
            << day;
    }
}

TEST_F(CalendarPage, WhatAnAddressAsksForIsADayOrToday)
{
    const std::string today = (show("?first=1"), evaluate("LumoDays.text(LumoDays.today())").description());
    EXPECT_EQ(chosen(), today);
    for (const char* query : {"?date=", "?date=2026-02-29", "?date=2026-13-01", "?date=2026-00-10",
             "?date=2026-11-00", "?date=0000-01-01", "?date=10000-01-01", "?date=-001-01-01",
             "?date=2026-1-1", "?date=tomorrow", "?date=%3Cimg%20src%3Dx%20onerror%3Dalert(1)%3E",
             "?date=2026-11-21%00", "?date=2026-11-21%0A", "?date=%F0%9F%93%85", "?date=1e9", "?date=NaN",
             "?date=%FF%FE", "?first=7&lanes=1e9&titlebar=-1&raise=%3Cb%3E", "?first=&titlebar=99999"}) {
        show(query);
        EXPECT_EQ(chosen(), today) << query;
        EXPECT_EQ(evaluate("document.images.length"), Value(1)) << query;
    }
    show("?date=2024-02-29&date=2024-03-01");
    EXPECT_EQ(chosen(), "2024-02-29");
    show("?date=2024-02-29&pad=" + std::string(4000, 'x'));
    EXPECT_EQ(chosen(), "2024-02-29");
    for (const char* day : {"'2026-02-30'", "null", "undefined", "{}", "42", "'<b>'", "Infinity"})
        EXPECT_EQ(evaluate(std::string("LumoCalendar.show(") + day + ")"), Value(false)) << day;
    EXPECT_EQ(chosen(), "2024-02-29");
    expectNoErrors();
}

TEST_F(CalendarPage, IsOperatedWithKeys)
{
    show("?date=2024-01-31&first=1");
    press("PageDown"); // to a shorter month
    EXPECT_EQ(chosen(), "2024-02-29");
    press("PageDown", true); // to a shorter February
    EXPECT_EQ(chosen(), "2025-02-28");
    press("ArrowRight");
    EXPECT_EQ(chosen(), "2025-03-01");
    press("ArrowUp");
    EXPECT_EQ(chosen(), "2025-02-22");
    press("Home");
    EXPECT_EQ(chosen(), "2025-02-17");
    press("End");
    EXPECT_EQ(chosen(), "2025-02-23");
    press("ArrowDown");
    press("ArrowLeft");
    EXPECT_EQ(chosen(), "2025-03-01");
    press("PageUp");
    EXPECT_EQ(chosen(), "2025-02-01");
    EXPECT_EQ(
        evaluate("document.activeElement.dataset.day"), Value("2025-02-01")); // the keyboard stays there
    press("t");
    EXPECT_EQ(chosen(), evaluate("LumoDays.text(LumoDays.today())").description());

    // There is no day before the first and none after the last.
    evaluate("LumoCalendar.show('0001-01-01')");
    press("ArrowLeft");
    press("PageUp");
    EXPECT_EQ(chosen(), "0001-01-01");
    evaluate("LumoCalendar.show('9999-12-31')");
    press("ArrowDown");
    press("PageDown", true);
    EXPECT_EQ(chosen(), "9999-12-31");
    expectNoErrors();
}

TEST_F(CalendarPage, ShowsAndTellsWhatHappensOnADay)
{
    show("?first=1");
    const auto ready = awaited("calendarReady");
    ASSERT_TRUE(ready);
    EXPECT_EQ((*ready)["owner"]["address"], Value("robin@example.com"));
    const auto today = awaited("dayShown");
    ASSERT_TRUE(today);
    EXPECT_GE((*today)["events"].asInteger().value_or(0), 3);
    EXPECT_EQ(evaluate("document.querySelectorAll('#events .event').length"), (*today)["events"]);

    // Rowing is every Thursday, also years from here.
    evaluate("LumoCalendar.show('2031-05-01')");
    const auto later = awaited("dayShown", 1);
    ASSERT_TRUE(later);
    EXPECT_EQ((*later)["date"], Value("2031-05-01"));
    EXPECT_EQ(
        evaluate("[...document.querySelectorAll('.event-title')].some(e => e.textContent === 'Rowing')"),
        Value(true));

    // A calendar that is put away takes its events along.
    evaluate("document.querySelector('[data-calendar=Personal]').click()");
    EXPECT_EQ(
        evaluate("[...document.querySelectorAll('.event-title')].some(e => e.textContent === 'Rowing')"),
        Value(false));
    expectNoErrors();
}

TEST_F(CalendarPage, UsesNothingFromElsewhere)
{
    show("");
    EXPECT_EQ(evaluate("performance.getEntriesByType('resource').filter(entry => "
                       "!entry.name.startsWith(location.origin + '/')).length"),
        Value(0));
}

TEST_F(CalendarPage, TheServiceGivesTheEventsOfFewDaysOnly)
{
    show("");
    const auto status = [&](const std::string& query) {
        evaluate("window.status_ = null; fetch('/api/events" + query
            + "').then(r => { window.status_ = r.status }); undefined");
        static_cast<void>(waitUntil([&] { return evaluate("window.status_ !== null") == Value(true); }));
        return evaluate("window.status_");
    };
    for (const char* query : {"", "?from=2026-01-01", "?to=2026-01-01", "?from=2026-01-02&to=2026-01-01",
             "?from=2026-01-01&to=2026-03-04", "?from=0001-01-01&to=9999-12-31",
             "?from=2026-02-29&to=2026-03-01", "?from=2026-01-01T00:00&to=2026-01-02", "?from=%00&to=%00",
             "?from=-9999999999&to=9999999999"})
        EXPECT_EQ(status(query), Value(400)) << query;
    EXPECT_EQ(status("?from=2026-01-01&to=2026-03-03"), Value(200));
    EXPECT_EQ(status("?from=9999-12-31&to=9999-12-31"), Value(200));
}

/// The days that texts mention, by the module that both pages have.
TEST_F(CalendarPage, DaysAreFoundInRunningText)
{
    show("");
    const auto mentioned = [&](const std::string& text) {
        return evaluate("LumoDays.mentions('" + text
            + "', LumoDays.parse('2026-11-21')).filter(p => p.day !== null).map(p => p.text + '=' + "
              "LumoDays.text(p.day)).join()"); // a Saturday
    };
    for (const auto& [text, days] :
        {std::pair("by Thursday noon", "Thursday=2026-11-26"), {"Saturday, 07:40", "Saturday=2026-11-21"},
            {"today and tomorrow", "today=2026-11-21,tomorrow=2026-11-22"},
            {"on 2024-02-29.", "2024-02-29=2024-02-29"}, {"on 2023-02-29.", ""},
            {"the 3rd or the 21st", "the 3rd=2026-12-03,the 21st=2026-11-21"}, {"the 31st", ""},
            {"1 March 2027", "1 March 2027=2027-03-01"}, {"May 5th, 2030", "May 5th, 2030=2030-05-05"},
            {"31 February", ""}, {"version 1.2026-11-2199", ""}, {"Mondays", "Mondays=2026-11-23"},
            {"sundayish", ""}, {"", ""}, {"<b>Monday</b>", "Monday=2026-11-23"}})
        EXPECT_EQ(mentioned(text), Value(days)) << text;
    // Whatever the text, its pieces are the text.
    EXPECT_EQ(evaluate("{ const text = 'Monday today the 5th, x May 3 99 2026-01-01'.repeat(2000); "
                       "LumoDays.mentions(text, 20000).map(p => p.text).join('') === text }"),
        Value(true));
}

} // namespace
