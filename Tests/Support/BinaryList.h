#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace LumoKit::Test {

/// The number `value` in `length` bytes, the most significant first.
inline std::string bigEndian(std::uint64_t value, int length)
{
    std::string bytes;
    for (int shift = 8 * (length - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(shift < 64 ? value >> shift & 0xFF : 0);
    return bytes;
}

/// Writes a binary property list, as far as these tests need one, without the library that reads it.
class BinaryList {
public:
    /// Each adds an object and gives its number.
    int raw(std::string bytes)
    {
        objects.push_back(std::move(bytes));
        return static_cast<int>(objects.size()) - 1;
    }
    int sized(int kind, std::size_t count, const std::string& content)
    {
        if (count < 15)
            return raw(static_cast<char>(kind << 4 | static_cast<int>(count)) + content);
        return raw(static_cast<char>(kind << 4 | 15) + ("\x12" + bigEndian(count, 4)) + content);
    }
    int ascii(const std::string& text) { return sized(5, text.size(), text); }
    int real(double number) { return raw("\x23" + bigEndian(std::bit_cast<std::uint64_t>(number), 8)); }
    int uid(int object) { return raw("\x83" + bigEndian(static_cast<std::uint64_t>(object), 4)); }
    int date(double seconds) { return raw("\x33" + bigEndian(std::bit_cast<std::uint64_t>(seconds), 8)); }
    int array(const std::vector<int>& items) { return sized(10, items.size(), references(items)); }
    int dictionary(const std::vector<int>& keys, const std::vector<int>& values)
    {
        return sized(13, keys.size(), references(keys) + references(values));
    }

    /// The whole list with the object `top` as its root.
    [[nodiscard]] std::string list(int top) const
    {
        std::string text = "bplist00";
        std::string offsets;
        for (const auto& object : objects) {
            offsets += bigEndian(text.size(), 4);
            text += object;
        }
        const std::size_t table = text.size();
        return text + offsets + std::string(6, '\0') + "\x04\x04" + bigEndian(objects.size(), 8)
            + bigEndian(static_cast<std::uint64_t>(top), 8) + bigEndian(table, 8);
    }

private:
    static std::string references(const std::vector<int>& items)
    {
        std::string text;
        for (const int item : items)
            text += bigEndian(static_cast<std::uint64_t>(item), 4);
        return text;
    }

    std::vector<std::string> objects;
};

} // namespace LumoKit::Test
