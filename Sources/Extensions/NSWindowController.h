#pragma once

#include <LumoKit/Platform/ApplicationKit/NSWindowController.h>

#include <functional>

namespace LumoKit {

/// Calls a handler whenever the window that the controller has now is about to close; for a controller without a window,
/// whenever any window is.
///
/// Ownership: the handler is kept for the rest of the process. What it captures of the controller or the window must be
/// weak, or it keeps them as long.
/// Thread: the main thread.
void onClose(const NSWindowController& controller, std::function<void()> handler);

} // namespace LumoKit
