#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <optional>
#include <string>

namespace LumoSuite {

/// A day in somebody's calendar.
struct CalendarDay {
    std::string day; // such as 2026-11-21
    std::string account; // its address; empty for whoever is shown

    bool operator==(const CalendarDay&) const = default;
};

/// Where a day is found in the calendar, under the suite's own address: what applications hand to one another, each of
/// which has a service of its own.
/// Errors: nothing where the text is no day.
[[nodiscard]] std::optional<LumoKit::URL> calendarAddress(const CalendarDay& day);

/// The day that such an address is of.
/// Errors: nothing for every other address, as links come from anywhere.
[[nodiscard]] std::optional<CalendarDay> dayOfAddress(const LumoKit::URL& address);

/// Opens a day in Lumo for Calendar, which starts if it does not run; an alert tells the user where it is missing. One
/// link says the day and the account, as two may overtake one another.
/// Errors: false where it is missing or cannot be started, and where the text is no day.
/// Thread: the main thread.
bool openInCalendar(const CalendarDay& day);

} // namespace LumoSuite
