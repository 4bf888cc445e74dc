#include "PropertyListShape.h"

#include <LumoKit/Platform/Foundation/PropertyList.h>

#include <plist/plist.h>

#include <bit>
#include <cstdlib>
#include <limits>
#include <memory>

namespace LumoKit {

namespace {

struct FreeNode {
    void operator()(void* node) const { plist_free(node); }
};
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); } // libplist hands out malloc's memory
};
using Text = std::unique_ptr<char, FreeMemory>;

/// Property lists count seconds from the first of January 2001.
constexpr double referenceDate = 978307200;

/// What a binary list that holds only this node says of it: a marker and eight bytes. The library's own
/// accessors lose the sign of an integer, and of a date all beyond 32 bits.
struct Scalar {
    unsigned char marker = 0;
    std::uint64_t bits = 0;
};

Scalar scalarOf(plist_t node)
{
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    const Text owned(bytes);
    constexpr std::size_t header = 8; // "bplist00"
    Scalar scalar;
    if (!owned || length < header + 1 + 16)
        return scalar;
    scalar.marker = static_cast<unsigned char>(owned.get()[header]);
    // 0x14 is an integer of sixteen bytes, whose upper half is zero.
    const std::size_t start = header + 1 + (scalar.marker == 0x14 ? 8 : 0);
    for (std::size_t index = start; index < start + 8; ++index)
        scalar.bits = scalar.bits << 8 | static_cast<unsigned char>(owned.get()[index]);
    return scalar;
}

Value valueOf(plist_t node, int depth);

Value::Dictionary dictionaryOf(plist_t node, int depth)
{
    Value::Dictionary dictionary;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const std::unique_ptr<void, FreeMemory> owned(position);
    while (true) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, position, &key, &item);
        if (!item)
            return dictionary;
        const Text name(key);
        dictionary.insert_or_assign(name ? name.get() : "", valueOf(item, depth + 1));
    }
}

Value::Array arrayOf(plist_t node, int depth)
{
    Value::Array array;
    const auto count = plist_array_get_size(node);
    array.reserve(count);
    for (std::uint32_t index = 0; index < count; ++index)
        array.push_back(valueOf(plist_array_get_item(node, index), depth + 1));
    return array;
}

Value valueOf(plist_t node, int depth)
{
    if (depth > Value::maximumDepth)
        return {};
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t boolean = 0;
        plist_get_bool_val(node, &boolean);
        return boolean != 0;
    }
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        if (number > std::uint64_t(std::numeric_limits<std::int64_t>::max()) && scalarOf(node).marker != 0x14)
            return static_cast<std::int64_t>(number); // a negative one, as its two's complement
        return number;
    }
    case PLIST_UID: {
        std::uint64_t number = 0;
        plist_get_uid_val(node, &number);
        return number;
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return number;
    }
    case PLIST_STRING: {
        // Not plist_get_string_val, which stops the process at a text with a NUL character in it.
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return text ? Value(std::string_view(text, length)) : Value("");
    }
    case PLIST_DATE:
        return Date(
            std::chrono::duration<double>(referenceDate + std::bit_cast<double>(scalarOf(node).bits)));
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const auto* bytes = reinterpret_cast<const std::byte*>(plist_get_data_ptr(node, &length));
        return bytes ? Data(bytes, bytes + length) : Data();
    }
    case PLIST_ARRAY:
        return arrayOf(node, depth);
    case PLIST_DICT:
        return dictionaryOf(node, depth);
    default:
        return {};
    }
}

} // namespace

std::optional<Value> readPropertyList(std::span<const std::byte> bytes)
{
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt; // the library counts in 32 bits
    const auto* start = reinterpret_cast<const char*>(bytes.data());
    const auto length = static_cast<std::uint32_t>(bytes.size());
    const std::string_view text(start, length);
    plist_t root = nullptr;
    if (plist_is_binary(start, length)) {
        if (detail::isSoundBinary(text))
            plist_from_bin(start, length, &root);
    } else if (detail::isSoundXML(text)) {
        plist_from_xml(start, length, &root);
    }
    const std::unique_ptr<void, FreeNode> owned(root);
    if (!root)
        return std::nullopt;
    return valueOf(root, 0);
}

} // namespace LumoKit
