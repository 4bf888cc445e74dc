#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace LumoKit {

/// How values of a type are kept as property lists, and read again. It is there for booleans, numbers, texts, dates,
/// data, URLs (as text), values as they are, and vectors and maps by text of all these; a host adds its own types:
///
///     template <> struct LumoKit::Storable<Position> {
///         static Value store(const Position& position) { return Value::Array {position.x, position.y}; }
///         static std::optional<Position> read(const Value& value) { … }
///     };
///
/// `store` gives a property list, and `read` nothing for what is not of the type. Nothing is converted: a boolean is no
/// number and a text is neither. Whole and fractional numbers read as each other where the value stays the same.
/// An unsigned type of 64 bits is not storable, because a property list holds no such number.
template <class T> struct Storable;

/// A type that can be kept.
template <class T>
concept StorableType = requires(const T& object, const Value& value) {
    { Storable<T>::store(object) } -> std::convertible_to<Value>;
    { Storable<T>::read(value) } -> std::same_as<std::optional<T>>;
};

template <> struct Storable<bool> {
    static Value store(bool boolean) { return boolean; }
    static std::optional<bool> read(const Value& value) { return value.asBoolean(); }
};

template <class T>
    requires std::signed_integral<T> || (std::unsigned_integral<T> && sizeof(T) < sizeof(std::int64_t))
struct Storable<T> {
    static Value store(T integer) { return static_cast<std::int64_t>(integer); }
    static std::optional<T> read(const Value& value)
    {
        const auto integer = value.asInteger();
        if (!integer || *integer < std::numeric_limits<T>::min() || *integer > std::numeric_limits<T>::max())
            return std::nullopt;
        return static_cast<T>(*integer);
    }
};

template <> struct Storable<double> {
    static Value store(double number) { return number; }
    static std::optional<double> read(const Value& value) { return value.asNumber(); }
};

template <> struct Storable<float> {
    static Value store(float number) { return static_cast<double>(number); }
    static std::optional<float> read(const Value& value)
    {
        const auto number = value.asNumber();
        if (!number || !std::isfinite(*number))
            return number ? std::optional(static_cast<float>(*number)) : std::nullopt;
        if (std::abs(*number) > static_cast<double>(std::numeric_limits<float>::max()))
            return std::nullopt;
        const auto single = static_cast<float>(*number);
        return static_cast<double>(single) == *number ? std::optional(single) : std::nullopt;
    }
};

template <> struct Storable<std::string> {
    static Value store(const std::string& text) { return text; }
    static std::optional<std::string> read(Value value) { return std::move(value).takeText(); }
};

template <> struct Storable<Date> {
    static Value store(Date date) { return date; }
    static std::optional<Date> read(const Value& value) { return value.asDate(); }
};

template <> struct Storable<Data> {
    static Value store(const Data& data) { return data; }
    static std::optional<Data> read(Value value) { return std::move(value).takeData(); }
};

template <> struct Storable<URL> {
    static Value store(const URL& url) { return url.absoluteString(); }
    static std::optional<URL> read(const Value& value)
    {
        const auto* text = value.asText();
        return text ? URL::parse(*text) : std::nullopt;
    }
};

template <> struct Storable<Value> {
    static Value store(const Value& value) { return value; }
    static std::optional<Value> read(Value value)
    {
        if (value.isNull())
            return std::nullopt;
        return value;
    }
};

/// An array is read only as a whole: one item of another type, and it is not of this type.
template <StorableType T> struct Storable<std::vector<T>> {
    static Value store(const std::vector<T>& items)
    {
        Value::Array array;
        array.reserve(items.size());
        for (const T& item : items)
            array.push_back(Storable<T>::store(item));
        return Value(std::move(array));
    }
    static std::optional<std::vector<T>> read(const Value& value)
    {
        const auto* array = value.asArray();
        if (!array)
            return std::nullopt;
        std::vector<T> items;
        items.reserve(array->size());
        for (const Value& stored : *array) {
            auto item = Storable<T>::read(stored);
            if (!item)
                return std::nullopt;
            items.push_back(*std::move(item));
        }
        return items;
    }
};

/// A dictionary is read only as a whole, as an array is.
template <StorableType T, class Order> struct Storable<std::map<std::string, T, Order>> {
    static Value store(const std::map<std::string, T, Order>& entries)
    {
        Value::Dictionary dictionary;
        for (const auto& [key, item] : entries)
            dictionary.emplace(key, Storable<T>::store(item));
        return dictionary;
    }
    static std::optional<std::map<std::string, T, Order>> read(const Value& value)
    {
        const auto* dictionary = value.asDictionary();
        if (!dictionary)
            return std::nullopt;
        std::map<std::string, T, Order> entries;
        for (const auto& [key, stored] : *dictionary) {
            auto item = Storable<T>::read(stored);
            if (!item)
                return std::nullopt;
            entries.emplace(key, *std::move(item));
        }
        return entries;
    }
};

/// What is a dictionary or an array already is kept and read without a look at its items.
template <> struct Storable<Value::Array> {
    static Value store(const Value::Array& array) { return Value(array); }
    static std::optional<Value::Array> read(const Value& value)
    {
        const auto* array = value.asArray();
        return array ? std::optional(*array) : std::nullopt;
    }
};

template <> struct Storable<Value::Dictionary> {
    static Value store(const Value::Dictionary& dictionary) { return dictionary; }
    static std::optional<Value::Dictionary> read(const Value& value)
    {
        const auto* dictionary = value.asDictionary();
        return dictionary ? std::optional(*dictionary) : std::nullopt;
    }
};

} // namespace LumoKit
