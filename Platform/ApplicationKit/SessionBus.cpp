#include "SessionBus.h"

#include <LumoKit/Platform/Native/Handles.h>

namespace LumoKit::detail {

ObjectPtr<GDBusConnection> connectToSessionBus()
{
    const GText address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!address)
        return {};
    constexpr auto flags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return ObjectPtr<GDBusConnection>::adopt(
        g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, nullptr));
}

} // namespace LumoKit::detail
