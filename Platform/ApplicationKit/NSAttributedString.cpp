#include <LumoKit/Platform/ApplicationKit/NSAttributedString.h>

#include <utility>

namespace LumoKit {

NSAttributedString::NSAttributedString(std::string content, NSAttributes attributes)
    : text(std::move(content))
{
    if (!text.empty())
        stretches.push_back({text.size(), std::move(attributes)});
}

const NSAttributes& NSAttributedString::attributes(std::size_t at) const
{
    static const NSAttributes none;
    for (const Run& run : stretches) {
        if (at < run.length)
            return run.attributes;
        at -= run.length;
    }
    return none;
}

void NSAttributedString::appendText(const NSAttributedString& other)
{
    const auto added = other.stretches; // a copy: `other` may be this string
    text += std::string(other.text);
    for (const Run& run : added) {
        if (!stretches.empty() && stretches.back().attributes == run.attributes)
            stretches.back().length += run.length;
        else
            stretches.push_back(run);
    }
}

} // namespace LumoKit
