#pragma once

#include <functional>

namespace LumoKit::Test {

/// Runs the main loop until `condition` holds, for twenty seconds at most; true if it came to hold. The
/// condition is asked after every turn of the loop, so that nothing is waited for that is there already.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition);

/// The same for what happens outside of this process, whose main loop it does not wake: asked a hundred times a second.
[[nodiscard]] bool waitForOthers(const std::function<bool()>& condition);

/// Runs the main loop until it has handled everything that is due now, as a test does that shows that
/// something does not happen: first make something that comes after it happen, and wait for that.
void runPendingTurns();

} // namespace LumoKit::Test
