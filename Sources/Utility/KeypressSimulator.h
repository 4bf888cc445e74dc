#pragma once

#include <LumoKit/Platform/ApplicationKit/NSEvent.h>

#include <string>
#include <vector>

namespace LumoKit {

/// One press of a key.
struct KeyPress {
    /// The character that the press types: one, as its reader counts, of however many code points.
    std::string character;
    NSEvent::ModifierFlags modifiers{};
};

/// Whether two presses are the same: the same character, in whatever form it is written, and the same modifiers.
[[nodiscard]] bool operator==(const KeyPress& one, const KeyPress& other);

/// Presses keys as the user would: the application sends them to its window, page, views and menus.
///
///     KeyPressSimulator::simulate({{"k", NSEvent::ModifierFlags::command}, {"g", {}}});
///
/// A press has its character whatever the modifiers, and the key code 0: who receives it reads the character. Keys
/// only go down; there is no release.
///
/// Thread: the main thread. A page's own handlers run later, in the page's process; everything else has happened when
/// the call returns.
class KeyPressSimulator {
public:
    KeyPressSimulator() = delete;

    /// A press whose text is not one character is passed over.
    static void simulate(const KeyPress& press);
    /// One press after the other.
    static void simulate(const std::vector<KeyPress>& presses);
};

} // namespace LumoKit
