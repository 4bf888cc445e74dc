#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>

namespace LumoKit {

NSAppleEventManager& NSAppleEventManager::sharedAppleEventManager()
{
    // Never destroyed: work on the main queue refers to it.
    static auto& manager = *new NSAppleEventManager;
    return manager;
}

void NSAppleEventManager::removeEventHandler(FourCharCode forEventClass, FourCharCode andEventID)
{
    set({forEventClass, andEventID}, {});
}

void NSAppleEventManager::set(Kind kind, EventHandler handler)
{
    assertMainThread();
    Queue& queue = queues[kind];
    queue.handler = std::move(handler);
    for (std::size_t event = 0; event < queue.waiting.size(); ++event)
        deliverSoon(kind);
}

bool NSAppleEventManager::dispatch(NSAppleEventDescriptor event)
{
    assertMainThread();
    const std::size_t size = event.size();
    if (events == mostWaiting || size > mostWaitingText - text)
        return false;
    ++events;
    text += size;
    const Kind kind{event.eventClass(), event.eventID()};
    queues[kind].waiting.push_back(std::move(event));
    deliverSoon(kind);
    return true;
}

void NSAppleEventManager::deliverSoon(Kind kind)
{
    // A piece of work for each event, so that many of them leave room for input and drawing.
    DispatchQueue::main()->async([this, kind] { deliverNext(kind); });
}

void NSAppleEventManager::deliverNext(Kind kind)
{
    Queue& queue = queues[kind];
    // Kept, both, while the event is handled: the handler may be replaced meanwhile.
    const auto target = queue.handler.target.lock();
    const auto call = queue.handler.call;
    if (!target || queue.waiting.empty())
        return;
    const NSAppleEventDescriptor event = std::move(queue.waiting.front());
    queue.waiting.pop_front();
    --events;
    text -= event.size();
    NSAppleEventDescriptor reply;
    call(event, reply);
}

} // namespace LumoKit
