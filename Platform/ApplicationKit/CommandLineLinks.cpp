#include "CommandLineLinks.h"

#include <LumoKit/Platform/Foundation/Characters.h>

#include <algorithm>
#include <cctype>

namespace LumoKit::detail {

namespace {

bool isOf(std::string_view link, std::string_view scheme)
{
    return link.size() > scheme.size() && link[scheme.size()] == ':'
        && std::ranges::equal(link.substr(0, scheme.size()), scheme,
            [](unsigned char written, unsigned char wanted) { return std::tolower(written) == wanted; });
}

} // namespace

std::vector<std::string> linksOn(std::string_view commandLine, const std::vector<std::string>& schemes)
{
    std::vector<std::string> links;
    for (auto end = commandLine.find('\0'); end != commandLine.npos; end = commandLine.find('\0')) {
        commandLine.remove_prefix(end + 1); // first of all the program
        const std::string_view argument = commandLine.substr(0, commandLine.find('\0'));
        if (std::ranges::any_of(schemes, [&](const auto& scheme) { return isOf(argument, scheme); })
            && isUTF8(argument))
            links.emplace_back(argument);
    }
    return links;
}

} // namespace LumoKit::detail
