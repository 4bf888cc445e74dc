#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Utility/String+Utils.h>

#include <algorithm>

namespace LumoKit {

std::string clipped(std::string_view text, std::int64_t to, std::string_view appending)
{
    std::int64_t room = 0;
    if (__builtin_sub_overflow(to, static_cast<std::int64_t>(appending.size()), &room))
        fatalError("the length to clip to is out of range");
    const std::int64_t count = std::min(room, static_cast<std::int64_t>(text.size()));
    if (count < 0)
        fatalError("the length to clip to leaves no room for what is appended");
    const auto beginning = firstCharacters(text, static_cast<std::size_t>(count));
    if (!beginning)
        fatalError("the text has fewer characters than are to be kept");
    return std::string(*beginning).append(appending);
}

} // namespace LumoKit
