#pragma once

#include <LumoKit/Platform/Foundation/Codable.h>
#include <LumoKit/Platform/Foundation/CodingError.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace LumoKit {

namespace detail {

template <class T> using Decoded = std::expected<T, CodingFailure>;

Decoded<Value> decodedText(std::string_view text);

CodingFailure mismatch(const Value& value, std::string_view expected);
CodingFailure missing(std::string_view key);

Decoded<bool> decodedBoolean(const Value& value);
Decoded<std::int64_t> decodedInteger(const Value& value, std::int64_t least, std::int64_t greatest);
Decoded<double> decodedNumber(const Value& value);
Decoded<std::string> decodedString(const Value& value);
Decoded<URL> decodedURL(const Value& value);
Decoded<Date> decodedDate(const Value& value);
Decoded<Data> decodedData(const Value& value);

template <class T> Decoded<T> decoded(const Value& value);

template <class T> Decoded<T> decodedField(const Value::Dictionary& dictionary, std::string_view key)
{
    static_assert(Codable<T>, "a field of a record is of a type that cannot be decoded");
    const auto found = dictionary.find(key);
    if (found == dictionary.end()) {
        if constexpr (isOptional<T>)
            return T();
        else
            return std::unexpected(missing(key));
    }
    Decoded<T> field = decoded<T>(found->second);
    if (!field)
        return std::unexpected(std::move(field.error()).within(key));
    return field;
}

template <class Record, class... Owners, class... Fields>
Record recordOf(const std::tuple<CodingKey<Owners, Fields>...>& keys, std::remove_const_t<Fields>... values)
{
    if constexpr (std::default_initializable<Record> && (... && !std::is_const_v<Fields>)) {
        Record record{};
        std::apply([&](const auto&... key) { ((record.*key.field = std::move(values)), ...); }, keys);
        return record;
    } else {
        return CodingAccess::make<Record>(std::move(values)...);
    }
}

template <class Record, class... Owners, class... Fields>
Decoded<Record> decodedRecord(
    const Value::Dictionary& dictionary, const std::tuple<CodingKey<Owners, Fields>...>& keys)
{
    return std::apply(
        [&](const auto&... key) -> Decoded<Record> {
            // In braces, so that the fields are read in the order of their keys.
            std::tuple<Decoded<std::remove_const_t<Fields>>...> decodedFields{
                decodedField<std::remove_const_t<Fields>>(dictionary, key.key)...};
            return std::apply(
                [&](auto&... field) -> Decoded<Record> {
                    CodingFailure* first = nullptr;
                    ((first = first || field ? first : &field.error()), ...);
                    if (first)
                        return std::unexpected(std::move(*first));
                    return recordOf<Record>(keys, std::move(*field)...);
                },
                decodedFields);
        },
        keys);
}

template <class Array> Decoded<Array> decodedArray(const Value::Array& items)
{
    Array array;
    array.reserve(items.size());
    for (const Value& value : items) {
        auto item = decoded<typename Array::value_type>(value);
        if (!item)
            return std::unexpected(std::move(item.error()).within(array.size()));
        array.push_back(std::move(*item));
    }
    return array;
}

template <class Dictionary> Decoded<Dictionary> decodedDictionary(const Value::Dictionary& entries)
{
    Dictionary dictionary;
    for (const auto& [key, value] : entries) {
        auto item = decoded<typename Dictionary::mapped_type>(value);
        if (!item)
            return std::unexpected(std::move(item.error()).within(key));
        dictionary.insert_or_assign(key, std::move(*item));
    }
    return dictionary;
}

template <class T> Decoded<T> decoded(const Value& value)
{
    if constexpr (isOptional<T>) {
        if (value.isNull())
            return T();
        auto present = decoded<typename T::value_type>(value);
        if (!present)
            return std::unexpected(std::move(present.error()));
        return T(std::move(*present));
    } else if constexpr (std::same_as<T, bool>) {
        return decodedBoolean(value);
    } else if constexpr (CodedAsInteger<T>) {
        const auto integer =
            decodedInteger(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
        if (!integer)
            return std::unexpected(integer.error());
        return static_cast<T>(*integer);
    } else if constexpr (std::same_as<T, double>) {
        return decodedNumber(value);
    } else if constexpr (std::same_as<T, std::string>) {
        return decodedString(value);
    } else if constexpr (std::same_as<T, URL>) {
        return decodedURL(value);
    } else if constexpr (std::same_as<T, Date>) {
        return decodedDate(value);
    } else if constexpr (std::same_as<T, Data>) {
        return decodedData(value);
    } else if constexpr (isArray<T>) {
        if (const auto* items = value.asArray())
            return decodedArray<T>(*items);
        return std::unexpected(mismatch(value, "an array"));
    } else {
        const auto* entries = value.asDictionary();
        if (!entries)
            return std::unexpected(mismatch(value, "a dictionary"));
        if constexpr (CodedByKeys<T>)
            return decodedRecord<T>(*entries, CodingAccess::codingKeys<T>());
        else
            return decodedDictionary<T>(*entries);
    }
}

} // namespace detail

/// Makes values of JSON texts: `JSONDecoder().decode<Contact>(text)`.
class JSONDecoder {
public:
    /// The value that `text` says.
    ///
    /// Types are strict: a number is no boolean and no text, and the reverse; a whole number may be written
    /// with a fraction of zeros or an exponent ("1.0", "1e3"), but not with more digits than its type holds.
    /// An optional is absent where its key is missing or has null. Keys that the type does not know are
    /// passed over. Of entries with the same key the last one counts. A byte order mark before the text is
    /// passed over.
    /// Errors: of the domain `decodingErrorDomain`, the place before the reason: "contacts[1].email: …".
    /// Whatever is no JSON to `readJSON`, in a part that the type does not know as well, is
    /// `DecodingError::dataCorrupted`.
    /// Thread: any.
    /// Source: RFC 8259.
    template <Codable T> [[nodiscard]] std::expected<T, Error> decode(std::string_view text) const
    {
        const auto value = detail::decodedText(text);
        if (!value)
            return std::unexpected(value.error().error());
        auto decoded = detail::decoded<T>(*value);
        if (!decoded)
            return std::unexpected(decoded.error().error());
        return std::move(*decoded);
    }
};

} // namespace LumoKit
