#include "SingleInstance.h"

#include "SessionBus.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <memory>
#include <string_view>
#include <utility>

namespace LumoKit::detail {

namespace {

using Variant = std::unique_ptr<GVariant, FreedBy<g_variant_unref>>;

constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr const char* description = R"(
    <node>
        <interface name="org.freedesktop.Application">
            <method name="Activate"><arg type="a{sv}" direction="in"/></method>
            <method name="Open"><arg type="as" direction="in"/><arg type="a{sv}" direction="in"/></method>
        </interface>
    </node>
)";

/// The bus has two names for it: the older one for desktops that know nothing of the newer.
constexpr const char* tokenKey = "activation-token";
constexpr const char* startupKey = "desktop-startup-id";

/// "The object path is the application ID with dots replaced by slashes and dashes by underscores."
std::string pathOf(std::string identifier)
{
    for (char& character : identifier)
        character = character == '.' ? '/' : character == '-' ? '_' : character;
    return "/" + identifier;
}

GVariant* platformData(const std::string& activationToken)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    if (!activationToken.empty())
        for (const char* key : {tokenKey, startupKey})
            g_variant_builder_add(&builder, "{sv}", key, g_variant_new_string(activationToken.c_str()));
    return g_variant_builder_end(&builder);
}

std::string activationToken(GVariant* platformData)
{
    for (const char* key : {tokenKey, startupKey}) {
        const char* token = nullptr;
        if (g_variant_lookup(platformData, key, "&s", &token))
            return token;
    }
    return {};
}

} // namespace

SingleInstance::SingleInstance(std::string identifier, Handler handler)
    : identifier(std::move(identifier))
    , path(pathOf(this->identifier))
    , handler(std::move(handler))
{
    assertMainThread();
    if (g_application_id_is_valid(this->identifier.c_str()))
        bus = connectToSessionBus();
    if (!bus)
        return;
    // Before the name is owned: whoever finds the name finds the object.
    static constexpr GDBusInterfaceVTable calls{
        +[](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* parameters,
             GDBusMethodInvocation* call, gpointer data) noexcept {
            static_cast<SingleInstance*>(data)->answer(method, parameters, call);
        },
        nullptr, nullptr, {}};
    const std::unique_ptr<GDBusNodeInfo, FreedBy<g_dbus_node_info_unref>> node(
        g_dbus_node_info_new_for_xml(description, nullptr));
    object = g_dbus_connection_register_object(
        bus.get(), path.c_str(), node->interfaces[0], &calls, this, nullptr, nullptr);
}

SingleInstance::~SingleInstance()
{
    if (bus)
        g_dbus_connection_unregister_object(bus.get(), object);
}

bool SingleInstance::claim(const StartRequest& request)
{
    constexpr int patience = 10; // instances that end one after another, each before it could be asked
    for (int attempt = 0; bus && attempt < patience; ++attempt) {
        if (own())
            return true;
        switch (send(request)) {
        case Sent::taken:
            return false;
        case Sent::gone:
            continue;
        case Sent::misunderstood:
            return true;
        }
    }
    return true; // two instances are better than none
}

bool SingleInstance::own()
{
    constexpr guint32 doNotQueue = 4;
    constexpr guint32 owned = 1;
    constexpr guint32 taken = 3;
    const Variant reply(
        g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
            "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", identifier.c_str(), doNotQueue),
            G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    guint32 outcome = owned; // a bus that does not give names leaves everybody alone
    if (reply)
        g_variant_get(reply.get(), "(u)", &outcome);
    return outcome != taken;
}

SingleInstance::Sent SingleInstance::send(const StartRequest& request)
{
    const char* method = "Activate";
    GVariant* parameters = nullptr;
    if (request.links.empty()) {
        parameters = g_variant_new("(@a{sv})", platformData(request.activationToken));
    } else {
        GVariantBuilder links;
        g_variant_builder_init(&links, G_VARIANT_TYPE_STRING_ARRAY);
        for (const std::string& link : request.links)
            g_variant_builder_add(&links, "s", link.c_str());
        method = "Open";
        parameters = g_variant_new("(as@a{sv})", &links, platformData(request.activationToken));
    }
    GErrorPtr error;
    const Variant reply(
        g_dbus_connection_call_sync(bus.get(), identifier.c_str(), path.c_str(), interfaceName, method,
            parameters, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, error.out()));
    if (reply)
        return Sent::taken;
    // One that does not answer in time has it all the same, and gets to it when it can.
    if (error->domain == G_IO_ERROR && error->code == G_IO_ERROR_TIMED_OUT)
        return Sent::taken;
    if (error->domain != G_DBUS_ERROR)
        return Sent::gone; // and the bus with it
    switch (error->code) {
    case G_DBUS_ERROR_LIMITS_EXCEEDED:
        g_printerr("%s\n", error->message);
        return Sent::taken;
    case G_DBUS_ERROR_NO_REPLY:
    case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
    case G_DBUS_ERROR_SERVICE_UNKNOWN:
        return Sent::gone;
    default:
        return Sent::misunderstood; // somebody else has the name
    }
}

void SingleInstance::answer(const char* method, GVariant* parameters, GDBusMethodInvocation* call)
{
    StartRequest request;
    const bool opens = std::string_view(method) == "Open";
    const Variant platformData(g_variant_get_child_value(parameters, opens ? 1 : 0));
    request.activationToken = activationToken(platformData.get());
    if (opens) {
        const Variant links(g_variant_get_child_value(parameters, 0));
        for (gsize index = 0; index < g_variant_n_children(links.get()); ++index) {
            const char* link = nullptr;
            g_variant_get_child(links.get(), index, "&s", &link);
            request.links.emplace_back(link);
        }
    }
    switch (handler(request)) {
    case Answer::accepted:
        g_dbus_method_invocation_return_value(call, nullptr);
        // Answered before it is acted on: a link that ends this process is not opened again by whoever sent it.
        g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr);
        return;
    case Answer::refused:
        return g_dbus_method_invocation_return_error(call, G_DBUS_ERROR, G_DBUS_ERROR_LIMITS_EXCEEDED,
            "%s has too many links to open", identifier.c_str());
    case Answer::ending:
        return g_object_unref(call); // the bus says it when this process has ended
    }
}

} // namespace LumoKit::detail
