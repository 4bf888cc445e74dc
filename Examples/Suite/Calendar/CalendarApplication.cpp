#include "Calendar/CalendarApplication.h"

#include "Support/CalendarAddress.h"
#include "Support/Day.h"

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
            menuItem("Previous Month", &CalendarApplication::showPreviousMonth, "["),
            menuItem("Next Month", &CalendarApplication::showNextMonth, "]")});
    addMenu(bar, "Suite", {menuItem("Show Inbox", &CalendarApplication::showInbox, "1")});
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

void CalendarApplication::showInbox()
{
    report(CrossApp::open(App::inbox) ? "inbox shown" : "no inbox");
}

} // namespace LumoSuite
