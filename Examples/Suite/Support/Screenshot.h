#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindow.h>

#include <filesystem>
#include <functional>
#include <memory>

namespace LumoSuite {

/// Saves a picture of a window, as it is on the screen, once that has stopped changing and shows more than
/// one colour, and calls `saved` with whether that came to be within ten seconds. X11 only.
///
/// Thread: the main thread.
void saveScreenshot(const std::shared_ptr<LumoKit::NSWindow>& window, const std::filesystem::path& file,
    std::function<void(bool)> saved);

} // namespace LumoSuite
