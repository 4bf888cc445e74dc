#pragma once

#include <LumoKit/Platform/Foundation/UserDefaults.h>
#include <LumoKit/Utility/RawRepresentable.h>
#include <LumoKit/Utility/Storable.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace LumoKit {

/// The keys by which settings are named. A host declares its own, once each:
///
///     inline const auto zoom = SettingsKeys::KeyWithDefaultValue<double>::create("zoom", 1.0);
namespace SettingsKeys {

/// The key of a setting that may be absent. `T` is a storable type, or an enumeration with raw values.
template <class T> class Key {
public:
    [[nodiscard]] static std::shared_ptr<Key> create(std::string storageKey)
    {
        return std::shared_ptr<Key>(new Key(std::move(storageKey)));
    }

    /// The key under which the value is kept in the preferences.
    const std::string storageKey;

private:
    explicit Key(std::string storageKey)
        : storageKey(std::move(storageKey))
    {
    }
};

/// The key of a setting that always has a value: a default one where none is kept, or one of another type.
template <class T> class KeyWithDefaultValue {
public:
    [[nodiscard]] static std::shared_ptr<KeyWithDefaultValue> create(std::string storageKey, T defaultValue)
    {
        return std::shared_ptr<KeyWithDefaultValue>(
            new KeyWithDefaultValue(std::move(storageKey), std::move(defaultValue)));
    }

    /// The key under which the value is kept in the preferences.
    const std::string storageKey;
    const T defaultValue;

private:
    KeyWithDefaultValue(std::string storageKey, T defaultValue)
        : storageKey(std::move(storageKey))
        , defaultValue(std::move(defaultValue))
    {
    }
};

} // namespace SettingsKeys

/// What a subscriber holds to end its subscription. Letting go of it does not end it.
class SettingsSubscription {
public:
    virtual ~SettingsSubscription() = default;

    /// Ends the subscription: its handler is called no more, except where settings are telling a change already. Once
    /// is enough, and after the settings are gone nothing happens.
    virtual void unsubscribe() const = 0;
};

/// The typed front of one preferences domain.
///
/// Whoever subscribed to a key is told of what is set through this object and the same kind of key, with the same type
/// and the same storage key. Changes by others (another process, other settings of the domain, the domain itself) are
/// seen by the next `get`, but told to nobody.
///
/// An enumeration with raw values is kept as its raw value.
///
/// Thread: one, mostly the main thread. Handlers are called on it, inside `set`; they may set, subscribe and
/// unsubscribe, which the change that is being told does not notice.
class Settings : public NSObject {
public:
    using SubscriptionNumber = std::int64_t;

    template <class T> struct Subscription final : SettingsSubscription {
        Subscription(std::shared_ptr<SettingsKeys::Key<T>> key,
            std::function<void(const std::optional<T>&)> handler, std::function<void()> unsubscribe)
            : key(std::move(key))
            , handler(std::move(handler))
            , _unsubscribe(std::move(unsubscribe))
        {
        }
        void unsubscribe() const override { _unsubscribe(); }

        std::shared_ptr<SettingsKeys::Key<T>> key;
        std::function<void(const std::optional<T>&)> handler;
        std::function<void()> _unsubscribe;
    };

    template <class T> struct SubscriptionWithDefault final : SettingsSubscription {
        SubscriptionWithDefault(std::shared_ptr<SettingsKeys::KeyWithDefaultValue<T>> key,
            std::function<void(const T&)> handler, std::function<void()> unsubscribe)
            : key(std::move(key))
            , handler(std::move(handler))
            , _unsubscribe(std::move(unsubscribe))
        {
        }
        void unsubscribe() const override { _unsubscribe(); }

        std::shared_ptr<SettingsKeys::KeyWithDefaultValue<T>> key;
        std::function<void(const T&)> handler;
        std::function<void()> _unsubscribe;
    };

    /// Settings over a domain, of which nothing is read yet.
    /// Ownership: the domain is kept.
    [[nodiscard]] static std::shared_ptr<Settings> create(std::shared_ptr<UserDefaults> userDefaults);

    const std::shared_ptr<UserDefaults> userDefaults;

    /// The value that is kept; nothing if there is none, or one that is not of this type.
    template <class T>
    [[nodiscard]] std::optional<T> get(const std::shared_ptr<SettingsKeys::Key<T>>& key) const
    {
        return read<T>(key->storageKey);
    }

    /// The value that is kept; the key's default if there is none, or one that is not of this type.
    template <class T>
    [[nodiscard]] T get(const std::shared_ptr<SettingsKeys::KeyWithDefaultValue<T>>& key) const
    {
        if (auto value = read<T>(key->storageKey))
            return *std::move(value);
        return key->defaultValue;
    }

    /// Keeps a value, or none, and then tells those who subscribed to this kind of key.
    template <class T>
    void set(
        const std::shared_ptr<SettingsKeys::Key<T>>& key, const std::type_identity_t<std::optional<T>>& value)
    {
        userDefaults->setValue(value ? stored(*value) : Value(), key->storageKey);
        notify<Subscription<T>>(*key, value);
    }

    /// Keeps a value, and then tells those who subscribed to this kind of key.
    template <class T>
    void set(const std::shared_ptr<SettingsKeys::KeyWithDefaultValue<T>>& key,
        const std::type_identity_t<T>& value)
    {
        userDefaults->setValue(stored(value), key->storageKey);
        notify<SubscriptionWithDefault<T>>(*key, value);
    }

    /// Calls `handler` with each value that is set through this kind of key, and where `initial` says so once before, at
    /// once. That first call does not look raw values up: for an enumeration it tells the key's default, or nothing,
    /// whatever is kept; `get` says that.
    ///
    /// The subscription gets its number after the first call. If the handler subscribes to something in that call, the
    /// two have the same number, and the outer one stays.
    /// Ownership: the key and the handler are kept until the subscription ends, or these settings do.
    template <class T>
    std::shared_ptr<SettingsSubscription> subscribe(const std::shared_ptr<SettingsKeys::Key<T>>& key,
        bool initial, std::type_identity_t<std::function<void(const std::optional<T>&)>> handler)
    {
        count();
        if (initial)
            handler(readPlain<T>(key->storageKey));
        return add<Subscription<T>>(key, std::move(handler));
    }

    template <class T>
    std::shared_ptr<SettingsSubscription> subscribe(
        const std::shared_ptr<SettingsKeys::KeyWithDefaultValue<T>>& key, bool initial,
        std::type_identity_t<std::function<void(const T&)>> handler)
    {
        count();
        if (initial) {
            const auto value = readPlain<T>(key->storageKey);
            handler(value ? *value : key->defaultValue);
        }
        return add<SubscriptionWithDefault<T>>(key, std::move(handler));
    }

protected:
    explicit Settings(std::shared_ptr<UserDefaults> userDefaults);

    /// The number that was given last.
    SubscriptionNumber subscriptionCount = 0;

private:
    /// In the order of their numbers; flat, because a change walks all of them.
    using Subscriptions = std::vector<std::pair<SubscriptionNumber, std::shared_ptr<SettingsSubscription>>>;

    template <class T> [[nodiscard]] static Value stored(const T& value)
    {
        if constexpr (RawRepresentable<T>)
            return rawValue(value);
        else
            return Storable<T>::store(value);
    }

    template <class T> [[nodiscard]] std::optional<T> read(const std::string& storageKey) const
    {
        if constexpr (RawRepresentable<T>) {
            const auto raw = Storable<RawValue<T>>::read(userDefaults->value(storageKey));
            return raw ? fromRawValue<T>(*raw) : std::nullopt;
        } else {
            return readPlain<T>(storageKey);
        }
    }

    /// A raw value is not of the enumeration's type.
    template <class T> [[nodiscard]] std::optional<T> readPlain(const std::string& storageKey) const
    {
        if constexpr (RawRepresentable<T>)
            return std::nullopt;
        else
            return Storable<T>::read(userDefaults->value(storageKey));
    }

    template <class Record, class Key, class T> void notify(const Key& key, const T& value) const
    {
        const auto walked = subscriptions; // as they are now, whatever the handlers do
        for (const auto& [number, subscription] : *walked) {
            const SettingsSubscription& one = *subscription;
            if (typeid(one) != typeid(Record))
                continue;
            const auto& record = static_cast<const Record&>(one);
            if (record.key.get() == &key || record.key->storageKey == key.storageKey)
                record.handler(value);
        }
    }

    template <class Record, class Key, class Handler>
    std::shared_ptr<SettingsSubscription> add(const std::shared_ptr<Key>& key, Handler handler)
    {
        auto record = std::make_shared<Record>(key, std::move(handler), ending(subscriptionCount));
        insert(subscriptionCount, record);
        return record;
    }

    void count();
    [[nodiscard]] std::function<void()> ending(SubscriptionNumber number);
    void insert(SubscriptionNumber number, std::shared_ptr<SettingsSubscription> subscription);
    void remove(SubscriptionNumber number);
    /// The subscriptions, copied if somebody walks them.
    [[nodiscard]] Subscriptions& changeable();

    std::shared_ptr<Subscriptions> subscriptions;
};

} // namespace LumoKit
