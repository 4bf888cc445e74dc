#pragma once

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <memory>

namespace LumoKit {

/// Runs `callback` once on the queue `on`, `duration` from now; never before this function has returned to a
/// caller on that queue. It cannot be cancelled.
/// Units of `duration`: seconds; one that is negative or not a number counts as none.
/// Thread: any.
void delay(double duration, const std::shared_ptr<DispatchQueue>& on, DispatchQueue::Work callback);

} // namespace LumoKit
