#pragma once

#include "Calendar/CalendarApplication.h"
#include "Support/TourSteps.h"

#include <memory>
#include <vector>

namespace LumoSuite {

/// The walk through the calendar: months, days, and the commands of other applications, with pictures on the way.
[[nodiscard]] std::vector<Tour::Step> calendarTour(
    const std::weak_ptr<CalendarApplication>& calendar, const TourSteps& steps);

} // namespace LumoSuite
