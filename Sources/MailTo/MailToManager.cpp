#include <LumoKit/MailTo/MailToManager.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <utility>

namespace LumoKit {

std::shared_ptr<MailToManager>& MailToManager::shared()
{
    static auto instance = std::make_shared<MailToManager>();
    return instance;
}

void MailToManager::registerSystemHandler()
{
    NSAppleEventManager::sharedAppleEventManager().setEventHandler(
        std::static_pointer_cast<MailToManager>(shared_from_this()), &MailToManager::handleEvent,
        kInternetEventClass, kAEGetURL);
}

void MailToManager::handleMailTo(Handler handler)
{
    this->handler = handler ? std::make_shared<Handler>(std::move(handler)) : nullptr;
    offerUnhandled();
}

void MailToManager::handleEvent(const NSAppleEventDescriptor& withUrlEvent, NSAppleEventDescriptor&)
{
    const auto object = withUrlEvent.paramDescriptor(keyDirectObject);
    if (!object || !object->stringValue())
        return print("cannot extract mailto link from event");
    auto link = parseMailTo(*object->stringValue());
    if (!link)
        return print("mailto link is invalid");
    unhandled.push_back(*std::move(link));
    offerUnhandled();
}

void MailToManager::offerUnhandled()
{
    const auto offered = unhandled;
    for (std::size_t count = 0; count < offered.size(); ++count) {
        const auto asked = handler; // it may install another
        if (!asked || !(*asked)(offered[offered.size() - 1 - count]))
            continue;
        // Offered from the end, removed from the beginning: what hosts have come to rely on.
        if (count >= unhandled.size())
            fatalError("Index out of range");
        unhandled.erase(unhandled.begin() + static_cast<std::ptrdiff_t>(count));
    }
}

} // namespace LumoKit
