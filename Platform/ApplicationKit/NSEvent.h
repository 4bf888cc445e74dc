#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

class NSWindow;

/// A key that goes down or up, or a modifier key that does; or the mouse's button, and the mouse while it is down.
///
/// On a keyboard, Control stands for Command and the Super key for Control, or the other way round:
/// see `NSApplication::setCommandKey`. AltGr is an Option key.
///
/// A plain value. Thread: the main thread, except where it is made by hand.
struct NSEvent {
    enum class EventType : std::uint64_t {
        leftMouseDown = 1,
        leftMouseUp = 2,
        leftMouseDragged = 6,
        keyDown = 10,
        keyUp = 11,
        flagsChanged = 12,
    };

    /// A set of modifier keys and of what kind of key it is.
    struct ModifierFlags {
        std::uint64_t rawValue = 0;

        static const ModifierFlags capsLock;
        static const ModifierFlags shift;
        static const ModifierFlags control;
        static const ModifierFlags option;
        static const ModifierFlags command;
        /// A key of the numeric pad, or an arrow.
        static const ModifierFlags numericPad;
        static const ModifierFlags help;
        /// A key that types nothing: an arrow, F1, Home, …
        static const ModifierFlags function;

        /// Whether all of `flags` are set.
        [[nodiscard]] constexpr bool contains(ModifierFlags flags) const
        {
            return (rawValue & flags.rawValue) == flags.rawValue;
        }
        /// Whether none of `flags` is set.
        [[nodiscard]] constexpr bool isDisjoint(ModifierFlags with) const
        {
            return (rawValue & with.rawValue) == 0;
        }
        [[nodiscard]] constexpr bool isEmpty() const { return rawValue == 0; }

        constexpr bool operator==(const ModifierFlags&) const = default;
        friend constexpr ModifierFlags operator|(ModifierFlags one, ModifierFlags other)
        {
            return {one.rawValue | other.rawValue};
        }
        friend constexpr ModifierFlags operator&(ModifierFlags one, ModifierFlags other)
        {
            return {one.rawValue & other.rawValue};
        }
        constexpr ModifierFlags& operator|=(ModifierFlags other) { return *this = *this | other; }
    };

    /// The `keyCode` of keys that have none.
    static constexpr std::uint16_t noKeyCode = 0xFFFF;

    /// An event made by hand, which no keyboard sent.
    /// Errors: nothing when a text is no UTF-8, or has a NUL.
    /// Units: `timestamp` in seconds, of whatever clock; `windowNumber` 0 for no particular window.
    /// Thread: any.
    [[nodiscard]] static std::optional<NSEvent> keyEvent(EventType with, const CGPoint& location,
        ModifierFlags modifierFlags, double timestamp, int windowNumber, std::string characters,
        std::string charactersIgnoringModifiers, bool isARepeat, std::uint16_t keyCode);

    EventType type = EventType::keyDown;
    CGPoint locationInWindow;
    ModifierFlags modifierFlags;
    /// Units: seconds since the machine was started, for an event from a keyboard.
    double timestamp = 0;
    int windowNumber = 0;
    /// What the press types; empty for a modifier key and a dead one. Keys that type nothing have a character of
    /// their own, such as `NSLeftArrowFunctionKey`. With Command held, a layout of another script than Latin
    /// gives what a Latin one has in that place.
    std::string characters;
    /// The same as if no modifier but Shift were held.
    std::string charactersIgnoringModifiers;
    /// Whether the key was held until it repeated.
    bool isARepeat = false;
    /// The place of the key on the keyboard, whatever the layout: a virtual key code, 0 for the key that types "a"
    /// on an American keyboard.
    std::uint16_t keyCode = noKeyCode;
    /// How far the mouse, or a finger, has gone since the event before this one.
    /// Units: points, to the right and, other than everywhere else, down.
    double deltaX = 0;
    double deltaY = 0;

    /// The window that the event is for; null for none.
    [[nodiscard]] std::shared_ptr<NSWindow> window() const;
    /// What the key would type with other modifiers; of an event made by hand, `charactersIgnoringModifiers`.
    [[nodiscard]] std::string charactersApplying(ModifierFlags modifiers) const;

    struct Native;
    /// The desktop's own event, for the platform layer itself; null in an event made by hand.
    std::shared_ptr<const Native> native;
};

inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::capsLock{1 << 16};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::shift{1 << 17};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::control{1 << 18};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::option{1 << 19};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::command{1 << 20};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::numericPad{1 << 21};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::help{1 << 22};
inline constexpr NSEvent::ModifierFlags NSEvent::ModifierFlags::function{1 << 23};

/// The characters of keys that type nothing.
inline constexpr const char* NSUpArrowFunctionKey = "\uF700";
inline constexpr const char* NSDownArrowFunctionKey = "\uF701";
inline constexpr const char* NSLeftArrowFunctionKey = "\uF702";
inline constexpr const char* NSRightArrowFunctionKey = "\uF703";
inline constexpr const char* NSF1FunctionKey = "\uF704";
inline constexpr const char* NSF2FunctionKey = "\uF705";
inline constexpr const char* NSF3FunctionKey = "\uF706";
inline constexpr const char* NSF4FunctionKey = "\uF707";
inline constexpr const char* NSF5FunctionKey = "\uF708";
inline constexpr const char* NSF6FunctionKey = "\uF709";
inline constexpr const char* NSF7FunctionKey = "\uF70A";
inline constexpr const char* NSF8FunctionKey = "\uF70B";
inline constexpr const char* NSF9FunctionKey = "\uF70C";
inline constexpr const char* NSF10FunctionKey = "\uF70D";
inline constexpr const char* NSF11FunctionKey = "\uF70E";
inline constexpr const char* NSF12FunctionKey = "\uF70F";
inline constexpr const char* NSInsertFunctionKey = "\uF727";
inline constexpr const char* NSDeleteFunctionKey = "\uF728";
inline constexpr const char* NSHomeFunctionKey = "\uF729";
inline constexpr const char* NSEndFunctionKey = "\uF72B";
inline constexpr const char* NSPageUpFunctionKey = "\uF72C";
inline constexpr const char* NSPageDownFunctionKey = "\uF72D";

} // namespace LumoKit
