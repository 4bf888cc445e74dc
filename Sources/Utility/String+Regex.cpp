#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/NSRegularExpression.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/String+Regex.h>

namespace LumoKit {

bool test(std::string_view text, std::string_view regex)
{
    auto expression = NSRegularExpression::compile(regex, NSRegularExpression::Options::caseInsensitive);
    return expression && expression->hasMatch(text, characterCount(text));
}

std::vector<std::string> matches(std::string_view text, const std::optional<std::string>& withRegex)
{
    if (!withRegex)
        fatalError("no pattern to search for");
    auto expression = NSRegularExpression::compile(*withRegex, NSRegularExpression::Options::none);
    if (!expression) {
        print("Invalid regex: " + expression.error().description);
        return {};
    }
    const auto found = expression->matches(text);
    return {found.begin(), found.end()};
}

std::vector<std::string> capturedGroups(std::string_view text, std::string_view withRegex)
{
    auto expression = NSRegularExpression::compile(withRegex, NSRegularExpression::Options::none);
    if (!expression)
        return {};
    std::vector<std::string> groups;
    const auto parts = expression->firstMatch(text);
    for (std::size_t group = 1; group < parts.size(); ++group)
        groups.emplace_back(parts[group].value_or(std::string_view()));
    return groups;
}

} // namespace LumoKit
