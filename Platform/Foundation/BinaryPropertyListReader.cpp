#include "BinaryPropertyListReader.h"

#include "BinaryPropertyListForm.h"

#include <bit>
#include <chrono>
#include <limits>
#include <string>

namespace LumoKit::detail {

namespace {

/// Property lists count seconds from the first of January 2001.
constexpr double referenceDate = 978307200;

void append(std::string& text, char32_t point)
{
    const auto byte = [&](char32_t value) { text += static_cast<char>(value); };
    if (point < 0x80)
        return byte(point);
    if (point < 0x800)
        byte(0xC0 | point >> 6);
    else {
        if (point < 0x10000)
            byte(0xE0 | point >> 12);
        else {
            byte(0xF0 | point >> 18);
            byte(0x80 | (point >> 12 & 0x3F));
        }
        byte(0x80 | (point >> 6 & 0x3F));
    }
    byte(0x80 | (point & 0x3F));
}

/// UTF-16, the most significant byte first, as UTF-8. Half a pair alone is U+FFFD.
std::string fromUTF16(std::string_view bytes)
{
    const auto unit = [&](std::size_t at) {
        return static_cast<char32_t>(
            static_cast<unsigned char>(bytes[at]) << 8 | static_cast<unsigned char>(bytes[at + 1]));
    };
    const auto isHigh = [](char32_t value) { return value >= 0xD800 && value < 0xDC00; };
    const auto isLow = [](char32_t value) { return value >= 0xDC00 && value < 0xE000; };
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        char32_t point = unit(at);
        if (isHigh(point) && at + 3 < bytes.size() && isLow(unit(at + 2))) {
            point = 0x10000 + ((point - 0xD800) << 10) + (unit(at + 2) - 0xDC00);
            at += 2;
        } else if (isHigh(point) || isLow(point))
            point = 0xFFFD;
        append(text, point);
    }
    return text;
}

} // namespace

BinaryPropertyListReader::BinaryPropertyListReader(std::string_view list)
    : bytes(list)
{
    constexpr std::size_t trailerSize =
        32; // the last bytes: two sizes at 6, three counts of eight bytes from 8 on
    if (!bytes.starts_with("bplist0") || bytes.size() < trailerSize)
        return;
    const std::size_t trailer = bytes.size() - trailerSize;
    offsetSize = number(trailer + 6, 1);
    referenceSize = number(trailer + 7, 1);
    const std::uint64_t count = number(trailer + 8, 8);
    topmost = number(trailer + 16, 8);
    table = number(trailer + 24, 8);
    const bool isSound = offsetSize >= 1 && offsetSize <= 8 && referenceSize >= 1 && referenceSize <= 8
        && topmost < count && table <= trailer && count <= (trailer - table) / offsetSize;
    objects = isSound ? count : 0;
}

BinaryPropertyListReader::Kind BinaryPropertyListReader::kind(Index object) const
{
    const Body body = bodyOf(object);
    switch (body.kind) {
    case binary::constant:
        return body.length == 8 || body.length == 9 ? Kind::boolean : Kind::none;
    case binary::integer:
        return body.length <= 4 ? Kind::integer : Kind::none;
    case binary::real:
        return body.length == 2 || body.length == 3 ? Kind::real : Kind::none;
    case binary::date:
        return Kind::date;
    case binary::data:
        return Kind::data;
    case binary::ascii:
    case binary::utf16:
        return Kind::text;
    case binary::uid:
        return Kind::reference;
    case binary::array:
    case binary::orderedSet:
    case binary::set:
        return Kind::array;
    case binary::dictionary:
        return Kind::dictionary;
    default:
        return Kind::none;
    }
}

Value BinaryPropertyListReader::leaf(Index object) const
{
    const Body body = bodyOf(object);
    const auto real64 = [&] { return std::bit_cast<double>(number(body.first, 8)); };
    switch (kind(object)) {
    case Kind::boolean:
        return body.length == 9;
    case Kind::integer: {
        if (body.length < 4) {
            const std::uint64_t value = number(body.first, std::uint64_t(1) << body.length);
            return static_cast<std::int64_t>(value); // of eight bytes, one with a sign
        }
        const std::uint64_t upper = number(body.first, 8);
        const std::uint64_t lower = number(body.first + 8, 8);
        if (upper == 0)
            return lower;
        return upper == std::numeric_limits<std::uint64_t>::max() ? Value(static_cast<std::int64_t>(lower))
                                                                  : Value();
    }
    case Kind::real:
        return body.length == 3
            ? real64()
            : static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(number(body.first, 4))));
    case Kind::date:
        return Date(std::chrono::duration<double>(referenceDate + real64()));
    case Kind::data: {
        const auto content = contentOf(body);
        const auto* first = reinterpret_cast<const std::byte*>(content.data());
        return Data(first, first + content.size());
    }
    case Kind::text: {
        const auto content = contentOf(body);
        return body.kind == binary::ascii ? Value(content) : Value(fromUTF16(content));
    }
    default:
        return {};
    }
}

std::uint64_t BinaryPropertyListReader::size(Index object) const
{
    const Body body = bodyOf(object);
    const std::uint64_t inList = contentOf(body).size();
    return body.kind == binary::utf16 ? inList / 2 * 3 : inList; // in UTF-8
}

bool BinaryPropertyListReader::isText(Index object, std::string_view text) const
{
    const Body body = bodyOf(object);
    if (body.length != text.size())
        return false;
    return body.kind == binary::ascii ? contentOf(body) == text
                                      : body.kind == binary::utf16 && fromUTF16(contentOf(body)) == text;
}

bool BinaryPropertyListReader::isTextWithNul(Index object) const
{
    const Body body = bodyOf(object);
    if (body.kind != binary::ascii && body.kind != binary::utf16)
        return false;
    const auto content = contentOf(body);
    if (body.kind == binary::ascii)
        return content.contains('\0');
    for (std::size_t at = 0; at < content.size(); at += 2)
        if (content[at] == 0 && content[at + 1] == 0)
            return true;
    return false;
}

std::optional<std::uint64_t> BinaryPropertyListReader::reference(Index object) const
{
    const Body body = bodyOf(object);
    constexpr std::uint64_t longest = 8;
    if (body.kind != binary::uid || body.length >= longest)
        return std::nullopt;
    return number(body.first, body.length + 1);
}

std::optional<BinaryPropertyListReader::Container> BinaryPropertyListReader::container(Index object) const
{
    const Body body = bodyOf(object);
    const bool isDictionary = body.kind == binary::dictionary;
    if (!isDictionary && body.kind != binary::array && body.kind != binary::orderedSet
        && body.kind != binary::set)
        return std::nullopt;
    if (!fits(body, referenceSize * (isDictionary ? 2 : 1)))
        return std::nullopt;
    return Container{body.length, body.first, body.first + (isDictionary ? body.length * referenceSize : 0)};
}

BinaryPropertyListReader::Body BinaryPropertyListReader::bodyOf(Index object) const
{
    if (object >= objects)
        return {};
    const std::uint64_t start = number(table + object * offsetSize, offsetSize);
    const std::uint64_t marker = number(start, 1);
    Body body{marker >> 4, marker & 0xF, start + 1};
    if (body.length == binary::apart && body.kind >= binary::data) { // it stands in an integer of its own
        const std::uint64_t size = std::uint64_t(1) << (number(body.first, 1) & 0xF);
        if (size > 8)
            return {};
        body.length = number(body.first + 1, size);
        body.first += 1 + size;
    }
    return body;
}

std::string_view BinaryPropertyListReader::contentOf(const Body& body) const
{
    if (body.kind != binary::data && body.kind != binary::ascii && body.kind != binary::utf16)
        return {};
    const std::uint64_t unit = body.kind == binary::utf16 ? 2 : 1;
    return fits(body, unit) ? bytes.substr(body.first, body.length * unit) : std::string_view();
}

bool BinaryPropertyListReader::fits(const Body& body, std::uint64_t bytesEach) const
{
    return body.first <= bytes.size() && body.length <= (bytes.size() - body.first) / bytesEach;
}

/// A big-endian number; zero where it is not inside the list.
std::uint64_t BinaryPropertyListReader::number(std::uint64_t start, std::uint64_t size) const
{
    if (start > bytes.size() || size > bytes.size() - start)
        return 0;
    std::uint64_t value = 0;
    for (std::uint64_t index = start; index < start + size; ++index)
        value = value << 8 | static_cast<unsigned char>(bytes[index]);
    return value;
}

} // namespace LumoKit::detail
