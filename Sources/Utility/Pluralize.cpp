#include <LumoKit/Utility/Pluralize.h>

namespace LumoKit {

std::string pluralize(const std::string& word, std::int64_t count, const std::optional<std::string>& plural)
{
    if (count == 1)
        return word;
    return plural ? *plural : word + "s";
}

} // namespace LumoKit
