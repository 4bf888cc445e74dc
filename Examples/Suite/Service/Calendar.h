#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace LumoSuite {

/// What happens on one day, at times of that day wherever it is read, or all day long.
struct Event {
    std::string id;
    std::chrono::year_month_day day;
    // Since midnight; nothing for all day.
    std::optional<std::chrono::minutes> start;
    std::chrono::minutes length{0};
    std::string title;
    // Which of the reader's calendars it is in.
    std::string calendar;
    // Empty where it does not matter.
    std::string place;
    std::vector<std::string> people;

    bool operator==(const Event&) const = default;
};

/// The events of one reader: some of them every week, month or year, so that there is no end to them.
class Calendar {
public:
    /// The most days that are asked for at once.
    static constexpr std::chrono::days longest{62};

    /// A calendar of samples for one of the sample readers, where what happens once does so around a day.
    static Calendar sample(std::chrono::sys_days today, std::size_t owner = 0);

    /// What happens from a day up to and including another: by day, all-day events first, then by time.
    [[nodiscard]] std::vector<Event> events(std::chrono::sys_days from, std::chrono::sys_days to) const;

    /// What the reader's calendars are called, by the alphabet.
    [[nodiscard]] std::set<std::string> names() const;

    /// How often an event happens again.
    enum class Repeats { never, weekly, fortnightly, monthly, yearly };

private:
    struct Entry {
        Event event;
        Repeats repeats = Repeats::never;
        std::chrono::sys_days first; // it does not happen before this
    };

    static bool happens(const Entry& entry, std::chrono::sys_days day);

    std::vector<Entry> entries;
};

} // namespace LumoSuite
