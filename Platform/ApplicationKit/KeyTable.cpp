#include "KeyTable.h"

#include <LumoKit/Platform/ApplicationKit/NSEvent.h>

#include <linux/input-event-codes.h>

#include <array>
#include <string_view>

namespace LumoKit::detail {

namespace {

using namespace std::string_view_literals;

/// A key of the kernel and its virtual key code. Where two have one code, the first is the usual one.
struct Place {
    std::uint16_t key;
    std::uint16_t keyCode;
};
constexpr Place places[] = {
    {KEY_A, 0x00},
    {KEY_S, 0x01},
    {KEY_D, 0x02},
    {KEY_F, 0x03},
    {KEY_H, 0x04},
    {KEY_G, 0x05},
    {KEY_Z, 0x06},
    {KEY_X, 0x07},
    {KEY_C, 0x08},
    {KEY_V, 0x09},
    {KEY_102ND, 0x0A},
    {KEY_B, 0x0B},
    {KEY_Q, 0x0C},
    {KEY_W, 0x0D},
    {KEY_E, 0x0E},
    {KEY_R, 0x0F},
    {KEY_Y, 0x10},
    {KEY_T, 0x11},
    {KEY_1, 0x12},
    {KEY_2, 0x13},
    {KEY_3, 0x14},
    {KEY_4, 0x15},
    {KEY_6, 0x16},
    {KEY_5, 0x17},
    {KEY_EQUAL, 0x18},
    {KEY_9, 0x19},
    {KEY_7, 0x1A},
    {KEY_MINUS, 0x1B},
    {KEY_8, 0x1C},
    {KEY_0, 0x1D},
    {KEY_RIGHTBRACE, 0x1E},
    {KEY_O, 0x1F},
    {KEY_U, 0x20},
    {KEY_LEFTBRACE, 0x21},
    {KEY_I, 0x22},
    {KEY_P, 0x23},
    {KEY_ENTER, 0x24},
    {KEY_L, 0x25},
    {KEY_J, 0x26},
    {KEY_APOSTROPHE, 0x27},
    {KEY_K, 0x28},
    {KEY_SEMICOLON, 0x29},
    {KEY_BACKSLASH, 0x2A},
    {KEY_COMMA, 0x2B},
    {KEY_SLASH, 0x2C},
    {KEY_N, 0x2D},
    {KEY_M, 0x2E},
    {KEY_DOT, 0x2F},
    {KEY_TAB, 0x30},
    {KEY_SPACE, 0x31},
    {KEY_GRAVE, 0x32},
    {KEY_BACKSPACE, 0x33},
    {KEY_ESC, 0x35},
    {KEY_RIGHTMETA, 0x36},
    {KEY_LEFTMETA, 0x37},
    {KEY_LEFTSHIFT, 0x38},
    {KEY_CAPSLOCK, 0x39},
    {KEY_LEFTALT, 0x3A},
    {KEY_LEFTCTRL, 0x3B},
    {KEY_RIGHTSHIFT, 0x3C},
    {KEY_RIGHTALT, 0x3D},
    {KEY_RIGHTCTRL, 0x3E},
    {KEY_FN, 0x3F},
    {KEY_F17, 0x40},
    {KEY_KPDOT, 0x41},
    {KEY_KPASTERISK, 0x43},
    {KEY_KPPLUS, 0x45},
    {KEY_NUMLOCK, 0x47},
    {KEY_VOLUMEUP, 0x48},
    {KEY_VOLUMEDOWN, 0x49},
    {KEY_MUTE, 0x4A},
    {KEY_KPSLASH, 0x4B},
    {KEY_KPENTER, 0x4C},
    {KEY_KPMINUS, 0x4E},
    {KEY_F18, 0x4F},
    {KEY_F19, 0x50},
    {KEY_KPEQUAL, 0x51},
    {KEY_KP0, 0x52},
    {KEY_KP1, 0x53},
    {KEY_KP2, 0x54},
    {KEY_KP3, 0x55},
    {KEY_KP4, 0x56},
    {KEY_KP5, 0x57},
    {KEY_KP6, 0x58},
    {KEY_KP7, 0x59},
    {KEY_F20, 0x5A},
    {KEY_KP8, 0x5B},
    {KEY_KP9, 0x5C},
    {KEY_YEN, 0x5D},
    {KEY_RO, 0x5E},
    {KEY_KPJPCOMMA, 0x5F},
    {KEY_F5, 0x60},
    {KEY_F6, 0x61},
    {KEY_F7, 0x62},
    {KEY_F3, 0x63},
    {KEY_F8, 0x64},
    {KEY_F9, 0x65},
    {KEY_MUHENKAN, 0x66},
    {KEY_F11, 0x67},
    {KEY_HENKAN, 0x68},
    {KEY_F13, 0x69},
    {KEY_SYSRQ, 0x69},
    {KEY_F16, 0x6A},
    {KEY_F14, 0x6B},
    {KEY_SCROLLLOCK, 0x6B},
    {KEY_F10, 0x6D},
    {KEY_COMPOSE, 0x6E},
    {KEY_F12, 0x6F},
    {KEY_F15, 0x71},
    {KEY_PAUSE, 0x71},
    {KEY_INSERT, 0x72},
    {KEY_HELP, 0x72},
    {KEY_HOME, 0x73},
    {KEY_PAGEUP, 0x74},
    {KEY_DELETE, 0x75},
    {KEY_F4, 0x76},
    {KEY_END, 0x77},
    {KEY_F2, 0x78},
    {KEY_PAGEDOWN, 0x79},
    {KEY_F1, 0x7A},
    {KEY_LEFT, 0x7B},
    {KEY_RIGHT, 0x7C},
    {KEY_DOWN, 0x7D},
    {KEY_UP, 0x7E},
};

/// Desktops number keys as the kernel does, after eight that the first window system kept for itself.
constexpr unsigned offset = 8;

constexpr auto keyCodes = [] {
    std::array<std::uint16_t, 256> table{};
    table.fill(NSEvent::noKeyCode);
    for (const Place& place : places)
        if (place.key < table.size())
            table[place.key] = place.keyCode;
    return table;
}();

/// By key code.
constexpr std::string_view american = "asdfhgzxcv\0bqweryt123465=97-80]ou[ip\rlj'k;\\,/nm.\t `"sv;
constexpr std::string_view americanShifted = "ASDFHGZXCV\0BQWERYT!@#$^%+(&_*)}OU{IP\rLJ\"K:|<?NM>\t ~"sv;

/// Keys that type nothing, or a control character.
struct Special {
    guint keyval;
    char32_t character;
};
constexpr Special specials[] = {{GDK_KEY_Up, 0xF700}, {GDK_KEY_Down, 0xF701}, {GDK_KEY_Left, 0xF702},
    {GDK_KEY_Right, 0xF703}, {GDK_KEY_Insert, 0xF727}, {GDK_KEY_Delete, 0xF728}, {GDK_KEY_Home, 0xF729},
    {GDK_KEY_End, 0xF72B}, {GDK_KEY_Page_Up, 0xF72C}, {GDK_KEY_Page_Down, 0xF72D}, {GDK_KEY_Print, 0xF72E},
    {GDK_KEY_Scroll_Lock, 0xF72F}, {GDK_KEY_Pause, 0xF730}, {GDK_KEY_Menu, 0xF735}, {GDK_KEY_Help, 0xF746},
    {GDK_KEY_Return, '\r'}, {GDK_KEY_Tab, '\t'}, {GDK_KEY_Escape, 0x1B}, {GDK_KEY_BackSpace, 0x7F},
    {GDK_KEY_BackSpace, '\b'}, {GDK_KEY_Return, '\n'}, {GDK_KEY_ISO_Left_Tab, 0x19}, {GDK_KEY_KP_Up, 0xF700},
    {GDK_KEY_KP_Down, 0xF701}, {GDK_KEY_KP_Left, 0xF702}, {GDK_KEY_KP_Right, 0xF703},
    {GDK_KEY_KP_Insert, 0xF727}, {GDK_KEY_KP_Delete, 0xF728}, {GDK_KEY_KP_Home, 0xF729},
    {GDK_KEY_KP_End, 0xF72B}, {GDK_KEY_KP_Page_Up, 0xF72C}, {GDK_KEY_KP_Page_Down, 0xF72D},
    {GDK_KEY_KP_Enter, 3}};

constexpr char32_t firstFunctionKey = 0xF704;
constexpr unsigned functionKeys = 35;

std::string utf8(char32_t character)
{
    char bytes[6];
    return {bytes, static_cast<std::size_t>(g_unichar_to_utf8(character, bytes))};
}

} // namespace

std::uint16_t keyCodeOf(unsigned hardwareKeycode)
{
    const unsigned key = hardwareKeycode - offset; // one below it wraps to a number that no key has
    return key < keyCodes.size() ? keyCodes[key] : NSEvent::noKeyCode;
}

std::uint16_t hardwareKeycodeOf(std::uint16_t keyCode)
{
    for (const Place& place : places)
        if (place.keyCode == keyCode)
            return static_cast<std::uint16_t>(place.key + offset);
    return 0;
}

std::string americanCharacter(std::uint16_t keyCode, bool shift)
{
    const std::string_view table = shift ? americanShifted : american;
    return keyCode < table.size() && table[keyCode] ? std::string(1, table[keyCode]) : std::string();
}

std::string charactersOf(guint keyval)
{
    if (keyval >= GDK_KEY_F1 && keyval < GDK_KEY_F1 + functionKeys)
        return utf8(firstFunctionKey + (keyval - GDK_KEY_F1));
    for (const Special& special : specials)
        if (special.keyval == keyval)
            return utf8(special.character);
    const gunichar character = gdk_keyval_to_unicode(keyval);
    return character ? utf8(character) : std::string();
}

bool isModifierKey(guint keyval)
{
    return (keyval >= GDK_KEY_Shift_L && keyval <= GDK_KEY_Hyper_R)
        || (keyval >= GDK_KEY_ISO_Lock && keyval <= GDK_KEY_ISO_Last_Group_Lock)
        || (keyval >= GDK_KEY_ISO_Level5_Shift && keyval <= GDK_KEY_ISO_Level5_Lock)
        || keyval == GDK_KEY_Num_Lock || keyval == GDK_KEY_Mode_switch;
}

guint keyvalOf(const std::string& characters)
{
    if (characters.empty())
        return GDK_KEY_VoidSymbol;
    const gunichar character = g_utf8_get_char(characters.c_str());
    if (character >= firstFunctionKey && character < firstFunctionKey + functionKeys)
        return static_cast<guint>(GDK_KEY_F1 + (character - firstFunctionKey));
    for (const Special& special : specials)
        if (special.character == character)
            return special.keyval;
    return gdk_unicode_to_keyval(character);
}

} // namespace LumoKit::detail
