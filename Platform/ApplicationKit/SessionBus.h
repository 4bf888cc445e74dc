#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gio/gio.h>

namespace LumoKit::detail {

/// Connects to the session bus. The connection is the caller's own: the one that GIO shares ends the process when
/// the bus goes.
///
/// Errors: null where there is no session bus.
[[nodiscard]] ObjectPtr<GDBusConnection> connectToSessionBus();

} // namespace LumoKit::detail
