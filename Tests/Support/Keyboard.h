#pragma once

#include <initializer_list>
#include <string>

struct _XDisplay;

namespace LumoKit::Test {

/// A keyboard of the screen that the tests run on. Keys are named as the kernel names them (`KEY_A`, of
/// <linux/input-event-codes.h>), by their places.
///
/// What was pressed and switched on is released and switched off at the end, and the layout is American again.
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    void press(int key);
    void release(int key);
    /// Down and up, with others held meanwhile.
    void tap(int key, std::initializer_list<int> held = {});
    /// "us", "de", "ru": the layout of the whole screen. False if there is none of that name.
    [[nodiscard]] bool setLayout(const std::string& name);

private:
    void send(int key, bool down);

    _XDisplay* display;
    bool changedLayout = false;
};

} // namespace LumoKit::Test
