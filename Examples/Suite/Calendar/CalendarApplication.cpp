#include "Calendar/CalendarApplication.h"

#include "Support/CalendarAddress.h"
#include "Support/Day.h"

#include <LumoKit/Utility/Alerts.h>
#include <LumoKit/Utility/String+Regex.h>

#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Message = PageMessage<CalendarApplication>;

constexpr double todayWidth = 96;

} // namespace

CalendarApplication::CalendarApplication(std::optional<OtherPage> otherPage, Report report)
    : SuiteApplication(App::calendar, "calendar", std::move(otherPage), std::move(report))
{
}

PageMessages CalendarApplication::pageMessages() const
{
    return {
        std::make_shared<Message>("calendarReady",
            [](CalendarApplication& calendar, const Value& body) {
                calendar.report("page ready: " + textOf(body["date"]));
                calendar.pageIsShown(body["owner"]);
            }),
        std::make_shared<Message>("dayShown",
            [](CalendarApplication& calendar, const Value& body) {
                const auto events = body["events"].asInteger();
                if (!events || !readDay(textOf(body["date"])))
                    return;
                calendar.mainWindow->setTitle(textOf(body["title"]));
                calendar.report(
                    "day shown: " + textOf(body["date"]) + ", " + std::to_string(*events) + " events");
            }),
    };
}

void CalendarApplication::addControls()
{
    button = std::make_shared<NSButton>("Today", CGRect{});
    button->setEnabled(false);
    button->setAction([weak = weak_from_this()](NSButton&) {
        if (const auto calendar = std::dynamic_pointer_cast<CalendarApplication>(weak.lock()))
            calendar->showToday();
    });
    mainWindow->addControl(button, todayWidth);
}

void CalendarApplication::addMenus(NSMenu& bar)
{
    addMenu(bar, "View",
        {menuItem("Today", &CalendarApplication::showToday, "t"),
            menuItem("Go to Day…", &CalendarApplication::askForDay, "g"),
            menuItem("Previous Month", &CalendarApplication::showPreviousMonth, "["),
            menuItem("Next Month", &CalendarApplication::showNextMonth, "]")});
}

void CalendarApplication::pageIsReady()
{
    button->setEnabled(true);
    if (const auto waiting = std::exchange(day, std::nullopt))
        execute("LumoCalendar.show('" + *waiting + "')");
}

void CalendarApplication::pageIsGone()
{
    if (button)
        button->setEnabled(false);
}

void CalendarApplication::askForDay()
{
    showTextInputAlert("Which day? Such as 2026-11-21.", AlertPresentationStyle::sheet(window()),
        [weak = weak_from_this()](const std::optional<std::string>& text) {
            const auto calendar = std::dynamic_pointer_cast<CalendarApplication>(weak.lock());
            if (!calendar || !text)
                return;
            const auto days = matches(*text, "[0-9]{4}-[0-9]{2}-[0-9]{2}"); // whatever else is said
            if (!days.empty() && readDay(days.front()))
                calendar->execute("LumoCalendar.show('" + days.front() + "')");
            else
                showAlert("There is no such day",
                    "A day is its year, its month and its number, as in 2026-11-21.", "OK",
                    AlertPresentationStyle::sheet(calendar->window()));
        });
}

bool CalendarApplication::openAddress(const URL& address)
{
    // Nothing but a day of ours is opened: a link may have been made by anybody.
    const auto asked = dayOfAddress(address);
    if (!asked || (!asked->account.empty() && !openAccount(asked->account)))
        return false;
    day = asked->day;
    if (ready)
        pageIsReady();
    return true;
}

} // namespace LumoSuite
