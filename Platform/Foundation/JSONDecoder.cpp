#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Foundation/JSONDecoder.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <cstring>

namespace LumoKit::detail {

namespace {

std::string_view typeName(const Value& value)
{
    switch (value.type()) {
    case Value::Type::null:
        return "null";
    case Value::Type::boolean:
        return "a boolean";
    case Value::Type::integer:
    case Value::Type::number:
        return "a number";
    case Value::Type::text:
        return "a text";
    case Value::Type::array:
        return "an array";
    case Value::Type::dictionary:
        return "a dictionary";
    case Value::Type::date:
    case Value::Type::data:
    case Value::Type::url:
        break;
    }
    return "what no JSON holds";
}

CodingFailure corrupted(std::string_view reason)
{
    return {DecodingError::dataCorrupted, reason};
}

} // namespace

Decoded<Value> decodedText(std::string_view text)
{
    // RFC 8259, section 8.1: parsers "MAY ignore the presence of a byte order mark rather than treating it as
    // an error".
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    auto value = readJSON(text);
    if (!value)
        return std::unexpected(corrupted("the text is no JSON"));
    return std::move(*value);
}

CodingFailure mismatch(const Value& value, std::string_view expected)
{
    return {value.isNull() ? DecodingError::valueNotFound : DecodingError::typeMismatch,
        std::string(typeName(value)) + " where " + std::string(expected) + " is needed"};
}

CodingFailure missing(std::string_view key)
{
    return {DecodingError::keyNotFound, "no entry \"" + std::string(key) + "\""};
}

Decoded<bool> decodedBoolean(const Value& value)
{
    if (const auto boolean = value.asBoolean())
        return *boolean;
    return std::unexpected(mismatch(value, "a boolean"));
}

Decoded<std::int64_t> decodedInteger(const Value& value, std::int64_t least, std::int64_t greatest)
{
    if (value.type() != Value::Type::integer && value.type() != Value::Type::number)
        return std::unexpected(mismatch(value, "a whole number"));
    const auto integer = value.asInteger();
    if (!integer || *integer < least || *integer > greatest)
        return std::unexpected(
            corrupted("the number " + value.description() + " is not whole, or out of range"));
    return *integer;
}

Decoded<double> decodedNumber(const Value& value)
{
    // A whole number of more than 53 bits is rounded, as one with a fraction is.
    if (const auto integer = value.asInteger())
        return static_cast<double>(*integer);
    if (const auto number = value.asNumber())
        return *number;
    return std::unexpected(mismatch(value, "a number"));
}

Decoded<std::string> decodedString(const Value& value)
{
    if (const auto* text = value.asText())
        return *text;
    return std::unexpected(mismatch(value, "a text"));
}

Decoded<URL> decodedURL(const Value& value)
{
    const auto* text = value.asText();
    if (!text)
        return std::unexpected(mismatch(value, "a URL"));
    if (auto url = URL::parse(*text))
        return std::move(*url);
    return std::unexpected(corrupted("the text is no URL"));
}

Decoded<Date> decodedDate(const Value& value)
{
    const auto seconds = decodedNumber(value);
    if (!seconds)
        return std::unexpected(mismatch(value, "a date"));
    return referenceDate + std::chrono::duration<double>(*seconds);
}

Decoded<Data> decodedData(const Value& value)
{
    const auto* text = value.asText();
    if (!text)
        return std::unexpected(mismatch(value, "data"));
    gsize size = 0;
    const std::unique_ptr<guchar, FreedBy<g_free>> bytes(g_base64_decode(text->c_str(), &size));
    // The library passes over what is not base64.
    if (const GText again(g_base64_encode(bytes.get(), size)); *text != again.get())
        return std::unexpected(corrupted("the text is not base64"));
    const auto* begin = reinterpret_cast<const std::byte*>(bytes.get());
    return Data(begin, begin + size);
}

} // namespace LumoKit::detail
