#pragma once

#include "Inbox/InboxApplication.h"
#include "Support/TourSteps.h"

#include <memory>
#include <vector>

namespace LumoSuite {

/// The walk through the inbox: what its page, its native control and their messages do, and the calendar where it is
/// installed, with pictures on the way.
[[nodiscard]] std::vector<Tour::Step> inboxTour(
    const std::weak_ptr<InboxApplication>& inbox, const TourSteps& steps);

} // namespace LumoSuite
