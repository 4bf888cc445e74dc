#pragma once

#include <LumoKit/Platform/ApplicationKit/NSStoryboard.h>
#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>

#include <memory>
#include <string_view>

namespace LumoKit {

/// The interface file of that name in the main bundle. It may name `BackgroundView`, `ImageButton`,
/// `LMFramelessWindowBehaviour` and `WindowDraggingView`, too.
/// Errors: stops the process if there is none.
/// Thread: the main thread.
[[nodiscard]] std::shared_ptr<NSStoryboard> storyboard(std::string_view named);

/// A new window controller, with its window.
/// Errors: stops the process if there is none of that identifier, or if it is in charge of no window.
/// Thread: the main thread.
[[nodiscard]] std::shared_ptr<NSWindowController> loadWindowController(
    const NSStoryboard& storyboard, std::string_view id);

/// The same with the initial controller.
/// Thread: the main thread.
[[nodiscard]] std::shared_ptr<NSWindowController> loadInitialWindowController(const NSStoryboard& storyboard);

} // namespace LumoKit
