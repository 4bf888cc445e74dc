#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

struct Observer {
    std::string key;
    std::function<void(const KeyValueChange&)> handler;
    std::atomic<bool> active = true;
};

/// A change that has begun.
struct Announced {
    std::string key;
    Value oldValue;
};

} // namespace

struct detail::ObjectExtras {
    std::mutex mutex;
    // All guarded by mutex:
    std::map<std::string, std::any, std::less<>> associated;
    std::vector<std::shared_ptr<Observer>> observers;
    std::vector<Announced> announced;
};

NSObject::NSObject()
    : extras(std::make_shared<detail::ObjectExtras>())
{
}

NSObject::~NSObject() = default;

void NSObject::setAssociatedObject(std::string_view key, std::any object)
{
    std::any previous; // released without the lock: its destructor may come back here
    const std::lock_guard lock(extras->mutex);
    const auto found = extras->associated.find(key);
    if (found == extras->associated.end()) {
        if (object.has_value())
            extras->associated.emplace(key, std::move(object));
        return;
    }
    previous = std::exchange(found->second, std::move(object));
    if (!found->second.has_value())
        extras->associated.erase(found);
}

std::any NSObject::associatedAny(std::string_view key) const
{
    const std::lock_guard lock(extras->mutex);
    const auto found = extras->associated.find(key);
    return found == extras->associated.end() ? std::any() : found->second;
}

Value NSObject::value(std::string_view) const
{
    return {};
}

void NSObject::setValue(const Value&, std::string_view forKey)
{
    fatalError("the class has no property '" + std::string(forKey) + "' that can be set by its name");
}

void NSObject::setOutlet(const std::shared_ptr<NSObject>&, std::string_view forKey)
{
    fatalError("the class has no outlet '" + std::string(forKey) + "'");
}

KeyValueObservation NSObject::observe(std::string key, std::function<void(const KeyValueChange&)> handler)
{
    auto observer = std::make_shared<Observer>();
    observer->key = std::move(key);
    observer->handler = std::move(handler);
    {
        const std::lock_guard lock(extras->mutex);
        extras->observers.push_back(observer);
    }
    KeyValueObservation observation;
    observation.extras = extras;
    observation.record = std::move(observer);
    return observation;
}

namespace {

bool isObserved(detail::ObjectExtras& extras, std::string_view key)
{
    const std::lock_guard lock(extras.mutex);
    return std::ranges::any_of(extras.observers, [&](const auto& observer) { return observer->key == key; });
}

} // namespace

void NSObject::willChangeValue(std::string_view forKey)
{
    if (!isObserved(*extras, forKey))
        return;
    Announced begun{std::string(forKey), value(forKey)}; // without the lock: the class reads its own state
    const std::lock_guard lock(extras->mutex);
    extras->announced.push_back(std::move(begun));
}

void NSObject::didChangeValue(std::string_view forKey)
{
    Value oldValue; // null for what was observed only after the change had begun
    {
        const std::lock_guard lock(extras->mutex);
        const auto begun = std::ranges::find(extras->announced, forKey, &Announced::key);
        if (begun != extras->announced.end()) {
            oldValue = std::move(begun->oldValue);
            extras->announced.erase(begun);
        }
    }
    didChangeValue(forKey, std::move(oldValue));
}

void NSObject::didChangeValue(std::string_view forKey, Value oldValue)
{
    std::vector<std::shared_ptr<Observer>> notified;
    {
        const std::lock_guard lock(extras->mutex);
        std::ranges::copy_if(extras->observers, std::back_inserter(notified),
            [&](const auto& observer) { return observer->key == forKey; });
    }
    if (notified.empty())
        return;
    const KeyValueChange change{std::string(forKey), std::move(oldValue), value(forKey)};
    for (const auto& observer : notified)
        if (observer->active) // not ended by an earlier one of this round
            observer->handler(change);
}

KeyValueObservation& KeyValueObservation::operator=(KeyValueObservation&& other) noexcept
{
    KeyValueObservation moved(std::move(other));
    std::swap(extras, moved.extras);
    std::swap(record, moved.record); // what was observed before ends with `moved`
    return *this;
}

KeyValueObservation::~KeyValueObservation()
{
    invalidate();
}

void KeyValueObservation::invalidate()
{
    const auto ended = std::static_pointer_cast<Observer>(std::exchange(record, nullptr));
    if (!ended)
        return;
    ended->active = false;
    const auto owner = extras.lock();
    if (!owner)
        return;
    const std::lock_guard lock(owner->mutex);
    std::erase(owner->observers, ended); // `ended` keeps the handler until the lock is released
}

} // namespace LumoKit
