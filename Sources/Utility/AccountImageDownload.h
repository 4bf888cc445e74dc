#pragma once

#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/Foundation/URL.h>

#include <functional>
#include <memory>

namespace LumoKit {

/// The picture of a signed-in account, as two places of the interface show it. It is downloaded once for each of them, and
/// kept in memory and on disk.
///
/// `then` is called once, never within the call, with null where there is no picture: the download failed, or it was no
/// image. Nothing else is told of errors.
/// Thread: any; `then` is called on the main queue.
namespace AccountImageDownloader {

/// 20 by 20 points, with rounded corners.
void fetchProfileImageForAccountMenu(
    const URL& url, std::move_only_function<void(std::shared_ptr<NSImage>)> then);

/// 56 by 56 points, a circle.
void fetchProfileImageForDashboard(
    const URL& url, std::move_only_function<void(std::shared_ptr<NSImage>)> then);

} // namespace AccountImageDownloader

} // namespace LumoKit
