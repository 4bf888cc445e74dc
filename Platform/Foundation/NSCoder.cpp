#include <LumoKit/Platform/Foundation/NSCoder.h>

#include <array>
#include <charconv>
#include <cmath>

namespace LumoKit {

bool NSCoder::containsValue(std::string_view forKey) const
{
    return values.contains(forKey);
}

Value NSCoder::decodeObject(std::string_view forKey) const
{
    const auto found = values.find(forKey);
    return found == values.end() ? Value() : found->second;
}

std::string NSCoder::decodeString(std::string_view forKey) const
{
    const Value value = decodeObject(forKey);
    return value.asText() ? *value.asText() : std::string();
}

double NSCoder::decodeDouble(std::string_view forKey) const
{
    return decodeObject(forKey).asNumber().value_or(0);
}

bool NSCoder::decodeBool(std::string_view forKey) const
{
    return decodeObject(forKey).asBoolean().value_or(false);
}

CGRect NSCoder::decodeRect(std::string_view forKey) const
{
    const std::string text = decodeString(forKey);
    std::array<double, 4> numbers{};
    const char* next = text.data();
    const char* const end = next + text.size();
    const auto skip = [&] {
        while (next != end && std::string_view("{}, ").contains(*next))
            ++next;
    };
    for (double& number : numbers) {
        skip();
        const auto [after, error] = std::from_chars(next, end, number, std::chars_format::fixed);
        if (error != std::errc() || !std::isfinite(number))
            return {};
        next = after;
    }
    skip();
    if (next != end)
        return {};
    return {{numbers[0], numbers[1]}, {numbers[2], numbers[3]}};
}

NSCoder NSCoder::decodeDictionary(std::string_view forKey) const
{
    const Value value = decodeObject(forKey);
    const auto* dictionary = value.asDictionary();
    return dictionary ? NSCoder(*dictionary) : NSCoder();
}

} // namespace LumoKit
