#include "PackedValue.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <bit>
#include <utility>

namespace LumoKit::detail {

namespace {

using JSON = nlohmann::json;

constexpr std::uint64_t dateType = 1;

JSON jsonOf(const Value& value);

JSON jsonOf(Date date)
{
    auto bits = std::bit_cast<std::uint64_t>(date.time_since_epoch().count());
    std::vector<std::uint8_t> bytes;
    for (int index = 0; index < 8; ++index, bits <<= 8)
        bytes.push_back(static_cast<std::uint8_t>(bits >> 56));
    return JSON::binary(std::move(bytes), dateType);
}

JSON jsonOf(const Data& data)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(data.data());
    return JSON::binary({bytes, bytes + data.size()});
}

JSON jsonOf(const Value::Array& array)
{
    JSON items = JSON::array();
    for (const Value& item : array)
        items.push_back(jsonOf(item));
    return items;
}

JSON jsonOf(const Value::Dictionary& dictionary)
{
    JSON entries = JSON::object();
    for (const auto& [key, item] : dictionary)
        entries.emplace(key, jsonOf(item));
    return entries;
}

JSON jsonOf(const Value& value)
{
    switch (value.type()) {
    case Value::Type::boolean:
        return *value.asBoolean();
    case Value::Type::integer:
        return *value.asInteger();
    case Value::Type::number:
        return *value.asNumber();
    case Value::Type::text:
        return *value.asText();
    case Value::Type::date:
        return jsonOf(*value.asDate());
    case Value::Type::data:
        return jsonOf(*value.asData());
    case Value::Type::array:
        return jsonOf(*value.asArray());
    case Value::Type::dictionary:
        return jsonOf(*value.asDictionary());
    case Value::Type::null:
    case Value::Type::url:
        break;
    }
    return {};
}

/// Builds the value while the library reads. The library recurses into what is nested, so that the depth is bounded
/// here; what it calls in ways that no property list needs ends the reading.
class Builder : public nlohmann::json_sax<JSON> {
public:
    [[nodiscard]] std::optional<Value> result() { return std::move(root); }

    bool null() override { return false; }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override
    {
        return std::in_range<std::int64_t>(value) && add(value);
    }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t& value) override
    {
        if (!value.has_subtype()) {
            const auto* bytes = reinterpret_cast<const std::byte*>(value.data());
            return add(Data(bytes, bytes + value.size()));
        }
        if (value.subtype() != dateType || value.size() != 8)
            return false;
        std::uint64_t bits = 0;
        for (const std::uint8_t byte : value)
            bits = bits << 8 | byte;
        return add(Date(Date::duration(std::bit_cast<double>(bits))));
    }
    bool start_array(std::size_t) override { return open(Value::Array()); }
    bool start_object(std::size_t) override { return open(Value::Dictionary()); }
    bool key(string_t& value) override
    {
        levels.back().key = std::move(value);
        return true;
    }
    bool end_array() override { return close(); }
    bool end_object() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override
    {
        return false;
    }

private:
    struct Level {
        std::variant<Value::Array, Value::Dictionary> items;
        std::string key;
    };

    template <class T> bool add(T&& item)
    {
        if (levels.empty())
            root.emplace(std::forward<T>(item));
        else if (auto* array = std::get_if<Value::Array>(&levels.back().items))
            array->emplace_back(std::forward<T>(item));
        else
            std::get<Value::Dictionary>(levels.back().items)
                .insert_or_assign(std::move(levels.back().key), Value(std::forward<T>(item)));
        return true;
    }

    template <class Items> bool open(Items items)
    {
        if (levels.size() >= static_cast<std::size_t>(Value::maximumDepth))
            return false;
        levels.emplace_back().items = std::move(items);
        return true;
    }

    bool close()
    {
        auto items = std::move(levels.back().items);
        levels.pop_back();
        return std::visit([this](auto& closed) { return add(Value(std::move(closed))); }, items);
    }

    std::vector<Level> levels; // what is open, outermost first
    std::optional<Value> root;
};

/// How many values a list may have, written out. What shares its parts can be small in memory and endless on paper.
constexpr int maximumCount = 1'000'000;

class Checker {
public:
    bool isPropertyList(const Value& value, int depth)
    {
        if (value.isNull() || value.type() == Value::Type::url || ++count > maximumCount)
            return false;
        if (const auto* array = value.asArray())
            return depth < Value::maximumDepth
                && std::ranges::all_of(
                    *array, [&](const Value& item) { return isPropertyList(item, depth + 1); });
        if (const auto* dictionary = value.asDictionary())
            return depth < Value::maximumDepth
                && std::ranges::all_of(
                    *dictionary, [&](const auto& entry) { return isPropertyList(entry.second, depth + 1); });
        return true;
    }

private:
    int count = 0;
};

} // namespace

bool isPropertyList(const Value& value)
{
    return Checker().isPropertyList(value, 0);
}

std::string packed(const Value& value)
{
    std::string bytes;
    JSON::to_msgpack(jsonOf(value), bytes);
    return bytes;
}

std::optional<Value> unpacked(std::string_view bytes)
{
    Builder builder;
    if (!JSON::sax_parse(bytes.begin(), bytes.end(), &builder, JSON::input_format_t::msgpack))
        return std::nullopt;
    return builder.result();
}

} // namespace LumoKit::detail
