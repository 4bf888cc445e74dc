#include "UserAgentTexts.h"

#include <LumoKit/Platform/Foundation/JSONDecoder.h>

#include <tuple>

namespace LumoKit::detail {

namespace {

struct Response {
    std::string user_agent;

    static constexpr std::tuple codingKeys{CodingKey{"user_agent", &Response::user_agent}};
};

} // namespace

std::string osVersionText(const OperatingSystemVersion& version)
{
    std::string text = std::to_string(version.majorVersion) + "_" + std::to_string(version.minorVersion);
    if (version.patchVersion >= 1)
        text += "_" + std::to_string(version.patchVersion);
    return text;
}

std::string fallbackUserAgent(const OperatingSystemVersion& version)
{
    return "Mozilla/5.0 (Macintosh; Intel Mac OS X " + osVersionText(version)
        + ") AppleWebKit/605.1.15 (KHTML, like Gecko) Version/18.1.1 Safari/605.1.15";
}

std::optional<std::string> userAgentIn(std::string_view answer, const OperatingSystemVersion& version)
{
    const auto response = JSONDecoder().decode<Response>(answer);
    if (!response)
        return std::nullopt;
    constexpr std::string_view placeholder = "OS_VERSION";
    const std::string replacement = osVersionText(version);
    std::string_view rest = response->user_agent;
    std::string text;
    for (auto place = rest.find(placeholder); place != rest.npos; place = rest.find(placeholder)) {
        text.append(rest.substr(0, place)).append(replacement);
        rest.remove_prefix(place + placeholder.size());
    }
    return text.append(rest);
}

} // namespace LumoKit::detail
