#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/JSONWriter.h>

#include <charconv>
#include <cmath>

namespace LumoKit::detail {

void appendJSONText(std::string& out, std::string_view text)
{
    static constexpr char digits[] = "0123456789abcdef";
    out += '"';
    for (const char character : text) {
        switch (character) {
        case '"':
        case '\\':
            out.append({'\\', character});
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            // RFC 8259, section 7: "the control characters (U+0000 through U+001F)" must be escaped, nothing
            // else.
            if (const auto byte = static_cast<unsigned char>(character); byte < 0x20)
                out.append({'\\', 'u', '0', '0', digits[byte >> 4], digits[byte & 15]});
            else
                out += character;
        }
    }
    out += '"';
}

void JSONWriter::separate()
{
    // No value ends with one of these.
    if (!out.empty() && out.back() != '[' && out.back() != '{' && out.back() != ':')
        out += ',';
}

void JSONWriter::literal(std::string_view word)
{
    separate();
    out += word;
}

void JSONWriter::integer(std::int64_t value)
{
    literal(std::to_string(value));
}

JSONWriter::Written JSONWriter::number(double value)
{
    if (!std::isfinite(value))
        return std::unexpected(CodingFailure(EncodingError::numberNotFinite, "JSON has no such number"));
    constexpr double gaps = 9007199254740992.0; // 2 to the 53rd: from there on whole numbers are missing
    char buffer[32];
    char* end = buffer;
    if (value == 0 && std::signbit(value))
        return literal("-0.0"), Written(); // "-0" is the whole number, which has no sign, to many readers
    if (std::abs(value) >= gaps)
        end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific).ptr;
    else if (value == std::trunc(value))
        end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr;
    else
        end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    literal({buffer, end});
    return {};
}

JSONWriter::Written JSONWriter::text(std::string_view value)
{
    if (!isUTF8(value))
        return std::unexpected(CodingFailure(EncodingError::textNotUTF8, "the text is not UTF-8"));
    separate();
    appendJSONText(out, value);
    return {};
}

JSONWriter::Written JSONWriter::name(std::string_view key)
{
    if (!isUTF8(key))
        return std::unexpected(CodingFailure(EncodingError::textNotUTF8, "the key is not UTF-8"));
    separate();
    appendJSONText(out, key);
    out += ':';
    return {};
}

bool JSONWriter::hasRoom() const
{
    constexpr std::size_t largest = 64 << 20;
    return out.size() <= largest;
}

JSONWriter::Written JSONWriter::tooLarge()
{
    return std::unexpected(CodingFailure(EncodingError::tooLarge, "the text would be too large"));
}

} // namespace LumoKit::detail
