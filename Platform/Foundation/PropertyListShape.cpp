#include "PropertyListShape.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <vector>

namespace LumoKit::detail {

namespace {

/// Far beyond every sensible list, far below what a stack holds.
constexpr std::uint64_t maximumLevels = 4096;
/// What the library needs for an object besides its text or data.
constexpr std::uint64_t objectMemory = 128;

/// The objects of a binary list, found without building any of them.
class BinaryObjects {
public:
    explicit BinaryObjects(std::string_view list)
        : bytes(list)
    {
        constexpr std::size_t trailerSize =
            32; // the last bytes: two sizes at 6, three counts of eight bytes from 8 on
        if (bytes.size() < trailerSize)
            return;
        const std::size_t trailer = bytes.size() - trailerSize;
        offsetSize = number(trailer + 6, 1);
        referenceSize = number(trailer + 7, 1);
        count = number(trailer + 8, 8);
        top = number(trailer + 16, 8);
        table = number(trailer + 24, 8);
        isWhole = offsetSize >= 1 && offsetSize <= 8 && referenceSize >= 1 && referenceSize <= 8
            && top < count && table <= trailer && count <= (trailer - table) / offsetSize;
    }

    bool isWhole = false;
    std::uint64_t count = 0;
    std::uint64_t top = 0;

    /// The objects that an object refers to, of a dictionary the keys first; none for one that is no container or
    /// lies outside of the list.
    [[nodiscard]] std::vector<std::uint64_t> references(std::uint64_t object) const
    {
        const Body body = bodyOf(object);
        if (body.kind != 0xA && body.kind != 0xB && body.kind != 0xC && body.kind != dictionary)
            return {};
        const std::uint64_t each = referenceSize * (body.kind == dictionary ? 2 : 1);
        if (body.first > bytes.size() || body.length > (bytes.size() - body.first) / each)
            return {};
        std::vector<std::uint64_t> found(body.kind == dictionary ? 2 * body.length : body.length);
        for (std::uint64_t index = 0; index < found.size(); ++index)
            found[index] = number(body.first + index * referenceSize, referenceSize);
        return found;
    }

    /// How many of an object's references are keys.
    [[nodiscard]] std::uint64_t keyCount(std::uint64_t object, std::uint64_t references) const
    {
        return bodyOf(object).kind == dictionary ? references / 2 : 0;
    }

    /// What an object needs alone, without those that it refers to.
    [[nodiscard]] std::uint64_t memory(std::uint64_t object) const
    {
        const Body body = bodyOf(object);
        if (body.kind != 4 && body.kind != 5 && body.kind != 6) // data, ASCII, UTF-16
            return objectMemory;
        const std::uint64_t inUTF8 = body.kind == 6 ? 3 : 1;
        return objectMemory + inUTF8 * std::min<std::uint64_t>(body.length, bytes.size());
    }

    /// Whether an object is a text with a NUL character in it.
    [[nodiscard]] bool isTextWithNul(std::uint64_t object) const
    {
        const Body body = bodyOf(object);
        const std::uint64_t unit = body.kind == 5 ? 1 : body.kind == 6 ? 2 : 0;
        if (unit == 0 || body.first > bytes.size() || body.length > (bytes.size() - body.first) / unit)
            return false;
        for (std::uint64_t index = 0; index < body.length; ++index)
            if (number(body.first + index * unit, unit) == 0)
                return true;
        return false;
    }

private:
    static constexpr std::uint64_t dictionary = 0xD;

    /// An object's marker: what it is, how long, and where its contents begin.
    struct Body {
        std::uint64_t kind = 0;
        std::uint64_t length = 0;
        std::uint64_t first = 0;
    };

    [[nodiscard]] Body bodyOf(std::uint64_t object) const
    {
        const std::uint64_t start = number(table + object * offsetSize, offsetSize);
        const std::uint64_t marker = number(start, 1);
        Body body{marker >> 4, marker & 0xF, start + 1};
        if (body.length == 0xF) { // it stands in an integer of its own
            const std::uint64_t size = std::uint64_t(1) << (number(body.first, 1) & 0xF);
            if (size > 8)
                return {};
            body.length = number(body.first + 1, size);
            body.first += 1 + size;
        }
        return body;
    }

    /// A big-endian number; zero where it is not inside the list.
    [[nodiscard]] std::uint64_t number(std::uint64_t start, std::uint64_t size) const
    {
        if (start > bytes.size() || size > bytes.size() - start)
            return 0;
        std::uint64_t value = 0;
        for (std::uint64_t index = start; index < start + size; ++index)
            value = value << 8 | static_cast<unsigned char>(bytes[index]);
        return value;
    }

    std::string_view bytes;
    std::uint64_t offsetSize = 0;
    std::uint64_t referenceSize = 0;
    std::uint64_t table = 0;
};

} // namespace

namespace {

/// Whether a text of XML has a NUL character in it, as it is or as a reference ("&#0;", "&#x00;").
bool holdsNul(std::string_view xml)
{
    if (xml.find('\0') != xml.npos)
        return true;
    for (std::size_t at = xml.find("&#"); at != xml.npos; at = xml.find("&#", at + 2)) {
        std::string_view digits = xml.substr(at + 2);
        if (digits.starts_with('x') || digits.starts_with('X'))
            digits.remove_prefix(1);
        const std::size_t end = digits.find_first_not_of('0');
        if (end != 0 && end != digits.npos && !std::isxdigit(static_cast<unsigned char>(digits[end])))
            return true;
    }
    return false;
}

} // namespace

bool isSoundXML(std::string_view bytes)
{
    // Only containers count: nothing else holds an element.
    const auto isContainer = [](std::string_view tag) {
        return tag.starts_with("array") || tag.starts_with("dict");
    };
    if (holdsNul(bytes))
        return false;
    std::uint64_t depth = 0;
    std::size_t at = bytes.find('<');
    while (at != bytes.npos) {
        const std::string_view tag = bytes.substr(at + 1);
        // What looks like a tag inside of a comment or of marked text is none.
        const std::string_view end = tag.starts_with("!--") ? "-->"
            : tag.starts_with("![CDATA[")                   ? "]]>"
                                                            : ">";
        const std::size_t close = bytes.find(end, at);
        if (close == bytes.npos)
            return true;
        const bool closesItself = bytes[close - 1] == '/';
        if (isContainer(tag) && !closesItself && ++depth > maximumLevels)
            return false;
        if (tag.starts_with('/') && isContainer(tag.substr(1)))
            depth -= depth > 0;
        at = bytes.find('<', close);
    }
    return true;
}

bool isSoundBinary(std::string_view bytes)
{
    return memoryOfBinary(bytes, propertyListMemory).has_value();
}

std::optional<std::uint64_t> memoryOfBinary(std::string_view bytes, std::uint64_t maximum)
{
    const BinaryObjects objects(bytes);
    if (!objects.isWhole)
        return 0; // the library says what is wrong with it
    if (objects.count > maximum / objectMemory)
        return std::nullopt;
    struct Shape {
        std::uint64_t levels = 0; // of the object and all below it; zero until they are known
        std::uint64_t memory = 0; // of the object and all below it, written out
        bool entered = false;
    };
    struct Visit {
        std::uint64_t object;
        std::vector<std::uint64_t> references;
        std::size_t next = 0;
    };
    // Each object once, those that it refers to before itself, without recursion.
    std::vector<Shape> shapes(objects.count);
    std::vector<Visit> path;
    // What lies over each other in the bytes is looked at once for each: a sum that grows with the look, and that is
    // never more than what the list needs, keeps it short.
    std::uint64_t seen = 0;
    const auto enter = [&](std::uint64_t object) {
        shapes[object].entered = true;
        path.push_back({object, objects.references(object)});
        const auto& references = path.back().references;
        seen += references.size() * objectMemory;
        for (std::uint64_t key = 0; key < objects.keyCount(object, references.size()); ++key) {
            if (references[key] >= objects.count)
                continue;
            seen += objects.memory(references[key]) - objectMemory;
            if (seen > maximum || objects.isTextWithNul(references[key]))
                return false;
        }
        return seen <= maximum && path.size() <= maximumLevels;
    };
    if (!enter(objects.top))
        return std::nullopt;
    while (!path.empty()) {
        Visit& visit = path.back();
        if (visit.next < visit.references.size()) {
            const std::uint64_t referred = visit.references[visit.next++];
            if (referred >= objects.count || shapes[referred].levels > 0)
                continue;
            if (shapes[referred].entered)
                return std::nullopt; // it holds itself
            if (!enter(referred))
                return std::nullopt;
            continue;
        }
        Shape& shape = shapes[visit.object];
        shape.memory = objects.memory(visit.object);
        for (const std::uint64_t referred : visit.references) {
            if (referred >= objects.count)
                continue;
            shape.levels = std::max(shape.levels, shapes[referred].levels);
            shape.memory += shapes[referred].memory;
            if (shape.memory > maximum)
                return std::nullopt;
        }
        ++shape.levels;
        path.pop_back();
    }
    const Shape& whole = shapes[objects.top];
    if (whole.levels > maximumLevels || whole.memory > maximum)
        return std::nullopt;
    return whole.memory;
}

} // namespace LumoKit::detail
