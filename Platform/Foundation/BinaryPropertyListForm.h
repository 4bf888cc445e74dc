#pragma once

#include <cstdint>

namespace LumoKit::detail::binary {

// What an object of a binary property list is: the upper half of its first byte. The lower half is its length, as it is or as a
// power of two, or which constant it is.
inline constexpr std::uint64_t constant = 0x0;
inline constexpr std::uint64_t integer = 0x1;
inline constexpr std::uint64_t real = 0x2;
inline constexpr std::uint64_t date = 0x3;
inline constexpr std::uint64_t data = 0x4;
inline constexpr std::uint64_t ascii = 0x5;
inline constexpr std::uint64_t utf16 = 0x6;
inline constexpr std::uint64_t uid = 0x8;
inline constexpr std::uint64_t array = 0xA;
inline constexpr std::uint64_t orderedSet = 0xB;
inline constexpr std::uint64_t set = 0xC;
inline constexpr std::uint64_t dictionary = 0xD;

/// As the length of data, text or a container: it stands in an integer after the byte.
inline constexpr std::uint64_t apart = 0xF;

} // namespace LumoKit::detail::binary
