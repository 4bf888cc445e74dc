#include "KeyEvents.h"

#include "KeyTable.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>

#include <gtk/gtk.h>

#include <utility>

namespace LumoKit::detail {

namespace {

using Flags = NSEvent::ModifierFlags;

// Marks in a field that only tells a real event from a sent one; it survives the copy that the engine keeps.
constexpr gint8 deliveredMark = 0x2;
constexpr gint8 madeByHandMark = 0x4;

/// The bits of `NSEvent::ModifierFlags` are ones that the toolkit leaves free in its own. An event made by hand
/// takes them along, to be told when it comes back what it was.
constexpr guint carriedFlags = 0xFF0000;

bool isSuperCommand()
{
    return NSApplication::shared().commandKey() == NSApplication::CommandKey::super;
}

Flags keyboardFlags(guint state)
{
    Flags flags;
    const auto add = [&](guint mask, Flags flag) {
        if (state & mask)
            flags |= flag;
    };
    const bool super = isSuperCommand();
    add(GDK_LOCK_MASK, Flags::capsLock);
    add(GDK_SHIFT_MASK, Flags::shift);
    add(GDK_CONTROL_MASK, super ? Flags::control : Flags::command);
    add(GDK_SUPER_MASK | GDK_MOD4_MASK, super ? Flags::command : Flags::control);
    add(GDK_MOD1_MASK | GDK_MOD5_MASK, Flags::option); // the latter is AltGr
    return flags;
}

Flags kindOf(std::uint16_t keyCode, guint keyval)
{
    const bool isArrow = keyCode >= 123 && keyCode <= 126;
    Flags flags;
    if (isArrow || (keyval >= GDK_KEY_KP_Space && keyval <= GDK_KEY_KP_9))
        flags |= Flags::numericPad;
    if (isArrow || (keyCode >= 96 && keyCode <= 122 && keyCode != 102 && keyCode != 104 && keyCode != 110))
        flags |= Flags::function;
    if (keyCode == 114)
        flags |= Flags::help;
    return flags;
}

/// What a key types in a state of the modifiers; its own symbol where the keyboard does not know the key.
guint keyvalIn(const GdkEventKey& key, guint state)
{
    guint keyval = key.keyval;
    gdk_keymap_translate_keyboard_state(gdk_keymap_get_for_display(gdk_display_get_default()),
        key.hardware_keycode, static_cast<GdkModifierType>(state), key.group, &keyval, nullptr, nullptr,
        nullptr);
    return keyval;
}

/// Commands are written in Latin letters. A layout of another script types them by the places of the keys.
std::string latin(std::string characters, const NSEvent& event)
{
    if (!event.modifierFlags.contains(Flags::command) || characters.empty())
        return characters;
    switch (g_unichar_get_script(g_utf8_get_char(characters.c_str()))) {
    case G_UNICODE_SCRIPT_LATIN:
    case G_UNICODE_SCRIPT_COMMON:
    case G_UNICODE_SCRIPT_INHERITED:
    case G_UNICODE_SCRIPT_UNKNOWN: // the characters of keys that type nothing
        return characters;
    default:
        break;
    }
    auto typed = americanCharacter(event.keyCode, event.modifierFlags.contains(Flags::shift));
    return typed.empty() ? characters : typed;
}

/// What Control makes of a letter.
std::string controlled(std::string characters, const NSEvent& event)
{
    if (event.modifierFlags.contains(Flags::control) && characters.size() == 1
        && g_ascii_isalpha(characters[0]))
        return {static_cast<char>(characters[0] & 0x1F)};
    return characters;
}

guint stateOf(Flags flags, KeyReader reader)
{
    guint state = 0;
    const auto add = [&](Flags flag, guint mask) {
        if (flags.contains(flag))
            state |= mask;
    };
    add(Flags::capsLock, GDK_LOCK_MASK);
    add(Flags::shift, GDK_SHIFT_MASK);
    add(Flags::option, GDK_MOD1_MASK);
    add(Flags::control, GDK_CONTROL_MASK);
    add(Flags::command,
        isSuperCommand() && reader == KeyReader::page ? guint(GDK_META_MASK) : guint(GDK_CONTROL_MASK));
    return state;
}

/// A key that types this, for the pages and controls that look at the place of a key.
void putOnAKey(GdkEventKey& key, std::uint16_t keyCode)
{
    if (keyCode != 0 && keyCode != NSEvent::noKeyCode)
        key.hardware_keycode = hardwareKeycodeOf(keyCode);
    if (key.hardware_keycode != 0)
        return;
    GdkKeymap* keymap = gdk_keymap_get_for_display(gdk_display_get_default());
    GdkKeymapKey* found = nullptr;
    gint count = 0;
    if (gdk_keymap_get_entries_for_keyval(keymap, key.keyval, &found, &count) && count > 0) {
        key.hardware_keycode = static_cast<guint16>(found->keycode);
        key.group = static_cast<guint8>(found->group);
    }
    g_free(found);
}

GdkEventPtr copyOf(const NSEvent& event, KeyReader reader)
{
    GdkEventPtr copy(gdk_event_copy(event.native->event.get()));
    GdkEventKey& key = copy->key;
    if (!isSuperCommand())
        return copy;
    constexpr guint super = GDK_SUPER_MASK | GDK_MOD4_MASK;
    const guint command = reader == KeyReader::page ? guint(GDK_META_MASK) : guint(GDK_CONTROL_MASK);
    if (key.state & super)
        key.state = (key.state & ~super) | command;
    if (reader == KeyReader::page && (key.keyval == GDK_KEY_Super_L || key.keyval == GDK_KEY_Super_R))
        key.keyval = key.keyval == GDK_KEY_Super_L ? GDK_KEY_Meta_L : GDK_KEY_Meta_R;
    return copy;
}

GdkEventPtr madeFrom(const NSEvent& event, KeyReader reader)
{
    GdkEventPtr made(
        gdk_event_new(event.type == NSEvent::EventType::keyUp ? GDK_KEY_RELEASE : GDK_KEY_PRESS));
    GdkEventKey& key = made->key;
    key.send_event = madeByHandMark;
    key.time = GDK_CURRENT_TIME;
    key.state = stateOf(event.modifierFlags, reader)
        | (static_cast<guint>(event.modifierFlags.rawValue) & carriedFlags);
    // One symbol cannot stand for several code points; the page gets those as text.
    key.keyval = keyvalOf(event.characters);
    const std::string& text = event.charactersIgnoringModifiers;
    key.string = g_strndup(text.data(), text.size());
    key.length = static_cast<gint>(text.size());
    putOnAKey(key, event.keyCode);
    if (GdkSeat* seat = gdk_display_get_default_seat(gdk_display_get_default()))
        gdk_event_set_device(made.get(), gdk_seat_get_keyboard(seat));
    return made;
}

} // namespace

NSEvent eventOf(const GdkEventKey& key, int windowNumber, bool isARepeat)
{
    NSEvent event;
    event.type = isModifierKey(key.keyval) ? NSEvent::EventType::flagsChanged
        : key.type == GDK_KEY_PRESS        ? NSEvent::EventType::keyDown
                                           : NSEvent::EventType::keyUp;
    event.timestamp = key.time / 1000.0;
    event.windowNumber = windowNumber;
    event.isARepeat = isARepeat;
    if (wasDelivered(key) && key.send_event & madeByHandMark) {
        event.modifierFlags = {key.state & carriedFlags};
        event.characters = event.charactersIgnoringModifiers = key.string ? key.string : "";
        event.keyCode = 0;
        return event;
    }
    event.native = std::make_shared<const NSEvent::Native>(
        GdkEventPtr(gdk_event_copy(reinterpret_cast<const GdkEvent*>(&key))));
    guint state = key.state;
    if (wasDelivered(key) && isSuperCommand() && (state & GDK_META_MASK))
        state |= GDK_SUPER_MASK; // as a page was given it
    event.keyCode = keyCodeOf(key.hardware_keycode);
    event.modifierFlags = keyboardFlags(state) | kindOf(event.keyCode, key.keyval);
    event.charactersIgnoringModifiers =
        latin(charactersOf(keyvalIn(key, state & (GDK_SHIFT_MASK | GDK_MOD2_MASK))), event);
    event.characters = controlled(latin(charactersOf(key.keyval), event), event);
    return event;
}

GdkEventPtr delivered(const NSEvent& event, KeyReader reader, GdkWindow* to)
{
    GdkEventPtr result = event.native ? copyOf(event, reader) : madeFrom(event, reader);
    GdkEventKey& key = result->key;
    key.send_event = static_cast<gint8>(key.send_event | deliveredMark);
    if (GdkWindow* from = std::exchange(key.window, GDK_WINDOW(g_object_ref(to))))
        g_object_unref(from);
    return result;
}

bool wasDelivered(const GdkEventKey& key)
{
    return key.send_event & deliveredMark;
}

bool hasSeveralCodePoints(const std::string& text)
{
    return g_utf8_strlen(text.data(), static_cast<gssize>(text.size())) > 1;
}

} // namespace LumoKit::detail

namespace LumoKit {

std::string NSEvent::charactersApplying(ModifierFlags modifiers) const
{
    if (!native)
        return charactersIgnoringModifiers;
    const GdkEventKey& key = native->event->key;
    guint state = key.state & GDK_MOD2_MASK;
    if (modifiers.contains(ModifierFlags::shift))
        state |= GDK_SHIFT_MASK;
    if (modifiers.contains(ModifierFlags::capsLock))
        state |= GDK_LOCK_MASK;
    if (modifiers.contains(ModifierFlags::option))
        state |= GDK_MOD5_MASK;
    NSEvent applied;
    applied.keyCode = keyCode;
    applied.modifierFlags = modifiers;
    return detail::controlled(
        detail::latin(detail::charactersOf(detail::keyvalIn(key, state)), applied), applied);
}

} // namespace LumoKit
