#pragma once

#include <gdk/gdk.h>

#include <cstdint>
#include <string>

namespace LumoKit::detail {

/// The virtual key code of a key in its place; `NSEvent::noKeyCode` for one that has none.
[[nodiscard]] std::uint16_t keyCodeOf(unsigned hardwareKeycode);
/// The other way round; 0 for a code that no key has.
[[nodiscard]] std::uint16_t hardwareKeycodeOf(std::uint16_t keyCode);

/// What the key types on an American keyboard; nothing for one that types nothing there.
[[nodiscard]] std::string americanCharacter(std::uint16_t keyCode, bool shift);

/// The character of a key symbol, as `NSEvent::characters` has it; nothing for a modifier or a dead key.
[[nodiscard]] std::string charactersOf(guint keyval);
/// Whether a key only changes what others do. What the desktop says of this may be wrong after a change of the
/// layout.
[[nodiscard]] bool isModifierKey(guint keyval);
/// The key symbol of a text's first character; `GDK_KEY_VoidSymbol` for an empty one.
[[nodiscard]] guint keyvalOf(const std::string& characters);

} // namespace LumoKit::detail
