#include "Keyring/Keyring.h"

#include "Keyring/EntryName.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>

#include <libsecret/secret.h>

#include <cstring>
#include <functional>
#include <memory>
#include <utility>

namespace LumoSuite {

using namespace LumoKit;

namespace {

template <class T> using Outcome = Keyring::Outcome<T>;

const SecretSchema& schema()
{
    static const SecretSchema suite = [] {
        SecretSchema made{};
        made.name = "co.lumosuite.Cookies";
        made.attributes[0] = {"application", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"key", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return suite;
}

/// A text that may be an attribute, which the bus wants as UTF-8 without a NUL: as it is where it can be, so that
/// the user finds it in the keyring, and otherwise a name that no other text has.
std::string attribute(const std::string& text)
{
    const bool isPlain = text.size() <= 200 && !text.starts_with('_')
        && g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
    return isPlain ? text : entryName(text);
}

std::unexpected<std::string> failure(const GError* error, const char* otherwise)
{
    return std::unexpected(std::string(error ? error->message : otherwise));
}

/// One operation's connection to the service, with the user's default keyring unlocked. Made anew for each: the one
/// that the library shares holds on to the session of a service that has been restarted since.
class Session {
public:
    explicit Session(GCancellable* cancellable)
        : cancellable(cancellable)
    {
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session()
    {
        g_clear_object(&keyring);
        g_clear_object(&service);
    }

    Outcome<void> open()
    {
        g_autoptr(GError) error = nullptr;
        g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, &error);
        if (!bus)
            return failure(error, "there is no session bus");
        if (g_dbus_connection_is_closed(bus)) // the library takes it for granted that it is not
            return std::unexpected("the session bus is gone");
        // The library uses the shared connection, which would end the application together with the bus.
        g_dbus_connection_set_exit_on_close(bus, FALSE);
        service = secret_service_open_sync(
            SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, &error);
        if (service)
            keyring = secret_collection_for_alias_sync(
                service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, &error);
        if (!keyring)
            return failure(error, "there is no default keyring");
        return secret_collection_get_locked(keyring) ? unlock() : Outcome<void>();
    }

    /// The keyring's item with these attributes; nothing if there is none.
    Outcome<std::optional<Keyring::Secret>> load(GHashTable* attributes)
    {
        g_autoptr(GError) error = nullptr;
        GList* items = secret_collection_search_sync(
            keyring, &schema(), attributes, SECRET_SEARCH_LOAD_SECRETS, cancellable, &error);
        std::optional<Keyring::Secret> found;
        if (items)
            found = read(SECRET_ITEM(items->data));
        const bool isUnreadable = items && !found;
        g_list_free_full(items, g_object_unref);
        if (error || isUnreadable)
            return failure(error, "it does not give the item's secret");
        return found;
    }

    Outcome<void> save(GHashTable* attributes, const std::string& label, const Data& data)
    {
        g_autoptr(GError) error = nullptr;
        SecretValue* value = secret_value_new(reinterpret_cast<const char*>(data.data()),
            static_cast<gssize>(data.size()), "application/octet-stream");
        g_autoptr(SecretItem) item = secret_item_create_sync(keyring, &schema(), attributes, label.c_str(),
            value, SECRET_ITEM_CREATE_REPLACE, cancellable, &error);
        secret_value_unref(value);
        return item ? Outcome<void>() : failure(error, "it does not say why");
    }

private:
    /// Unlocks the keyring if that takes nobody's answer: a prompt that comes up in the middle of something else,
    /// and goes again when the time is over, would be worse than none.
    Outcome<void> unlock()
    {
        g_autoptr(GError) error = nullptr;
        const char* path = g_dbus_proxy_get_object_path(G_DBUS_PROXY(keyring));
        g_autoptr(GVariant) answer = g_dbus_proxy_call_sync(G_DBUS_PROXY(service), "Unlock",
            g_variant_new("(@ao)", g_variant_new_objv(&path, 1)), G_DBUS_CALL_FLAGS_NONE, -1, cancellable,
            &error);
        if (!answer)
            return failure(error, "the keyring cannot be unlocked");
        if (!g_variant_is_of_type(answer, G_VARIANT_TYPE("(aoo)")))
            return std::unexpected("the service's answer is none");
        const char* prompt = nullptr;
        g_variant_get_child(answer, 1, "&o", &prompt);
        if (std::strcmp(prompt, "/") == 0)
            return {};
        g_dbus_connection_call(g_dbus_proxy_get_connection(G_DBUS_PROXY(service)),
            g_dbus_proxy_get_name(G_DBUS_PROXY(service)), prompt, "org.freedesktop.Secret.Prompt", "Dismiss",
            nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
        return std::unexpected("the keyring is locked");
    }

    static std::optional<Keyring::Secret> read(SecretItem* item)
    {
        SecretValue* value = secret_item_get_secret(item);
        if (!value)
            return std::nullopt;
        gsize size = 0;
        const auto* bytes = reinterpret_cast<const std::byte*>(secret_value_get(value, &size));
        Keyring::Secret secret{Data(bytes, bytes + size),
            std::chrono::sys_seconds(std::chrono::seconds(secret_item_get_modified(item)))};
        secret_value_unref(value);
        return secret;
    }

    GCancellable* const cancellable;
    SecretService* service = nullptr;
    SecretCollection* keyring = nullptr;
};

/// Does something with the service on a thread of its own and waits for it until a deadline; it is cancelled then.
template <class T>
Outcome<T> within(Keyring::Deadline deadline, std::function<Outcome<T>(Session&)> operation)
{
    struct Call {
        GCancellable* const cancellable = g_cancellable_new();
        DispatchSemaphore done;
        Outcome<T> outcome;

        ~Call() { g_object_unref(cancellable); }
    };
    const auto call = std::make_shared<Call>();
    static const auto queue = DispatchQueue::create("suite.keyring");
    queue->async([call, operation = std::move(operation)] {
        Session session(call->cancellable);
        const auto opened = session.open();
        call->outcome = opened ? operation(session) : Outcome<T>(std::unexpected(opened.error()));
        call->done.signal();
    });
    if (call->done.wait(deadline))
        return std::move(call->outcome);
    g_cancellable_cancel(call->cancellable);
    return std::unexpected("it does not answer in time");
}

using Attributes = std::shared_ptr<GHashTable>;

Attributes attributes(const std::string& application, const std::string& key)
{
    GHashTable* made = secret_attributes_build(
        &schema(), "application", application.c_str(), "key", attribute(key).c_str(), nullptr);
    return {made, g_hash_table_unref};
}

} // namespace

Keyring::Keyring(const std::string& application)
    : application(attribute(application))
{
}

Outcome<void> Keyring::check(Deadline deadline)
{
    return within<void>(deadline, [](Session&) { return Outcome<void>(); });
}

Outcome<std::optional<Keyring::Secret>> Keyring::load(const std::string& key, Deadline deadline) const
{
    return within<std::optional<Secret>>(deadline,
        [wanted = attributes(application, key)](Session& session) { return session.load(wanted.get()); });
}

Outcome<void> Keyring::save(const std::string& key, const Data& data, Deadline deadline) const
{
    if (data.size() > maximumSize)
        return std::unexpected("that is more than it takes");
    // The data is copied: the operation may outlast the call.
    return within<void>(deadline,
        [wanted = attributes(application, key), label = "Cookies of " + application, data](
            Session& session) { return session.save(wanted.get(), label, data); });
}

} // namespace LumoSuite
