#include "TestPortal.h"

#include <gio/gio.h>

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace LumoKit::Test {

namespace {

constexpr const char* name = "org.freedesktop.portal.Desktop";
constexpr const char* path = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";

GVariant* parsed(const std::string& text)
{
    GVariant* value = g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr);
    if (!value)
        throw std::invalid_argument(text);
    return value;
}

} // namespace

struct TestBus::Native {
    GTestDBus* bus = g_test_dbus_new(G_TEST_DBUS_NONE);
};

TestBus::TestBus(const std::filesystem::path& services)
    : native(std::make_unique<Native>())
{
    if (!services.empty())
        g_test_dbus_add_service_dir(native->bus, services.c_str());
    const char* display = g_getenv("DISPLAY");
    const std::string kept = display ? display : "";
    g_test_dbus_up(native->bus);
    if (!kept.empty())
        g_setenv("DISPLAY", kept.c_str(), TRUE); // it takes that away, so that no bus is started by way of it
}

TestBus::~TestBus()
{
    // Not "down", which waits for the connections of everybody in the process.
    g_test_dbus_stop(native->bus);
    g_object_unref(native->bus);
}

struct TestPortal::Native {
    std::string replyType;
    std::thread thread;
    GMainContext* context = g_main_context_new();
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    GDBusConnection* connection = nullptr;

    mutable std::mutex mutex;
    std::condition_variable ready;
    // All guarded by mutex:
    bool running = false;
    GVariant* value = nullptr; // null: an error
    bool silent = false;
    std::vector<GDBusMethodInvocation*> waiting;
    int reads = 0;

    void run()
    {
        g_main_context_push_thread_default(context);
        char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        connection = g_dbus_connection_new_for_address_sync(address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        g_free(address);
        const std::string xml = std::string("<node><interface name='") + settings
            + "'><method name='Read'><arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='"
            + replyType + "' direction='out'/></method></interface></node>";
        GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(xml.c_str(), nullptr);
        static constexpr GDBusInterfaceVTable calls{
            +[](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                 GDBusMethodInvocation* call, gpointer data) {
                auto& self = *static_cast<Native*>(data);
                const std::lock_guard lock(self.mutex);
                ++self.reads;
                if (self.silent)
                    self.waiting.push_back(call);
                else
                    self.reply(call);
            },
            nullptr, nullptr, {}};
        g_dbus_connection_register_object(
            connection, path, node->interfaces[0], &calls, this, nullptr, nullptr);
        g_dbus_node_info_unref(node);
        GVariant* owned = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus",
            "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", name, 4U),
            nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        g_variant_unref(owned);
        {
            const std::lock_guard lock(mutex);
            running = true;
        }
        ready.notify_one();
        g_main_loop_run(loop);
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
        g_main_context_pop_thread_default(context);
    }

    void reply(GDBusMethodInvocation* call) const
    {
        if (value)
            g_dbus_method_invocation_return_value(call, g_variant_new_tuple(&value, 1));
        else
            g_dbus_method_invocation_return_dbus_error(
                call, "org.freedesktop.portal.Error.NotFound", "Requested setting not found");
    }

    /// With the lock.
    void setValue(GVariant* other)
    {
        if (value)
            g_variant_unref(value);
        value = other ? g_variant_ref_sink(other) : nullptr;
    }
};

TestPortal::TestPortal(int scheme, const std::string& replyType)
    : native(std::make_unique<Native>())
{
    native->replyType = replyType;
    says(scheme); // before the first question
    native->thread = std::thread([this] { native->run(); });
    std::unique_lock lock(native->mutex);
    native->ready.wait(lock, [this] { return native->running; });
}

TestPortal::~TestPortal()
{
    speak();
    g_main_loop_quit(native->loop);
    native->thread.join();
    native->setValue(nullptr);
    g_main_loop_unref(native->loop);
    g_main_context_unref(native->context);
}

void TestPortal::answer(const std::string& value)
{
    const std::lock_guard lock(native->mutex);
    native->setValue(parsed(value));
}

void TestPortal::refuse()
{
    const std::lock_guard lock(native->mutex);
    native->setValue(nullptr);
}

void TestPortal::keepSilent()
{
    const std::lock_guard lock(native->mutex);
    native->silent = true;
}

void TestPortal::speak()
{
    const std::lock_guard lock(native->mutex);
    native->silent = false;
    for (auto* call : std::exchange(native->waiting, {}))
        native->reply(call);
}

void TestPortal::announce(const std::string& value, const std::string& group, const std::string& key)
{
    g_dbus_connection_emit_signal(native->connection, nullptr, path, settings, "SettingChanged",
        g_variant_new("(ss@v)", group.c_str(), key.c_str(), parsed(value)), nullptr);
    g_dbus_connection_flush_sync(native->connection, nullptr, nullptr);
}

int TestPortal::reads() const
{
    const std::lock_guard lock(native->mutex);
    return native->reads;
}

} // namespace LumoKit::Test
