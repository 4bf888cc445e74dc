#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/PercentEncoding.h>

#include <boost/url/encode.hpp>
#include <boost/url/grammar/lut_chars.hpp>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace LumoKit {

std::optional<std::string> addingPercentEncoding(std::string_view text, std::string_view allowedCharacters)
{
    if (!isUTF8(text))
        return std::nullopt;
    const auto isAllowed = [&](unsigned char byte) {
        return allowedCharacters.contains(static_cast<char>(byte));
    };
    return boost::urls::encode(text, boost::urls::grammar::lut_chars(isAllowed));
}

std::optional<std::string> addingPercentEncodingToAllButAlphanumerics(std::string_view text)
{
    if (!isUTF8(text))
        return std::nullopt;
    constexpr std::uint32_t alphanumerics = U_GC_L_MASK | U_GC_M_MASK | U_GC_ND_MASK;
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        UChar32 character = 0;
        U8_NEXT_UNSAFE(text.data(), end, character);
        const std::string_view bytes = text.substr(begin, end - begin);
        if (U_GET_GC_MASK(character) & alphanumerics) {
            encoded.append(bytes);
            continue;
        }
        for (const char written : bytes) {
            const auto byte = static_cast<unsigned char>(written);
            encoded.append({'%', digits[byte >> 4], digits[byte & 15]});
        }
    }
    return encoded;
}

} // namespace LumoKit
