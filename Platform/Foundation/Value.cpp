#include <LumoKit/Platform/Foundation/Value.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <utility>

namespace LumoKit {

bool Value::readWhole(std::int64_t& whole) const
{
    const auto* number = std::get_if<double>(&content);
    constexpr double limit = 9223372036854775808.0; // 2 to the 63rd, the first that does not fit
    if (!number || !(*number >= -limit && *number < limit) || *number != std::trunc(*number))
        return false;
    whole = static_cast<std::int64_t>(*number);
    return true;
}

std::optional<double> Value::asNumber() const
{
    if (const auto* number = std::get_if<double>(&content))
        return *number;
    const auto* integer = std::get_if<std::int64_t>(&content);
    if (!integer)
        return std::nullopt;
    const auto number = static_cast<double>(*integer);
    if (Value(number).asInteger() != *integer)
        return std::nullopt;
    return number;
}

std::optional<Date> Value::asDate() const
{
    if (const auto* date = std::get_if<Date>(&content))
        return *date;
    return std::nullopt;
}

std::optional<URL> Value::asURL() const
{
    if (const auto* url = std::get_if<URL>(&content))
        return *url;
    return std::nullopt;
}

const std::string* Value::asText() const
{
    return std::get_if<std::string>(&content);
}

const Data* Value::asData() const
{
    return std::get_if<Data>(&content);
}

const Value::Array* Value::asArray() const
{
    const auto* array = std::get_if<Shared<Array>>(&content);
    return array ? array->get() : nullptr;
}

const Value::Dictionary* Value::asDictionary() const
{
    const auto* dictionary = std::get_if<Shared<Dictionary>>(&content);
    return dictionary ? dictionary->get() : nullptr;
}

namespace {

const Value& absent()
{
    static const Value null;
    return null;
}

} // namespace

const Value& Value::operator[](std::string_view key) const
{
    const auto* dictionary = asDictionary();
    if (!dictionary)
        return absent();
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? absent() : found->second;
}

const Value& Value::operator[](std::size_t index) const
{
    const auto* array = asArray();
    return array && index < array->size() ? (*array)[index] : absent();
}

bool Value::operator==(const Value& other) const
{
    if (content.index() != other.content.index())
        return false;
    // Shared content is equal without a look, which also keeps heavily shared trees from being walked again
    // and again.
    if (const auto* array = asArray())
        return array == other.asArray() || *array == *other.asArray();
    if (const auto* dictionary = asDictionary())
        return dictionary == other.asDictionary() || *dictionary == *other.asDictionary();
    return content == other.content;
}

namespace {

void describeNumber(std::string& out, double number)
{
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    out.append(buffer, end);
}

/// Units: bytes.
constexpr std::size_t maximumDescription = 1'000'000;

void describeQuoted(std::string& out, std::string_view text)
{
    out += '"';
    for (const char character : text) {
        if (out.size() > maximumDescription) {
            out += "…";
            break;
        }
        if (character == '"' || character == '\\')
            out.append({'\\', character});
        else if (character == '\n')
            out += "\\n";
        else
            out += character;
    }
    out += '"';
}

void describeDate(std::string& out, Date date)
{
    const double seconds = std::floor(date.time_since_epoch().count());
    // The years 0 to 9999, which is what the form can show.
    if (!(seconds >= -62167219200.0 && seconds < 253402300800.0))
        return describeNumber(out, date.time_since_epoch().count());
    const auto whole = static_cast<std::time_t>(seconds);
    std::tm parts{};
    if (!gmtime_r(&whole, &parts))
        return describeNumber(out, date.time_since_epoch().count());
    char buffer[64];
    const int length = std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d +0000",
        parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    out.append(buffer, static_cast<std::size_t>(length));
}

class Describer {
public:
    explicit Describer(std::string& text)
        : out(text)
    {
    }

    void describe(const Value& value, int depth)
    {
        if (out.size() > maximumDescription || depth > Value::maximumDepth) {
            out += "…";
            return;
        }
        switch (value.type()) {
        case Value::Type::null:
            out += "null";
            break;
        case Value::Type::boolean:
            out += *value.asBoolean() ? "true" : "false";
            break;
        case Value::Type::integer:
            out += std::to_string(*value.asInteger());
            break;
        case Value::Type::number:
            describeNumber(out, *value.asNumber());
            break;
        case Value::Type::text:
            if (depth == 0)
                out += *value.asText();
            else
                describeQuoted(out, *value.asText());
            break;
        case Value::Type::date:
            describeDate(out, *value.asDate());
            break;
        case Value::Type::data:
            out += std::to_string(value.asData()->size()) + " bytes";
            break;
        case Value::Type::url:
            out += value.asURL()->absoluteString();
            break;
        case Value::Type::array:
            describeAll(*value.asArray(), '[', ']', [&](const Value& item) { describe(item, depth + 1); });
            break;
        case Value::Type::dictionary:
            describeAll(*value.asDictionary(), '{', '}', [&](const auto& entry) {
                describeQuoted(out, entry.first);
                out += ": ";
                describe(entry.second, depth + 1);
            });
            break;
        }
    }

private:
    template <class Items, class Item>
    void describeAll(const Items& items, char open, char close, Item describeItem)
    {
        out += open;
        bool first = true;
        for (const auto& item : items) {
            if (!std::exchange(first, false))
                out += ", ";
            if (out.size() > maximumDescription) {
                out += "…";
                break;
            }
            describeItem(item);
        }
        out += close;
    }

    std::string& out;
};

} // namespace

std::string Value::description() const
{
    std::string text;
    Describer(text).describe(*this, 0);
    return text;
}

} // namespace LumoKit
