#pragma once

#include <source_location>

namespace LumoKit {

/// Whether the calling thread is the process's first one, where all user-interface objects live.
[[nodiscard]] bool isMainThread();

/// Stops a debug build with a message when a main-thread object is used elsewhere; does nothing in a release
/// build.
void assertMainThread(std::source_location where = std::source_location::current());

} // namespace LumoKit
