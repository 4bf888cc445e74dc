#pragma once

#include <LumoKit/Platform/Foundation/NSAppleEventDescriptor.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace LumoKit {

/// Hands events of the desktop, links that are to be opened above all, to the handlers that a host has set.
///
/// An event without a handler waits for one, and those of one class and ID keep their order: a link that started
/// the application is there when the application is ready for it. Handlers are called from the main loop, one
/// event a turn of the main queue, never from within `setEventHandler` or `dispatch`.
///
/// Whoever may send links may send many: 10,000 events or 16 MiB of text wait at most, and what comes then is
/// refused.
///
/// Thread: the main thread.
class NSAppleEventManager {
public:
    static constexpr std::size_t mostWaiting = 10'000;
    /// Units: bytes.
    static constexpr std::size_t mostWaitingText = 16UL << 20;

    [[nodiscard]] static NSAppleEventManager& sharedAppleEventManager();
    NSAppleEventManager(const NSAppleEventManager&) = delete;
    NSAppleEventManager& operator=(const NSAppleEventManager&) = delete;

    /// Has `selector` of `handler` called with every event of a class and ID, those that wait among them, in
    /// place of the handler that was there. Nobody reads what is put into the reply.
    /// Lifetime: the handler is not kept; when it is gone, events wait for the next one.
    template <class Handler>
    void setEventHandler(const std::shared_ptr<Handler>& handler,
        void (Handler::*selector)(const NSAppleEventDescriptor& event, NSAppleEventDescriptor& reply),
        FourCharCode forEventClass, FourCharCode andEventID)
    {
        set({forEventClass, andEventID},
            {handler, [target = handler.get(), selector](const auto& event, auto& reply) {
                 (target->*selector)(event, reply);
             }});
    }

    /// Events of a class and ID wait from here on.
    void removeEventHandler(FourCharCode forEventClass, FourCharCode andEventID);

    /// Queues an event for its handler; the application does so with the links that it is asked to open.
    /// Errors: false when too much waits already; the event is dropped.
    [[nodiscard]] bool dispatch(NSAppleEventDescriptor event);

private:
    using Kind = std::pair<FourCharCode, FourCharCode>; // class and ID
    struct EventHandler {
        std::weak_ptr<void> target;
        std::function<void(const NSAppleEventDescriptor&, NSAppleEventDescriptor&)>
            call; // while the target lives
    };
    struct Queue {
        EventHandler handler;
        std::deque<NSAppleEventDescriptor> waiting;
    };

    NSAppleEventManager() = default;
    ~NSAppleEventManager() = default;
    void set(Kind kind, EventHandler handler);
    void deliverSoon(Kind kind);
    void deliverNext(Kind kind);

    std::map<Kind, Queue> queues;
    std::size_t events = 0; // that wait
    std::size_t text = 0; // their bytes
};

} // namespace LumoKit
