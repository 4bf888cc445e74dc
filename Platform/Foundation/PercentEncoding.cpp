#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/PercentEncoding.h>

#include <boost/url/encode.hpp>
#include <boost/url/grammar/lut_chars.hpp>

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

} // namespace LumoKit
