#pragma once

#include <LumoKit/Platform/ApplicationKit/NSEvent.h>

#include <cstdint>

namespace LumoKit {

/// A key in its place on the keyboard, whatever the layout, and the modifiers that must not be held with it.
///
///     view->keyCodesToSilence = {KeyCode::f, {53}};
///
/// Lower-case letters, digits and the other named keys forbid Shift, Control, Option and Command. Upper-case letters
/// are the same keys with Shift allowed: `KeyCode::A` is the key with Shift and without.
///
/// Thread: any.
struct KeyCode {
    /// A virtual key code.
    std::uint16_t rawValue = 0;
    /// None by default: the key with whatever modifiers.
    NSEvent::ModifierFlags negativeModifiers{};

    /// Whether an event's key is this one. Caps Lock and other flags that are not forbidden do not matter.
    [[nodiscard]] constexpr bool matches(std::uint16_t keyCode, NSEvent::ModifierFlags modifierFlags) const
    {
        return keyCode == rawValue && modifierFlags.isDisjoint(negativeModifiers);
    }

    constexpr bool operator==(const KeyCode&) const = default;

    static const KeyCode a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w, x, y, z;
    static const KeyCode A, B, C, D, E, F, G, H, I, J, K, L, M, N, O, P, Q, R, S, T, U, V, W, X, Y, Z;
    static const KeyCode one, two, three, four, five, six, seven, eight, nine, zero;
    static const KeyCode comma, esc, leftArrow, rightArrow, upArrow, downArrow, enter;
};

namespace detail {

/// A key alone.
constexpr KeyCode plain(std::uint16_t rawValue)
{
    using Flags = NSEvent::ModifierFlags;
    return {rawValue, Flags::shift | Flags::control | Flags::option | Flags::command};
}

/// A key alone, or with Shift.
constexpr KeyCode shifted(std::uint16_t rawValue)
{
    using Flags = NSEvent::ModifierFlags;
    return {rawValue, Flags::control | Flags::option | Flags::command};
}

} // namespace detail

inline constexpr KeyCode KeyCode::a = detail::plain(0);
inline constexpr KeyCode KeyCode::b = detail::plain(11);
inline constexpr KeyCode KeyCode::c = detail::plain(8);
inline constexpr KeyCode KeyCode::d = detail::plain(2);
inline constexpr KeyCode KeyCode::e = detail::plain(14);
inline constexpr KeyCode KeyCode::f = detail::plain(3);
inline constexpr KeyCode KeyCode::g = detail::plain(5);
inline constexpr KeyCode KeyCode::h = detail::plain(4);
inline constexpr KeyCode KeyCode::i = detail::plain(34);
inline constexpr KeyCode KeyCode::j = detail::plain(38);
inline constexpr KeyCode KeyCode::k = detail::plain(40);
inline constexpr KeyCode KeyCode::l = detail::plain(37);
inline constexpr KeyCode KeyCode::m = detail::plain(46);
inline constexpr KeyCode KeyCode::n = detail::plain(45);
inline constexpr KeyCode KeyCode::o = detail::plain(31);
inline constexpr KeyCode KeyCode::p = detail::plain(35);
inline constexpr KeyCode KeyCode::q = detail::plain(12);
inline constexpr KeyCode KeyCode::r = detail::plain(15);
inline constexpr KeyCode KeyCode::s = detail::plain(1);
inline constexpr KeyCode KeyCode::t = detail::plain(17);
inline constexpr KeyCode KeyCode::u = detail::plain(32);
inline constexpr KeyCode KeyCode::v = detail::plain(9);
inline constexpr KeyCode KeyCode::w = detail::plain(13);
inline constexpr KeyCode KeyCode::x = detail::plain(7);
inline constexpr KeyCode KeyCode::y = detail::plain(16);
inline constexpr KeyCode KeyCode::z = detail::plain(6);

inline constexpr KeyCode KeyCode::A = detail::shifted(0);
inline constexpr KeyCode KeyCode::B = detail::shifted(11);
inline constexpr KeyCode KeyCode::C = detail::shifted(8);
inline constexpr KeyCode KeyCode::D = detail::shifted(2);
inline constexpr KeyCode KeyCode::E = detail::shifted(14);
inline constexpr KeyCode KeyCode::F = detail::shifted(3);
inline constexpr KeyCode KeyCode::G = detail::shifted(5);
inline constexpr KeyCode KeyCode::H = detail::shifted(4);
inline constexpr KeyCode KeyCode::I = detail::shifted(34);
inline constexpr KeyCode KeyCode::J = detail::shifted(38);
inline constexpr KeyCode KeyCode::K = detail::shifted(40);
inline constexpr KeyCode KeyCode::L = detail::shifted(37);
inline constexpr KeyCode KeyCode::M = detail::shifted(46);
inline constexpr KeyCode KeyCode::N = detail::shifted(45);
inline constexpr KeyCode KeyCode::O = detail::shifted(31);
inline constexpr KeyCode KeyCode::P = detail::shifted(35);
inline constexpr KeyCode KeyCode::Q = detail::shifted(12);
inline constexpr KeyCode KeyCode::R = detail::shifted(15);
inline constexpr KeyCode KeyCode::S = detail::shifted(1);
inline constexpr KeyCode KeyCode::T = detail::shifted(17);
inline constexpr KeyCode KeyCode::U = detail::shifted(32);
inline constexpr KeyCode KeyCode::V = detail::shifted(9);
inline constexpr KeyCode KeyCode::W = detail::shifted(13);
inline constexpr KeyCode KeyCode::X = detail::shifted(7);
inline constexpr KeyCode KeyCode::Y = detail::shifted(16);
inline constexpr KeyCode KeyCode::Z = detail::shifted(6);

inline constexpr KeyCode KeyCode::one = detail::plain(18);
inline constexpr KeyCode KeyCode::two = detail::plain(19);
inline constexpr KeyCode KeyCode::three = detail::plain(20);
inline constexpr KeyCode KeyCode::four = detail::plain(21);
inline constexpr KeyCode KeyCode::five = detail::plain(23);
inline constexpr KeyCode KeyCode::six = detail::plain(22);
inline constexpr KeyCode KeyCode::seven = detail::plain(26);
inline constexpr KeyCode KeyCode::eight = detail::plain(28);
inline constexpr KeyCode KeyCode::nine = detail::plain(25);
inline constexpr KeyCode KeyCode::zero = detail::plain(29);

inline constexpr KeyCode KeyCode::comma = detail::plain(43);
inline constexpr KeyCode KeyCode::esc = detail::plain(53);
inline constexpr KeyCode KeyCode::leftArrow = detail::plain(123);
inline constexpr KeyCode KeyCode::rightArrow = detail::plain(124);
inline constexpr KeyCode KeyCode::upArrow = detail::plain(126);
inline constexpr KeyCode KeyCode::downArrow = detail::plain(125);
inline constexpr KeyCode KeyCode::enter = detail::plain(36); // of the letters, not of the numeric pad

} // namespace LumoKit
