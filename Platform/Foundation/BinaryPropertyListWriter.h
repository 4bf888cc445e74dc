#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace LumoKit::detail {

/// Writes a binary property list ("bplist00"): objects are added, those that others hold before these, and give their numbers.
///
/// Thread: any.
class BinaryPropertyListWriter {
public:
    using Index = std::uint32_t;

    Index boolean(bool value);
    Index integer(std::int64_t value);
    Index real(double value);
    Index data(std::string_view bytes);
    /// The text must be UTF-8. Equal texts are one object.
    Index text(std::string_view text);
    /// A keyed archive's reference to its object of that number. Equal ones are one object.
    Index reference(std::uint64_t object);
    Index array(std::span<const Index> items);
    /// As many keys as items.
    Index dictionary(std::span<const Index> keys, std::span<const Index> items);

    /// The whole list with an object as its root.
    [[nodiscard]] Data list(Index top) const;

private:
    /// An object: its bytes, after which come the numbers of those that it holds.
    struct Object {
        std::string bytes;
        std::vector<Index> held;
    };

    Index add(std::string bytes, std::vector<Index> held = {});

    std::vector<Object> objects;
    std::unordered_map<std::string, Index> texts;
    std::unordered_map<std::uint64_t, Index> references;
};

} // namespace LumoKit::detail
