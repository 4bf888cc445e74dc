#include "BinaryPropertyListReader.h"
#include "PropertyListShape.h"

#include <LumoKit/Platform/Foundation/PropertyList.h>

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

namespace LumoKit {

namespace {

using detail::BinaryPropertyListReader;

/// The values of a binary list. What several objects hold is written out for each.
class Values {
public:
    explicit Values(std::string_view bytes)
        : list(bytes)
        , isOpen(list.count())
    {
    }

    std::optional<Value> read() { return list.isWhole() ? valueOf(list.top(), 0) : std::nullopt; }

private:
    using Index = BinaryPropertyListReader::Index;
    using Kind = BinaryPropertyListReader::Kind;

    std::optional<Value> valueOf(Index object, int depth)
    {
        if (!spend(valueMemory + list.size(object)))
            return std::nullopt;
        switch (list.kind(object)) {
        case Kind::none:
            return std::nullopt;
        case Kind::reference:
            return list.reference(object).transform([](std::uint64_t number) { return Value(number); });
        case Kind::array:
        case Kind::dictionary:
            break;
        default:
            return list.leaf(object);
        }
        if (depth > Value::maximumDepth)
            return Value();
        if (isOpen[object])
            return std::nullopt;
        isOpen[object] = true;
        auto value = list.kind(object) == Kind::array ? arrayOf(object, depth) : dictionaryOf(object, depth);
        isOpen[object] = false;
        return value;
    }

    std::optional<Value> arrayOf(Index object, int depth)
    {
        const auto items = list.container(object);
        if (!items)
            return std::nullopt;
        Value::Array array;
        for (std::uint64_t position = 0; position < items->count; ++position) {
            auto item = valueOf(list.item(*items, position), depth + 1);
            if (!item)
                return std::nullopt;
            array.push_back(*std::move(item));
        }
        return Value(std::move(array));
    }

    std::optional<Value> dictionaryOf(Index object, int depth)
    {
        const auto entries = list.container(object);
        if (!entries)
            return std::nullopt;
        Value::Dictionary dictionary;
        for (std::uint64_t position = 0; position < entries->count; ++position) {
            const Index key = list.key(*entries, position);
            if (list.kind(key) != Kind::text || !spend(list.size(key)))
                return std::nullopt;
            auto item = valueOf(list.item(*entries, position), depth + 1);
            if (!item)
                return std::nullopt;
            dictionary.insert_or_assign(*list.leaf(key).asText(), *std::move(item));
        }
        return Value(std::move(dictionary));
    }

    bool spend(std::uint64_t memory)
    {
        spent += memory;
        return spent <= maximumMemory;
    }

    // In bytes: some two million values.
    static constexpr std::uint64_t maximumMemory = std::uint64_t(256) << 20;
    static constexpr std::uint64_t valueMemory = 128;

    const BinaryPropertyListReader list;
    std::vector<bool> isOpen; // of the containers, those that hold the one that is being read
    std::uint64_t spent = 0;
};

struct FreeList {
    void operator()(void* node) const { plist_free(node); }
};
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); } // libplist hands out malloc's memory
};

/// The library reads it and writes it as a binary list. Its accessors lose the sign of an integer, and of a date all beyond 32
/// bits. It counts in 32 bits, too; a longer text is no list.
std::optional<Value> readXML(std::string_view text)
{
    if (text.size() > std::numeric_limits<std::uint32_t>::max() || !detail::isSoundXML(text))
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    const std::unique_ptr<void, FreeList> list(root);
    if (!list)
        return std::nullopt;
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    const std::unique_ptr<char, FreeMemory> owned(bytes);
    return owned ? Values({bytes, length}).read() : std::nullopt;
}

} // namespace

std::optional<Value> readPropertyList(std::span<const std::byte> bytes)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.starts_with("bplist") ? Values(text).read() : readXML(text);
}

} // namespace LumoKit
