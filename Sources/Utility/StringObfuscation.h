#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace LumoKit {

/// The letters and digits that literals are spelled with which must not stand in a program's plain text:
///
///     using enum Symbol;
///     const std::string word = text(std::array {h, i}); // "hi"
enum class Symbol : std::uint8_t {
    // clang-format off
    a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w, x, y, z,
    A, B, C, D, E, F, G, H, I, J, K, L, M, N, O, P, Q, R, S, T, U, V, W, X, Y, Z,
    _0, _1, _2, _3, _4, _5, _6, _7, _8, _9
    // clang-format on
};

/// The number of symbols.
inline constexpr std::size_t symbolCount = 62;

/// The one character that a symbol stands for.
/// Thread: any.
[[nodiscard]] std::string_view rawValue(Symbol symbol);

/// The symbol of a one-character text; nothing for any other text.
/// Thread: any.
[[nodiscard]] std::optional<Symbol> symbol(std::string_view rawValue);

/// The characters of all symbols, in their order.
/// Thread: any.
[[nodiscard]] std::string text(std::span<const Symbol> symbols);

} // namespace LumoKit
