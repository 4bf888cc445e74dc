#pragma once

#include "InboxApplication.h"
#include "Support/Tour.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace LumoSuite {

/// The walk through the inbox: what its page, its native control and their messages do, with a picture on the
/// way.
[[nodiscard]] std::vector<Tour::Step> inboxTour(const std::weak_ptr<InboxApplication>& application,
    const std::filesystem::path& picture, const std::function<void(const std::string&)>& report);

/// The walk through any other page: it loads, and a picture is saved.
[[nodiscard]] std::vector<Tour::Step> pageTour(const std::weak_ptr<InboxApplication>& application,
    const std::filesystem::path& picture, const std::function<void(const std::string&)>& report);

} // namespace LumoSuite
