#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/CodingError.h>
#include <LumoKit/Platform/Foundation/JSONWriter.h>

#include <algorithm>

namespace LumoKit::detail {

CodingFailure::CodingFailure(EncodingError kind, std::string_view why)
    : domain(encodingErrorDomain)
    , code(static_cast<int>(kind))
    , reason(why)
{
}

CodingFailure::CodingFailure(DecodingError kind, std::string_view why)
    : domain(decodingErrorDomain)
    , code(static_cast<int>(kind))
    , reason(why)
{
}

namespace {

/// How a key stands in a path: ".email", or quoted where it is no name. Keys may be a stranger's: they do not
/// get at a log's lines, nor fill it.
std::string step(std::string_view key)
{
    constexpr std::size_t longest = 64;
    const bool isName = !key.empty() && key.size() <= longest && std::ranges::all_of(key, [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
            || (character >= '0' && character <= '9') || character == '_';
    });
    if (isName)
        return "." + std::string(key);
    if (!isUTF8(key))
        return "[?]";
    std::string_view shown = key.substr(0, longest);
    while (!isUTF8(shown))
        shown.remove_suffix(1);
    std::string quoted = "[";
    appendJSONText(quoted, shown);
    return quoted += shown.size() < key.size() ? "…]" : "]";
}

} // namespace

CodingFailure&& CodingFailure::within(std::string_view key) &&
{
    path.insert(0, step(key));
    return std::move(*this);
}

CodingFailure&& CodingFailure::within(std::size_t index) &&
{
    path.insert(0, "[" + std::to_string(index) + "]");
    return std::move(*this);
}

Error CodingFailure::error() const
{
    const std::string_view place = path.starts_with('.') ? std::string_view(path).substr(1) : path;
    return {std::string(domain), code, (place.empty() ? "top level" : std::string(place)) + ": " + reason};
}

} // namespace LumoKit::detail
