#include <LumoKit/Platform/Foundation/NotificationCenter.h>

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

struct Registration {
    std::optional<std::string> name;
    bool anySender = true;
    std::weak_ptr<NSObject>
        sender; // weak, so that a new object at an old address is not taken for the old one
    std::function<void(const Notification&)> handler;
    std::atomic<bool> active = true;
    std::function<void(Registration*)> remove;

    [[nodiscard]] bool wants(const Notification& notification) const
    {
        if (name && *name != notification.name)
            return false;
        // The same object, found without taking a reference: the last one must not be dropped under the
        // centre's lock.
        return anySender
            || (notification.object && !sender.owner_before(notification.object)
                && !notification.object.owner_before(sender));
    }
};

} // namespace

struct NotificationCenter::State {
    std::mutex mutex;
    std::vector<std::shared_ptr<Registration>> registrations; // guarded by mutex
};

NotificationCenter& NotificationCenter::defaultCenter()
{
    static auto& center =
        *new NotificationCenter; // never destroyed: objects that post may outlive every static
    return center;
}

NotificationCenter::NotificationCenter()
    : state(std::make_shared<State>())
{
}

NotificationCenter::~NotificationCenter() = default;

NotificationObserver NotificationCenter::addObserver(std::optional<std::string> name,
    const std::shared_ptr<NSObject>& object, std::function<void(const Notification&)> handler)
{
    auto registration = std::make_shared<Registration>();
    registration->name = std::move(name);
    registration->anySender = !object;
    registration->sender = object;
    registration->handler = std::move(handler);
    registration->remove = [weak = std::weak_ptr(state)](Registration* ended) {
        if (const auto alive = weak.lock()) {
            const std::lock_guard lock(alive->mutex);
            std::erase_if(alive->registrations, [&](const auto& other) { return other.get() == ended; });
        }
    };
    {
        const std::lock_guard lock(state->mutex);
        state->registrations.push_back(registration);
    }
    NotificationObserver observer;
    observer.record = std::move(registration);
    return observer;
}

void NotificationCenter::post(const Notification& notification)
{
    std::vector<std::shared_ptr<Registration>> wanted;
    {
        const std::lock_guard lock(state->mutex);
        for (const auto& registration : state->registrations)
            if (registration->wants(notification))
                wanted.push_back(registration);
    }
    for (const auto& registration : wanted)
        if (registration->active)
            registration->handler(notification);
}

NotificationObserver& NotificationObserver::operator=(NotificationObserver&& other) noexcept
{
    NotificationObserver moved(std::move(other));
    std::swap(record, moved.record); // what was observed before ends with `moved`
    return *this;
}

NotificationObserver::~NotificationObserver()
{
    if (const auto registration = std::static_pointer_cast<Registration>(record)) {
        registration->active = false;
        registration->remove(registration.get());
    }
}

} // namespace LumoKit
