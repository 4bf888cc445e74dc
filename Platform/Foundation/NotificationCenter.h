#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// Something that happened: its name, who tells of it, and details.
struct Notification {
    std::string name;
    std::shared_ptr<NSObject> object;
    Value::Dictionary userInfo;
};

/// An observer's place in a notification centre; it ends when this object is destroyed.
/// Thread: may be destroyed on any thread. A call that has begun on another thread is not waited for.
class [[nodiscard]] NotificationObserver {
public:
    NotificationObserver() = default;
    NotificationObserver(NotificationObserver&&) noexcept = default;
    NotificationObserver& operator=(NotificationObserver&&) noexcept;
    ~NotificationObserver();

private:
    friend class NotificationCenter;
    std::shared_ptr<void> record;
};

/// Tells observers of named events inside the process.
///
/// Thread: any. Observers are called on the thread that posts, before `post` returns, in the order in which
/// they were added; one that is added meanwhile is not called, one that is removed meanwhile and has not been
/// called is not either.
class NotificationCenter {
public:
    /// The centre that the platform posts to.
    [[nodiscard]] static NotificationCenter& defaultCenter();

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// Calls `handler` for each notification with this name (any, where absent) from this sender (any, where
    /// null).
    /// Lifetime: the centre does not keep `object`; once that is gone the handler is not called again.
    NotificationObserver addObserver(std::optional<std::string> name, const std::shared_ptr<NSObject>& object,
        std::function<void(const Notification&)> handler);

    void post(const Notification& notification);

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace LumoKit
