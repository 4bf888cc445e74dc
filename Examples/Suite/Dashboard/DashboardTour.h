#pragma once

#include "Dashboard/DashboardApplication.h"
#include "Support/TourSteps.h"

#include <memory>
#include <vector>

namespace LumoSuite {

/// The walk through the dashboard: accounts, and the day, with pictures on the way.
[[nodiscard]] std::vector<Tour::Step> dashboardTour(
    const std::weak_ptr<DashboardApplication>& dashboard, const TourSteps& steps);

} // namespace LumoSuite
