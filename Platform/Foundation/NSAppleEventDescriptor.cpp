#include <LumoKit/Platform/Foundation/NSAppleEventDescriptor.h>

#include <algorithm>

namespace LumoKit {

std::optional<NSAppleEventDescriptor> NSAppleEventDescriptor::paramDescriptor(FourCharCode forKeyword) const
{
    for (const auto& [keyword, descriptor] : parameters)
        if (keyword == forKeyword)
            return descriptor;
    return std::nullopt;
}

void NSAppleEventDescriptor::setParam(NSAppleEventDescriptor descriptor, FourCharCode forKeyword)
{
    std::erase_if(parameters, [&](const auto& parameter) { return parameter.first == forKeyword; });
    parameters.emplace_back(forKeyword, std::move(descriptor));
}

std::size_t NSAppleEventDescriptor::size() const
{
    std::size_t bytes = text ? text->size() : 0;
    for (const auto& [keyword, descriptor] : parameters)
        bytes += descriptor.size();
    return bytes;
}

} // namespace LumoKit
