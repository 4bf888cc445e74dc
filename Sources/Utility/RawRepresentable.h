#pragma once

#include <LumoKit/Platform/Foundation/FatalError.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace LumoKit {

/// Gives an enumeration its raw values: the texts or numbers by which its cases are known outside of the program,
/// in settings, in links, in files. To be specialised for the enumeration, beside it:
///
///     template <> struct RawValues<Density> {
///         static constexpr auto cases = std::to_array<std::pair<Density, std::string_view>>(
///             {{Density::compact, "compact"}, {Density::comfortable, "comfortable"}});
///     };
///
/// The second of each pair is a `std::string_view`, a `std::int64_t` or a `double`, and different for each case.
template <class T> struct RawValues;

/// An enumeration with raw values.
template <class T>
concept RawRepresentable = requires { RawValues<T>::cases.begin()->second; };

namespace detail {

template <class T> using TabledRawValue = std::remove_cvref_t<decltype(RawValues<T>::cases.begin()->second)>;

} // namespace detail

/// The type of an enumeration's raw values: `std::string`, `std::int64_t` or `double`.
template <RawRepresentable T>
using RawValue = std::conditional_t<std::same_as<detail::TabledRawValue<T>, std::string_view>, std::string,
    detail::TabledRawValue<T>>;

/// The raw value of a case; a text lives as long as the program.
/// Errors: stops the process for a value that is no case.
/// Thread: any.
template <RawRepresentable T> [[nodiscard]] constexpr detail::TabledRawValue<T> rawValue(T value)
{
    for (const auto& [tabled, raw] : RawValues<T>::cases)
        if (tabled == value)
            return raw;
    fatalError("a value that is no case of its enumeration");
}

/// The case with this raw value, letter for letter.
/// Errors: nothing if there is none.
/// Thread: any.
template <RawRepresentable T>
[[nodiscard]] constexpr std::optional<T> fromRawValue(std::type_identity_t<detail::TabledRawValue<T>> raw)
{
    for (const auto& [value, tabled] : RawValues<T>::cases)
        if (tabled == raw)
            return value;
    return std::nullopt;
}

} // namespace LumoKit
