#include "Calendar.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace LumoSuite {

namespace {

using namespace std::chrono;
using Repeats = Calendar::Repeats;

struct SampleEvent {
    days after; // of the first one, from today
    Repeats repeats;
    std::optional<minutes> start;
    minutes length;
    const char* title;
    const char* calendar;
    const char* place;
    std::vector<std::string> people;
};

constexpr auto allDay = std::nullopt;

/// How many days there are from the Monday of a week to one of its days.
days sinceMonday(sys_days day)
{
    return weekday(day) - Monday;
}

/// From today to a day of this week, of which Monday is 0.
days onWeekday(sys_days today, int wanted)
{
    return days(wanted) - sinceMonday(today);
}

std::vector<SampleEvent> robinsSamples(sys_days today)
{
    const auto on = [&](int wanted, int weeks = 0) { return onWeekday(today, wanted) + days(7 * weeks); };
    constexpr int longAgo = -520;
    return {
        {on(0, longAgo), Repeats::weekly, 9h + 15min, 30min, "Week ahead", "Work", "Map room",
            {"Maya Lindqvist", "Tomasz Wrona"}},
        {on(2, longAgo), Repeats::fortnightly, 14h, 1h, "Steering group", "Work", "Reading room",
            {"Farid Naseri", "Maya Lindqvist"}},
        {on(3, longAgo), Repeats::weekly, 18h + 30min, 90min, "Rowing", "Personal", "Boat house, pier 6", {}},
        {on(4, longAgo), Repeats::weekly, 16h, 45min, "Archive hour", "Work", "", {"Tomasz Wrona"}},
        {on(6, longAgo), Repeats::fortnightly, 11h, 30min, "Call Grandma", "Personal", "", {"Edith"}},
        {days(-1), Repeats::yearly, allDay, 0min, "Kofi’s birthday", "Birthdays", "", {}},
        {days(9), Repeats::yearly, allDay, 0min, "Maya’s birthday", "Birthdays", "", {}},
        {days(16), Repeats::yearly, allDay, 0min, "Grandma’s birthday", "Birthdays", "", {}},
        {days(-11), Repeats::monthly, 8h, 15min, "Water the fig tree", "Personal", "", {}},
        {days(5), Repeats::monthly, allDay, 0min, "Rent", "Personal", "", {}},
        {days(0), Repeats::never, 10h + 30min, 45min, "Harbour map: last look", "Work", "Map room",
            {"Maya Lindqvist"}},
        {days(0), Repeats::never, 12h + 30min, 1h, "Lunch by the canal", "Personal", "Café Quince",
            {"Ines Carvalho"}},
        {days(0), Repeats::never, 15h, 30min, "Search is slow, together", "Work", "", {"Tomasz Wrona"}},
        {days(1), Repeats::never, 13h, 45min, "Offer for the shelves", "Work", "Reading room",
            {"Halvard Joinery"}},
        {on(3, 0), Repeats::never, 12h, 15min, "Map to the printer", "Work", "", {"Maya Lindqvist"}},
        {on(5, 0), Repeats::never, 7h + 40min, 155min, "Ferry to Skerrow", "Travel", "Pier 3", {}},
        {on(6, 0), Repeats::never, 17h + 20min, 155min, "Ferry back", "Travel", "Skerrow", {}},
        {on(1, 1), Repeats::never, 9h, 2h, "Release notes, second draft", "Work", "", {"Adaeze Okonjo"}},
        {on(5, 1), Repeats::never, 20h, 2h, "Quartet in the town hall", "Personal", "Town hall",
            {"Noor Haddad"}},
        {on(0, 2), Repeats::never, allDay, 0min, "Lindmark", "Travel", "Pension Albatros", {}},
        {on(1, 2), Repeats::never, allDay, 0min, "Lindmark", "Travel", "Pension Albatros", {}},
        {on(1, -1), Repeats::never, 11h, 1h, "North quay, on foot", "Work", "Pier 4", {"Maya Lindqvist"}},
        {on(3, -2), Repeats::never, 9h + 30min, 30min, "Dentist", "Personal", "Gull Street 8", {}},
        {on(4, 3), Repeats::never, 10h, 3h, "Reading room opens", "Work", "Reading room", {"Farid Naseri"}},
    };
}

std::vector<SampleEvent> noorsSamples(sys_days today)
{
    const auto on = [&](int wanted, int weeks = 0) { return onWeekday(today, wanted) + days(7 * weeks); };
    constexpr int longAgo = -520;
    return {
        {on(3, longAgo), Repeats::weekly, 19h, 3h, "Rehearsal", "Music", "Town hall, small stage",
            {"Eliot Marsh", "Ana Ferreira", "Oskar Blom"}},
        {on(1, longAgo), Repeats::weekly, 16h, 1h, "Lesson: Jonas", "Lessons", "", {}},
        {on(2, longAgo), Repeats::weekly, 16h, 1h, "Lesson: Amira", "Lessons", "", {}},
        {on(5, longAgo), Repeats::weekly, 9h, 1h, "Market", "Personal", "By the fountain", {"Leila Haddad"}},
        {days(0), Repeats::never, 11h, 90min, "Green bowings", "Music", "", {"Ana Ferreira"}},
        {days(2), Repeats::never, allDay, 0min, "Strings arrive", "Music", "", {}},
        {on(5, 1), Repeats::never, 20h, 2h, "Quartet in the town hall", "Music", "Town hall",
            {"Eliot Marsh", "Ana Ferreira", "Oskar Blom"}},
        {days(12), Repeats::yearly, allDay, 0min, "Leila’s birthday", "Personal", "", {}},
    };
}

} // namespace

Calendar Calendar::sample(sys_days today, std::size_t owner)
{
    Calendar calendar;
    for (SampleEvent& sample : owner == 0 ? robinsSamples(today) : noorsSamples(today)) {
        Event event{
            .id = "e" + std::to_string(calendar.entries.size() + 1),
            .day = {},
            .start = sample.start,
            .length = sample.length,
            .title = sample.title,
            .calendar = sample.calendar,
            .place = sample.place,
            .people = std::move(sample.people),
        };
        auto first = today + sample.after;
        if (sample.repeats == Repeats::monthly || sample.repeats == Repeats::yearly)
            first -= days(3650); // it did so before, too
        const year_month_day on(today + sample.after);
        event.day = on;
        calendar.entries.push_back({std::move(event), sample.repeats, first});
    }
    return calendar;
}

bool Calendar::happens(const Entry& entry, sys_days day)
{
    const year_month_day asked(day);
    const auto since = day - sys_days(entry.event.day);
    if (day < entry.first)
        return false;
    switch (entry.repeats) {
    case Repeats::never:
        return asked == entry.event.day;
    case Repeats::weekly:
        return since % days(7) == days(0);
    case Repeats::fortnightly:
        return since % days(14) == days(0);
    case Repeats::monthly:
        return asked.day() == entry.event.day.day();
    case Repeats::yearly:
        return asked.day() == entry.event.day.day() && asked.month() == entry.event.day.month();
    }
    std::unreachable();
}

std::set<std::string> Calendar::names() const
{
    std::set<std::string> names;
    for (const Entry& entry : entries)
        names.insert(entry.event.calendar);
    return names;
}

std::vector<Event> Calendar::events(sys_days from, sys_days to) const
{
    std::vector<Event> found;
    for (sys_days day = from; day <= to; day += days(1))
        for (const Entry& entry : entries)
            if (happens(entry, day)) {
                found.push_back(entry.event);
                found.back().day = day;
            }
    std::ranges::stable_sort(
        found, {}, [](const Event& event) { return std::tuple(event.day, event.start); });
    return found;
}

} // namespace LumoSuite
