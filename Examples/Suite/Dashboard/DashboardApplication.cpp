#include "Dashboard/DashboardApplication.h"

#include "Support/CalendarAddress.h"
#include "Support/Day.h"
#include "Support/SharedAccounts.h"

#include <LumoKit/Platform/Foundation/JSONSerialization.h>

namespace LumoSuite {

using namespace LumoKit;

namespace {

using Message = PageMessage<DashboardApplication>;

} // namespace

DashboardApplication::DashboardApplication(std::optional<OtherPage> otherPage, Report report)
    : SuiteApplication(App::dashboard, "dashboard", std::move(otherPage), std::move(report))
{
}

PageMessages DashboardApplication::pageMessages() const
{
    return {
        std::make_shared<Message>("dashboardReady",
            [](DashboardApplication& dashboard, const Value& body) {
                dashboard.report("page ready: " + textOf(body["owner"]["name"]));
                dashboard.pageIsShown(body["owner"]);
            }),
        std::make_shared<Message>("overview",
            [](DashboardApplication& dashboard, const Value& body) {
                const auto unread = body["unread"].asInteger();
                const auto events = body["events"].asInteger();
                if (!unread || !events || *unread < 0 || !dashboard.ready)
                    return;
                dashboard.unread[dashboard.shownAccount()] = *unread;
                dashboard.mainWindow->setTitle(*unread == 0 ? "" : std::to_string(*unread) + " unread");
                dashboard.report("overview: " + std::to_string(*unread) + " unread, "
                    + std::to_string(*events) + " events");
            }),
        std::make_shared<Message>("accountChosen",
            [](DashboardApplication& dashboard, const Value& body) { dashboard.openAccount(textOf(body)); }),
        std::make_shared<Message>("dayChosen",
            [](DashboardApplication& dashboard, const Value& body) { dashboard.openDay(textOf(body)); }),
        std::make_shared<Message>("mailChosen",
            [](DashboardApplication& dashboard, const Value&) { dashboard.showSibling(App::inbox); }),
    };
}

void DashboardApplication::addMenus(NSMenu& bar)
{
    addMenu(bar, "View", {menuItem("Refresh", &DashboardApplication::refresh, "r")});
}

void DashboardApplication::pageIsReady()
{
    Value::Array accounts;
    for (const Account& account : sharedAccounts()) {
        Value::Dictionary entry{{"name", account.fullname()}, {"address", account.email()},
            {"image", account.imageURL() ? account.imageURL()->path() : ""}};
        if (const auto known = unread.find(account.email()); known != unread.end())
            entry["unread"] = known->second;
        accounts.emplace_back(std::move(entry));
    }
    if (const auto list = JSONSerialization::text(accounts))
        execute("LumoDashboard.showAccounts(" + *list + ")");
}

void DashboardApplication::openDay(const std::string& day)
{
    if (!readDay(day))
        return;
    report("day chosen: " + day);
    report(openInCalendar({day, shownAccount()}) ? "calendar asked" : "no calendar");
}

} // namespace LumoSuite
