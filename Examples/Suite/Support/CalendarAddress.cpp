#include "Support/CalendarAddress.h"

#include "Support/Day.h"

#include <LumoKit/Platform/Foundation/PercentEncoding.h>
#include <LumoKit/Platform/Foundation/URLComponents.h>
#include <LumoKit/Utility/CrossApp.h>

namespace LumoSuite {

using namespace LumoKit;

namespace {

constexpr std::string_view host = "calendar.lumosuite.example";
constexpr std::string_view path = "/calendar/";
/// Source: RFC 3986, section 2.3.
constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

} // namespace

std::optional<URL> calendarAddress(const CalendarDay& day)
{
    if (!readDay(day.day))
        return std::nullopt;
    std::string address = "https://" + std::string(host) + std::string(path) + "?date=" + day.day;
    if (!day.account.empty())
        address += "&account=" + addingPercentEncoding(day.account, unreserved).value_or("");
    return URL::parse(address);
}

std::optional<CalendarDay> dayOfAddress(const URL& address)
{
    const URLComponents parts(address);
    const auto day = parts.firstQueryValue("date");
    if (parts.scheme() != "https" || parts.host() != host || parts.path() != path || parts.port()
        || parts.user() || !day || !readDay(*day))
        return std::nullopt;
    return CalendarDay{*day, parts.firstQueryValue("account").value_or("")};
}

bool openInCalendar(const CalendarDay& day)
{
    const auto address = calendarAddress(day);
    return address
        && CrossApp::launch(CrossApp::App::calendar, "open_url", {{"url", address->absoluteString()}}, true);
}

} // namespace LumoSuite
