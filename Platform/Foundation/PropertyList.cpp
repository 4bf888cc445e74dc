#include "PropertyListNative.h"
#include "PropertyListShape.h"

#include <LumoKit/Platform/Foundation/PropertyList.h>

#include <bit>
#include <limits>

namespace LumoKit {

namespace {

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
    const std::unique_ptr<char, detail::FreePropertyListMemory> owned(bytes);
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
    detail::forEachEntry(node, [&](std::string_view key, plist_t item) {
        dictionary.insert_or_assign(std::string(key), valueOf(item, depth + 1));
    });
    return dictionary;
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
    case PLIST_ARRAY:
        return arrayOf(node, depth);
    case PLIST_DICT:
        return dictionaryOf(node, depth);
    default:
        return detail::valueOfLeaf(node);
    }
}

} // namespace

Value detail::valueOfLeaf(plist_t node)
{
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
    default:
        return {};
    }
}

namespace {

/// The library counts in 32 bits; a longer list reads as an empty one.
std::string_view textOf(std::span<const std::byte> bytes)
{
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        return {};
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool isBinary(std::string_view text)
{
    return plist_is_binary(text.data(), static_cast<std::uint32_t>(text.size()));
}

detail::PropertyListRoot readXMLPropertyList(std::string_view text)
{
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    return detail::PropertyListRoot(root);
}

} // namespace

detail::PropertyListRoot detail::readBinaryPropertyList(std::span<const std::byte> bytes)
{
    const std::string_view text = textOf(bytes);
    plist_t root = nullptr;
    if (isBinary(text))
        plist_from_bin(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    return PropertyListRoot(root);
}

std::optional<Value> readPropertyList(std::span<const std::byte> bytes)
{
    const std::string_view text = textOf(bytes);
    detail::PropertyListRoot root;
    if (isBinary(text) && detail::isSoundBinary(text))
        root = detail::readBinaryPropertyList(bytes);
    else if (!isBinary(text) && detail::isSoundXML(text))
        root = readXMLPropertyList(text);
    if (!root)
        return std::nullopt;
    return valueOf(root.get(), 0);
}

} // namespace LumoKit
