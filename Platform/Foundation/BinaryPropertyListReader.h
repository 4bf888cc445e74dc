#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace LumoKit::detail {

/// The objects of a binary property list ("bplist00"), read where they stand: nothing is built of those that nobody asks for.
/// Any bytes may be read; what lies outside of them is no object.
///
/// Errors: a number that is no object's reads as one that is nothing (`Kind::none`).
/// Thread: any.
/// Lifetime: the bytes outlive it.
class BinaryPropertyListReader {
public:
    using Index = std::uint64_t;

    enum class Kind { none, boolean, integer, real, date, data, text, reference, array, dictionary };

    explicit BinaryPropertyListReader(std::string_view list);

    /// Whether the frame around the objects is sound; otherwise there are none.
    [[nodiscard]] bool isWhole() const { return objects > 0; }
    [[nodiscard]] std::uint64_t count() const { return objects; }
    [[nodiscard]] Index top() const { return topmost; }

    [[nodiscard]] Kind kind(Index object) const;

    /// The value of a boolean, a number, a date, data or a text; null for what is none.
    [[nodiscard]] Value leaf(Index object) const;
    /// How many bytes the value of a text or of data has at most; zero for what is neither.
    [[nodiscard]] std::uint64_t size(Index object) const;
    /// Whether an object is this text, which is ASCII.
    [[nodiscard]] bool isText(Index object, std::string_view text) const;
    /// Whether it is a text with a NUL character in it.
    [[nodiscard]] bool isTextWithNul(Index object) const;
    /// What a keyed archive's reference refers to; nothing for what is none.
    [[nodiscard]] std::optional<std::uint64_t> reference(Index object) const;

    /// What an array, a set or a dictionary holds.
    struct Container {
        std::uint64_t count = 0;
        std::uint64_t keys = 0; // where the numbers of a dictionary's keys begin
        std::uint64_t items = 0;
    };
    /// Nothing for what is no container, or does not fit into the list.
    [[nodiscard]] std::optional<Container> container(Index object) const;
    [[nodiscard]] Index key(const Container& of, std::uint64_t position) const
    {
        return number(of.keys + position * referenceSize, referenceSize);
    }
    [[nodiscard]] Index item(const Container& of, std::uint64_t position) const
    {
        return number(of.items + position * referenceSize, referenceSize);
    }

private:
    /// An object's marker: what it is, how long, and where its contents begin.
    struct Body {
        std::uint64_t kind = 0;
        std::uint64_t length = 0;
        std::uint64_t first = 0;
    };

    [[nodiscard]] Body bodyOf(Index object) const;
    /// The bytes of a text, or of data; none if they do not fit into the list.
    [[nodiscard]] std::string_view contentOf(const Body& body) const;
    [[nodiscard]] bool fits(const Body& body, std::uint64_t bytesEach) const;
    [[nodiscard]] std::uint64_t number(std::uint64_t start, std::uint64_t size) const;

    std::string_view bytes;
    std::uint64_t offsetSize = 0;
    std::uint64_t referenceSize = 0;
    std::uint64_t objects = 0;
    Index topmost = 0;
    std::uint64_t table = 0;
};

} // namespace LumoKit::detail
