#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace LumoSuite {

/// Reads a day in the form 2026-11-21, of the years 1 to 9999.
/// Errors: nothing where the text is anything else, or no day that there is.
/// Source: RFC 3339, full-date.
inline std::optional<std::chrono::sys_days> readDay(std::string_view text)
{
    using namespace std::chrono;
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    unsigned numbers[3] = {};
    for (std::size_t index = 0, part = 0; index < text.size(); ++index) {
        if (index == 4 || index == 7)
            ++part;
        else if (text[index] < '0' || text[index] > '9')
            return std::nullopt;
        else
            numbers[part] = numbers[part] * 10 + static_cast<unsigned>(text[index] - '0');
    }
    const year_month_day read(year(static_cast<int>(numbers[0])), month(numbers[1]), day(numbers[2]));
    return numbers[0] > 0 && read.ok() ? std::optional(sys_days(read)) : std::nullopt;
}

} // namespace LumoSuite
