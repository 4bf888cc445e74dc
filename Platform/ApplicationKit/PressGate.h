#pragma once

#include <set>
#include <utility>

namespace LumoKit::detail {

/// What of the user's input reaches a window while others are blocked. A release goes where its press went: a
/// window that was blocked while a button was down must still see it go up, and one that never saw a press must
/// not see the release.
///
/// Thread: the main thread.
class PressGate {
public:
    enum class Device { button, key, touch };

    /// A press of a button, key or finger; whether it gets through.
    bool press(Device device, const void* identifier, bool allowed)
    {
        if (allowed)
            held.erase({device, identifier});
        else
            held.insert({device, identifier});
        return allowed;
    }

    /// The release that belongs to it.
    bool release(Device device, const void* identifier) { return held.erase({device, identifier}) == 0; }

private:
    std::set<std::pair<Device, const void*>> held; // down, and their press did not get through
};

} // namespace LumoKit::detail
