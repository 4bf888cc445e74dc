#include <LumoKit/Platform/ApplicationKit/NSAppearance.h>

#include <algorithm>

namespace LumoKit {

std::optional<std::string> NSAppearance::bestMatch(
    const std::vector<std::string>& fromAppearancesWithNames) const
{
    if (std::ranges::find(fromAppearancesWithNames, name) == fromAppearancesWithNames.end())
        return std::nullopt;
    return name;
}

} // namespace LumoKit
