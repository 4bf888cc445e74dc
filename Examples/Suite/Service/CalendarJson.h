#pragma once

#include "Calendar.h"
#include "Mailbox.h"

#include <expected>
#include <string>
#include <string_view>

namespace LumoSuite {

/// The days that a page asks for, the last one included.
struct DayRange {
    std::chrono::sys_days from;
    std::chrono::sys_days to;

    bool operator==(const DayRange&) const = default;
};

/// Reads "from=<day>&to=<day>", in whatever order.
///
/// Errors: a sentence that says what is wrong with the query.
std::expected<DayRange, std::string> readDayRange(std::string_view query);

/// What happens on some days as the JSON text of an object: whose it is, the names of all calendars, and the list of events.
std::string eventsText(const Person& owner, const Calendar& calendar, const DayRange& days);

} // namespace LumoSuite
