#include "SettingsPortal.h"

#include "SessionBus.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <limits>
#include <memory>
#include <string_view>
#include <utility>

namespace LumoKit::detail {

namespace {

using Variant = std::unique_ptr<GVariant, FreedBy<g_variant_unref>>;

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";
constexpr const char* appearance = "org.freedesktop.appearance";
constexpr const char* colorSchemeKey = "color-scheme";

/// What a value of the setting means. `Read` wraps it once more than the setting's type says; later portals may
/// not.
ColorScheme meaning(GVariant* value)
{
    Variant inner(g_variant_ref(value));
    while (g_variant_is_of_type(inner.get(), G_VARIANT_TYPE_VARIANT))
        inner.reset(g_variant_get_variant(inner.get()));
    if (!g_variant_is_of_type(inner.get(), G_VARIANT_TYPE_UINT32))
        return ColorScheme::noPreference;
    switch (g_variant_get_uint32(inner.get())) {
    case 1:
        return ColorScheme::dark;
    case 2:
        return ColorScheme::light;
    default:
        return ColorScheme::noPreference;
    }
}

/// What a reply of `Read` means; null is an error.
ColorScheme meaningOfReply(GVariant* reply)
{
    if (!reply)
        return ColorScheme::noPreference;
    const Variant value(g_variant_get_child_value(reply, 0));
    return meaning(value.get());
}

GVariant* question()
{
    return g_variant_new("(ss)", appearance, colorSchemeKey);
}

} // namespace

SettingsPortal::SettingsPortal(std::function<void(ColorScheme)> changed)
    : changed(std::move(changed))
    , bus(connectToSessionBus())
{
    assertMainThread();
    if (!bus)
        return;
    subscription = g_dbus_connection_signal_subscribe(
        bus.get(), portalName, settings, "SettingChanged", portalPath, appearance, G_DBUS_SIGNAL_FLAGS_NONE,
        +[](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
             gpointer data) noexcept {
            if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssv)")))
                return;
            const char* key = nullptr;
            g_variant_get_child(parameters, 1, "&s", &key);
            if (std::string_view(key) != colorSchemeKey)
                return;
            auto& self = *static_cast<SettingsPortal*>(data);
            const Variant value(g_variant_get_child_value(parameters, 2));
            self.said = meaning(value.get());
            self.changed(self.colorScheme()); // several signals may wait: one old, the last one true
        },
        this, nullptr);
    watch = g_bus_watch_name_on_connection(
        bus.get(), portalName, G_BUS_NAME_WATCHER_FLAGS_NONE,
        +[](GDBusConnection*, const char*, const char*, gpointer data) noexcept {
            static_cast<SettingsPortal*>(data)->ask(); // one that has just started may not answer yet
        },
        +[](GDBusConnection*, const char*, gpointer data) noexcept {
            auto& self = *static_cast<SettingsPortal*>(data);
            self.said = ColorScheme::noPreference;
            self.changed(self.said);
        },
        this, nullptr);
}

SettingsPortal::~SettingsPortal()
{
    if (!bus)
        return;
    if (asking)
        g_cancellable_cancel(asking.get());
    g_bus_unwatch_name(watch);
    g_dbus_connection_signal_unsubscribe(bus.get(), subscription);
}

GDBusCallFlags SettingsPortal::mayStart() const
{
    return started ? G_DBUS_CALL_FLAGS_NO_AUTO_START : G_DBUS_CALL_FLAGS_NONE;
}

ColorScheme SettingsPortal::colorScheme()
{
    assertMainThread();
    if (!bus)
        return ColorScheme::noPreference;
    if (!prompt) {
        ask();
        return said;
    }
    GErrorPtr error;
    const Variant reply(
        g_dbus_connection_call_sync(bus.get(), portalName, portalPath, settings, "Read", question(),
            G_VARIANT_TYPE("(v)"), mayStart(), static_cast<int>(patience.count()), nullptr, error.out()));
    if (error && error->domain == G_IO_ERROR && error->code == G_IO_ERROR_TIMED_OUT) {
        prompt = false;
        ask(); // while it is being started, this question waits for that too
    } else {
        said = meaningOfReply(reply.get());
    }
    started = true;
    return said;
}

void SettingsPortal::ask()
{
    if (asking)
        return;
    asking = ObjectPtr<GCancellable>::adopt(g_cancellable_new());
    asked = std::chrono::steady_clock::now();
    g_dbus_connection_call(
        bus.get(), portalName, portalPath, settings, "Read", question(), G_VARIANT_TYPE("(v)"), mayStart(),
        std::numeric_limits<int>::max(),
        asking.get(), // for as long as it takes: the bus tells when it is gone
        +[](GObject* source, GAsyncResult* result, gpointer data) noexcept {
            GErrorPtr error;
            const Variant reply(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, error.out()));
            if (error && error->domain == G_IO_ERROR && error->code == G_IO_ERROR_CANCELLED)
                return; // whoever asked is gone
            static_cast<SettingsPortal*>(data)->answered(reply.get());
        },
        this);
}

void SettingsPortal::answered(GVariant* reply)
{
    asking = {};
    prompt = std::chrono::steady_clock::now() - asked <= patience;
    said = meaningOfReply(reply);
    changed(said); // not asked again: a portal that is always late would be asked for ever
}

} // namespace LumoKit::detail
