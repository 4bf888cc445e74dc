#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <any>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace LumoKit {

namespace detail {
struct ObjectExtras;
}

/// How a property changed.
struct KeyValueChange {
    std::string key;
    Value oldValue;
    Value newValue;
};

/// An observation of a property; it ends when this object is destroyed.
/// Thread: may be destroyed on any thread. A call that has begun on another thread is not waited for.
class [[nodiscard]] KeyValueObservation {
public:
    KeyValueObservation() = default;
    KeyValueObservation(KeyValueObservation&&) noexcept = default;
    KeyValueObservation& operator=(KeyValueObservation&&) noexcept;
    ~KeyValueObservation();

    /// Ends the observation now.
    void invalidate();

private:
    friend class NSObject;
    std::weak_ptr<detail::ObjectExtras> extras;
    std::shared_ptr<void> record;
};

/// Base of the platform's and the kit's reference objects: shared, observable, and able to carry other
/// objects.
///
/// Ownership: always held by `std::shared_ptr`.
/// Thread: associated objects and observations may be used on any thread; what a subclass adds says its own.
class NSObject : public std::enable_shared_from_this<NSObject> {
public:
    NSObject();
    virtual ~NSObject();
    NSObject(const NSObject&) = delete;
    NSObject& operator=(const NSObject&) = delete;

    /// Keeps `object` under `key` for as long as this object lives, in place of what was there; an empty one
    /// removes it. Keys are private texts of whoever attaches, such as "owner".
    void setAssociatedObject(std::string_view key, std::any object);

    /// What is kept under `key`, copied; nothing if there is none or it is of another type.
    template <class T> [[nodiscard]] std::optional<T> associatedObject(std::string_view key) const
    {
        const std::any object = associatedAny(key);
        if (const auto* typed = std::any_cast<T>(&object))
            return *typed;
        return std::nullopt;
    }

    /// The current value of an observable property; null for a name that the class does not know.
    [[nodiscard]] virtual Value value(std::string_view forKey) const;

    /// Sets a property by its name, as an interface file does.
    /// Errors: stops the process for a name that the class does not know.
    virtual void setValue(const Value& value, std::string_view forKey);
    /// The same with one that refers to another object, or to none.
    /// Errors: stops the process for a name that the class does not know, and for an object of another class.
    virtual void setOutlet(const std::shared_ptr<NSObject>& object, std::string_view forKey);

    /// Calls `handler` after each announced change of the property, on the thread that announces it, with the
    /// values before and after.
    KeyValueObservation observe(std::string key, std::function<void(const KeyValueChange&)> handler);

    /// Announces a change: the first before it, the second after it. Pairs may nest for different keys. A class that
    /// overrides one calls the base's.
    virtual void willChangeValue(std::string_view forKey);
    virtual void didChangeValue(std::string_view forKey);
    /// Announces a change that has already happened.
    void didChangeValue(std::string_view forKey, Value oldValue);

private:
    [[nodiscard]] std::any associatedAny(std::string_view key) const;

    const std::shared_ptr<detail::ObjectExtras> extras; // observations refer to it weakly
};

} // namespace LumoKit
