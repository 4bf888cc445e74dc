#include "CalendarJson.h"

#include "JsonText.h"
#include "Support/Day.h"

#include <algorithm>

namespace LumoSuite {

using namespace std::chrono;

namespace {

std::string padded(long number, std::size_t length)
{
    std::string text = std::to_string(number);
    return text.insert(0, length - std::min(length, text.size()), '0');
}

std::string dayText(const year_month_day& day)
{
    return padded(static_cast<int>(day.year()), 4) + "-" + padded(static_cast<unsigned>(day.month()), 2) + "-"
        + padded(static_cast<unsigned>(day.day()), 2);
}

std::string clockText(minutes time)
{
    const auto sinceMidnight = time % 24h;
    return padded(sinceMidnight / 1h, 2) + ":" + padded((sinceMidnight % 1h) / 1min, 2);
}

Json eventJson(const Event& event)
{
    Json json = {{"id", event.id}, {"date", dayText(event.day)}, {"title", event.title},
        {"calendar", event.calendar}, {"place", event.place}, {"people", event.people}};
    if (event.start) {
        json["start"] = clockText(*event.start);
        json["end"] = clockText(*event.start + event.length);
    }
    return json;
}

} // namespace

std::expected<DayRange, std::string> readDayRange(std::string_view query)
{
    std::optional<sys_days> from;
    std::optional<sys_days> to;
    while (!query.empty()) {
        const auto end = query.find('&');
        const auto item = query.substr(0, end);
        query.remove_prefix(end == query.npos ? query.size() : end + 1);
        if (item.starts_with("from="))
            from = readDay(item.substr(5));
        else if (item.starts_with("to="))
            to = readDay(item.substr(3));
    }
    if (!from || !to)
        return std::unexpected("The query needs \"from\" and \"to\", each a day such as 2026-11-21.");
    if (*to < *from || *to - *from >= Calendar::longest)
        return std::unexpected(
            "The days have to be in order, and at most " + std::to_string(Calendar::longest.count()) + ".");
    return DayRange{*from, *to};
}

std::string eventsText(const Person& owner, const Calendar& calendar, const DayRange& days)
{
    Json list = Json::array();
    for (const Event& event : calendar.events(days.from, days.to))
        list.push_back(eventJson(event));
    return jsonText(
        {{"owner", personJson(owner)}, {"calendars", calendar.names()}, {"events", std::move(list)}});
}

} // namespace LumoSuite
