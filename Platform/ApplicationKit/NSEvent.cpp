#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSEvent.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/Characters.h>

#include <utility>

namespace LumoKit {

std::optional<NSEvent> NSEvent::keyEvent(EventType with, const CGPoint& location, ModifierFlags modifierFlags,
    double timestamp, int windowNumber, std::string characters, std::string charactersIgnoringModifiers,
    bool isARepeat, std::uint16_t keyCode)
{
    for (const std::string* text : {&characters, &charactersIgnoringModifiers})
        if (!isUTF8(*text) || text->contains('\0'))
            return std::nullopt;
    return NSEvent{with, location, modifierFlags, timestamp, windowNumber, std::move(characters),
        std::move(charactersIgnoringModifiers), isARepeat, keyCode, 0, 0, nullptr};
}

std::shared_ptr<NSWindow> NSEvent::window() const
{
    return NSApplication::shared().window(windowNumber);
}

} // namespace LumoKit
