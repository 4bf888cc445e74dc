#pragma once

#include <LumoKit/Platform/Foundation/URL.h>

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace LumoKit {

/// A moment in time, in seconds since 1970 in universal time without leap seconds.
using Date = std::chrono::sys_time<std::chrono::duration<double>>;

/// The first moment of the year 1, before everything: what changed since then is all there is.
inline constexpr Date distantPast{std::chrono::duration<double>(-62135596800.0)};

/// Raw bytes.
using Data = std::vector<std::byte>;

/// A value whose type is known only when the program runs: what a page sends, a property list holds, a JSON
/// text says.
///
/// Copies are cheap: arrays and dictionaries are shared and never change once they are in a value.
///
/// A boolean is never a number, and the reverse. Whole and fractional numbers are kept as they came and
/// compare unequal, but are read as each other where nothing is lost.
///
/// Thread: a value may be read on any thread while no thread assigns to it.
class Value {
public:
    /// An array with nothing but an array in it is written `Array {Value(Array {…})}`: compilers disagree on
    /// whether `Array {Array {…}}` is that or a copy of the inner one.
    using Array = std::vector<Value>;
    using Dictionary = std::map<std::string, Value, std::less<>>;

    /// The order is that of the alternatives below.
    enum class Type { null, boolean, integer, number, text, date, data, url, array, dictionary };

    /// The depth to which every reader of foreign data goes; what is nested deeper reads as null.
    static constexpr int maximumDepth = 512;

    Value() = default;
    Value(std::nullptr_t) { }
    template <std::same_as<bool> Boolean>
    Value(Boolean boolean)
        : content(boolean)
    {
    }
    /// A whole number; one above the range of a signed 64-bit integer becomes the nearest fractional one.
    template <std::integral Integer>
        requires(!std::same_as<Integer, bool>)
    Value(Integer integer)
    {
        if (std::in_range<std::int64_t>(integer))
            content = static_cast<std::int64_t>(integer);
        else
            content = static_cast<double>(integer);
    }
    Value(double number)
        : content(number)
    {
    }
    Value(std::string text)
        : content(std::move(text))
    {
    }
    Value(std::string_view text)
        : content(std::string(text))
    {
    }
    Value(const char* text)
        : content(std::string(text))
    {
    }
    Value(Date date)
        : content(date)
    {
    }
    Value(Data data)
        : content(std::move(data))
    {
    }
    Value(URL url)
        : content(std::move(url))
    {
    }
    Value(Array array)
        : content(std::make_shared<const Array>(std::move(array)))
    {
    }
    Value(Dictionary dictionary)
        : content(std::make_shared<const Dictionary>(std::move(dictionary)))
    {
    }

    [[nodiscard]] Type type() const { return static_cast<Type>(content.index()); }
    [[nodiscard]] bool isNull() const { return type() == Type::null; }

    /// Each reads the value as one type, and gives nothing when it is of another.
    [[nodiscard]] std::optional<bool> asBoolean() const
    {
        if (const auto* boolean = std::get_if<bool>(&content))
            return *boolean;
        return std::nullopt;
    }
    /// Also a number without a fraction that a 64-bit integer holds exactly.
    [[nodiscard]] std::optional<std::int64_t> asInteger() const
    {
        std::int64_t whole = 0;
        if (const auto* integer = std::get_if<std::int64_t>(&content))
            whole = *integer;
        else if (!readWhole(whole))
            return std::nullopt;
        return whole;
    }
    /// Also an integer that a double holds exactly.
    [[nodiscard]] std::optional<double> asNumber() const;
    [[nodiscard]] std::optional<Date> asDate() const;
    [[nodiscard]] std::optional<URL> asURL() const;
    /// Lifetime of what these point to: until this value is assigned to or destroyed.
    [[nodiscard]] const std::string* asText() const;
    [[nodiscard]] const Data* asData() const;
    [[nodiscard]] const Array* asArray() const;
    [[nodiscard]] const Dictionary* asDictionary() const;

    /// The text or the data, moved out of a value that is not needed any more; nothing when it is of another type.
    [[nodiscard]] std::optional<std::string> takeText() && { return take<std::string>(); }
    [[nodiscard]] std::optional<Data> takeData() && { return take<Data>(); }

    /// The value under `key`: null unless this is a dictionary that has it.
    [[nodiscard]] const Value& operator[](std::string_view key) const;
    /// The value at `index`: null unless this is an array that reaches there.
    [[nodiscard]] const Value& operator[](std::size_t index) const;

    /// A text for people who read logs: a text as it is, everything else as JSON would write it, as far as
    /// that goes. Arrays and dictionaries are cut off after about a million bytes.
    [[nodiscard]] std::string description() const;

    /// Equal in type and content; a number that is not a number is equal to nothing.
    bool operator==(const Value& other) const;

private:
    bool readWhole(std::int64_t& whole) const; // of a number without a fraction

    template <class T> std::optional<T> take()
    {
        if (auto* held = std::get_if<T>(&content))
            return std::move(*held);
        return std::nullopt;
    }

    template <class T> using Shared = std::shared_ptr<const T>;

    std::variant<std::monostate, bool, std::int64_t, double, std::string, Date, Data, URL, Shared<Array>,
        Shared<Dictionary>>
        content;
};

} // namespace LumoKit
