#pragma once

#include <LumoKit/Platform/ApplicationKit/NSMenuItem.h>

#include <any>

namespace LumoKit {

/// What a host keeps with a menu item; empty if there is nothing.
/// Thread: the main thread.
[[nodiscard]] std::any payload(const NSMenuItem& item);

/// Keeps a value with a menu item for as long as the item lives, in place of what was there; an empty one removes it.
/// Thread: the main thread.
void setPayload(NSMenuItem& item, std::any payload);

} // namespace LumoKit
