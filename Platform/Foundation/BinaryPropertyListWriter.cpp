#include "BinaryPropertyListWriter.h"

#include "BinaryPropertyListForm.h"

#include <LumoKit/Platform/Native/Handles.h>

#include <algorithm>
#include <bit>
#include <initializer_list>
#include <utility>

namespace LumoKit::detail {

namespace {

char marker(std::uint64_t kind, std::uint64_t length)
{
    return static_cast<char>(kind << 4 | length);
}

void appendNumber(std::string& bytes, std::uint64_t value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xFF);
}

/// The bytes that a number needs, of which there are one, two, four or eight.
int sizeOf(std::uint64_t largest)
{
    return largest < 1U << 8 ? 1 : largest < 1U << 16 ? 2 : largest < std::uint64_t(1) << 32 ? 4 : 8;
}

std::string integerBytes(std::uint64_t value)
{
    const int size = sizeOf(value);
    std::string bytes(
        1, marker(binary::integer, static_cast<std::uint64_t>(std::countr_zero(unsigned(size)))));
    appendNumber(bytes, value, size);
    return bytes;
}

/// A marker with a length, after which there is what has it.
std::string head(std::uint64_t kind, std::uint64_t length)
{
    return length < binary::apart ? std::string(1, marker(kind, length))
                                  : marker(kind, binary::apart) + integerBytes(length);
}

std::string inUTF16(std::string_view text)
{
    glong units = 0;
    const std::unique_ptr<gunichar2, FreedBy<g_free>> converted(
        g_utf8_to_utf16(text.data(), static_cast<glong>(text.size()), nullptr, &units, nullptr));
    std::string bytes = head(binary::utf16, static_cast<std::uint64_t>(units));
    for (glong unit = 0; unit < units; ++unit)
        appendNumber(bytes, converted.get()[unit], 2);
    return bytes;
}

} // namespace

BinaryPropertyListWriter::Index BinaryPropertyListWriter::boolean(bool value)
{
    return add(std::string(1, value ? '\x09' : '\x08'));
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::integer(std::int64_t value)
{
    return add(integerBytes(static_cast<std::uint64_t>(value))); // a negative one has eight bytes, and a sign
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::real(double value)
{
    std::string bytes(1, marker(binary::real, 3)); // of eight bytes, the third power of two
    appendNumber(bytes, std::bit_cast<std::uint64_t>(value), 8);
    return add(std::move(bytes));
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::data(std::string_view bytes)
{
    return add(head(binary::data, bytes.size()).append(bytes));
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::text(std::string_view text)
{
    const auto [known, isNew] = texts.try_emplace(std::string(text), Index(objects.size()));
    if (!isNew)
        return known->second;
    const bool isASCII =
        std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
    return add(isASCII ? head(binary::ascii, text.size()).append(text) : inUTF16(text));
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::reference(std::uint64_t object)
{
    const auto [known, isNew] = references.try_emplace(object, Index(objects.size()));
    if (!isNew)
        return known->second;
    const int size = sizeOf(object);
    std::string bytes(1, marker(binary::uid, static_cast<std::uint64_t>(size) - 1));
    appendNumber(bytes, object, size);
    return add(std::move(bytes));
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::array(std::span<const Index> items)
{
    return add(head(binary::array, items.size()), {items.begin(), items.end()});
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::dictionary(
    std::span<const Index> keys, std::span<const Index> items)
{
    std::vector<Index> held(keys.begin(), keys.end());
    held.insert(held.end(), items.begin(), items.end());
    return add(head(binary::dictionary, keys.size()), std::move(held));
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::add(std::string bytes, std::vector<Index> held)
{
    objects.push_back({std::move(bytes), std::move(held)});
    return static_cast<Index>(objects.size() - 1);
}

Data BinaryPropertyListWriter::list(Index top) const
{
    const int referenceSize = sizeOf(objects.size() - 1);
    std::string bytes = "bplist00";
    std::vector<std::uint64_t> offsets;
    offsets.reserve(objects.size());
    for (const Object& object : objects) {
        offsets.push_back(bytes.size());
        bytes += object.bytes;
        for (const Index held : object.held)
            appendNumber(bytes, held, referenceSize);
    }
    const std::uint64_t table = bytes.size();
    const int offsetSize = sizeOf(table);
    for (const std::uint64_t offset : offsets)
        appendNumber(bytes, offset, offsetSize);
    bytes += std::string(6, '\0') + static_cast<char>(offsetSize) + static_cast<char>(referenceSize);
    for (const std::uint64_t last : {std::uint64_t(objects.size()), std::uint64_t(top), table})
        appendNumber(bytes, last, 8);
    const auto* first = reinterpret_cast<const std::byte*>(bytes.data());
    return {first, first + bytes.size()};
}

} // namespace LumoKit::detail
