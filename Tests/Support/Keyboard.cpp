#include "Keyboard.h"

#include "Waiting.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <gdk/gdk.h>

#include <cstdlib>

namespace LumoKit::Test {

namespace {

/// The layout that the toolkit knows: it learns of another a moment later.
bool typesIn(const std::string& layout)
{
    constexpr guint16 placeOfY = 29;
    guint keyval = 0;
    gdk_keymap_translate_keyboard_state(gdk_keymap_get_for_display(gdk_display_get_default()), placeOfY,
        static_cast<GdkModifierType>(0), 0, &keyval, nullptr, nullptr, nullptr);
    return keyval
        == static_cast<guint>(layout == "de" ? GDK_KEY_z
                : layout == "ru"             ? GDK_KEY_Cyrillic_en
                                             : GDK_KEY_y);
}

constexpr unsigned lockMasks = LockMask | Mod2Mask;

} // namespace

Keyboard::Keyboard()
    : display(XOpenDisplay(nullptr))
{
}

Keyboard::~Keyboard()
{
    if (!display)
        return;
    if (changedLayout)
        static_cast<void>(setLayout("us"));
    XkbLockModifiers(display, XkbUseCoreKbd, lockMasks, 0);
    XSync(display, False);
    XCloseDisplay(display);
}

void Keyboard::press(int key)
{
    send(key, true);
}

void Keyboard::release(int key)
{
    send(key, false);
}

void Keyboard::tap(int key, std::initializer_list<int> held)
{
    for (const int other : held)
        press(other);
    press(key);
    release(key);
    for (const int other : held)
        release(other);
}

bool Keyboard::setLayout(const std::string& name)
{
    changedLayout = true;
    return std::system(("setxkbmap " + name).c_str()) == 0 && waitUntil([&] { return typesIn(name); });
}

void Keyboard::send(int key, bool down)
{
    XTestFakeKeyEvent(display, static_cast<unsigned>(key + 8), down, CurrentTime);
    XSync(display, False);
}

} // namespace LumoKit::Test
