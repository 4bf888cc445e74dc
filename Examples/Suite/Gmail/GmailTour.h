#pragma once

#include "Gmail/GmailApplication.h"
#include "Support/TourSteps.h"

#include <memory>
#include <vector>

namespace LumoSuite {

/// The walk through the mail: threads, the native control, and a command, with pictures on the way.
[[nodiscard]] std::vector<Tour::Step> gmailTour(
    const std::weak_ptr<GmailApplication>& mail, const TourSteps& steps);

} // namespace LumoSuite
