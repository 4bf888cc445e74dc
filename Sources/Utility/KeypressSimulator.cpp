#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Utility/KeypressSimulator.h>

#include <chrono>

namespace LumoKit {

namespace {

/// Seconds since the first instant of 2001, UTC.
double timeIntervalSinceReferenceDate()
{
    using namespace std::chrono;
    constexpr sys_days reference = year(2001) / January / 1;
    return duration<double>(system_clock::now() - reference).count();
}

} // namespace

bool operator==(const KeyPress& one, const KeyPress& other)
{
    return one.modifiers == other.modifiers && areCanonicallyEqual(one.character, other.character);
}

void KeyPressSimulator::simulate(const KeyPress& press)
{
    if (characterCount(press.character) != 1)
        return;
    // Not the clock of events from a keyboard: receivers tell the two apart by it.
    const auto event = NSEvent::keyEvent(NSEvent::EventType::keyDown, {}, press.modifiers,
        timeIntervalSinceReferenceDate(), 0, press.character, press.character, false, 0);
    if (event)
        NSApplication::shared().sendEvent(*event);
}

void KeyPressSimulator::simulate(const std::vector<KeyPress>& presses)
{
    for (const KeyPress& press : presses)
        simulate(press);
}

} // namespace LumoKit
