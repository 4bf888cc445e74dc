#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace LumoKit {

/// A field of a record, and the key under which the record's serialised form has it.
///
/// A record becomes serialisable both ways by naming its fields once, after them:
///
///     struct Contact {
///         std::string name;
///         std::optional<URL> picture;
///         std::vector<Address> addresses; // records of their own
///
///         static constexpr std::tuple codingKeys {CodingKey {"name", &Contact::name},
///             CodingKey {"picture", &Contact::picture}, CodingKey {"addresses", &Contact::addresses}};
///     };
///
/// A record is read into one that was made without arguments; where that cannot be, as with a URL that is not
/// optional or with fields that are fixed, it is made from the fields' values in the order of `codingKeys`.
template <class Record, class Field> struct CodingKey {
    std::string_view key;
    Field Record::* field;
};

/// Reaches the coding keys and constructors of records; a record that keeps them private makes this its
/// friend.
class CodingAccess {
public:
    template <class Record> static constexpr auto codingKeys() -> decltype((Record::codingKeys))
    {
        return (Record::codingKeys);
    }

    template <class Record, class... Fields> static Record make(Fields&&... fields)
    {
        return Record{std::forward<Fields>(fields)...};
    }
};

namespace detail {

/// A record with coding keys.
template <class T>
concept CodedByKeys = requires { CodingAccess::codingKeys<T>(); };

/// A whole number that every reader of a 64-bit integer can hold; no character and no boolean.
template <class T>
concept CodedAsInteger = std::integral<T> && !std::same_as<T, bool>
    && (std::same_as<T, std::make_signed_t<T>> || std::same_as<T, std::make_unsigned_t<T>>)
    && std::in_range<std::int64_t>(std::numeric_limits<T>::max());

template <class T> inline constexpr bool isOptional = false;
template <class T> inline constexpr bool isOptional<std::optional<T>> = true;
template <class T> inline constexpr bool isArray = false;
template <class T> inline constexpr bool isArray<std::vector<T>> = !std::same_as<std::vector<T>, Data>;

template <class T>
inline constexpr bool isCodable =
    CodedByKeys<T> || CodedAsInteger<T> || std::same_as<T, bool> || std::same_as<T, double>
    || std::same_as<T, std::string> || std::same_as<T, URL> || std::same_as<T, Date> || std::same_as<T, Data>;
// In an optional of an optional nobody could tell the two absences apart.
template <class T> inline constexpr bool isCodable<std::optional<T>> = isCodable<T> && !isOptional<T>;
template <class T>
    requires isArray<std::vector<T>>
inline constexpr bool isCodable<std::vector<T>> = isCodable<T>;
template <class T, class Order>
inline constexpr bool isCodable<std::map<std::string, T, Order>> = isCodable<T>;

/// The moment from which serialised dates count.
inline constexpr Date referenceDate = std::chrono::sys_days(std::chrono::January / 1 / 2001);

} // namespace detail

/// A type that is serialisable both ways: a record with coding keys, a boolean, a whole number that a signed
/// 64-bit integer holds, a `double`, a text, a URL, a date, data, and optionals, arrays (`std::vector`) and
/// dictionaries with texts as keys (`std::map`) of these.
///
/// A URL is a text; a date is its seconds since the beginning of 2001, which keeps a tenth of a microsecond;
/// data is a text in base64.
template <class T>
concept Codable = detail::isCodable<T>;

} // namespace LumoKit
