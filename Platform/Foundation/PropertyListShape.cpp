#include "PropertyListShape.h"

#include <cctype>
#include <cstdint>

namespace LumoKit::detail {

namespace {

/// Far beyond every sensible list, far below what a stack holds.
constexpr std::uint64_t maximumLevels = 4096;

/// Whether a text of XML has a NUL character in it, as it is or as a reference ("&#0;", "&#x00;").
bool holdsNul(std::string_view xml)
{
    if (xml.find('\0') != xml.npos)
        return true;
    for (std::size_t at = xml.find("&#"); at != xml.npos; at = xml.find("&#", at + 2)) {
        std::string_view digits = xml.substr(at + 2);
        if (digits.starts_with('x') || digits.starts_with('X'))
            digits.remove_prefix(1);
        const std::size_t end = digits.find_first_not_of('0');
        if (end != 0 && end != digits.npos && !std::isxdigit(static_cast<unsigned char>(digits[end])))
            return true;
    }
    return false;
}

} // namespace

bool isSoundXML(std::string_view bytes)
{
    // Only containers count: nothing else holds an element.
    const auto isContainer = [](std::string_view tag) {
        return tag.starts_with("array") || tag.starts_with("dict");
    };
    if (holdsNul(bytes))
        return false;
    std::uint64_t depth = 0;
    std::size_t at = bytes.find('<');
    while (at != bytes.npos) {
        const std::string_view tag = bytes.substr(at + 1);
        // What looks like a tag inside of a comment or of marked text is none.
        const std::string_view end = tag.starts_with("!--") ? "-->"
            : tag.starts_with("![CDATA[")                   ? "]]>"
                                                            : ">";
        const std::size_t close = bytes.find(end, at);
        if (close == bytes.npos)
            return true;
        const bool closesItself = bytes[close - 1] == '/';
        if (isContainer(tag) && !closesItself && ++depth > maximumLevels)
            return false;
        if (tag.starts_with('/') && isContainer(tag.substr(1)))
            depth -= depth > 0;
        at = bytes.find('<', close);
    }
    return true;
}

} // namespace LumoKit::detail
