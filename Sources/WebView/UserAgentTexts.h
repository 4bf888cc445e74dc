#pragma once

#include <LumoKit/Platform/Foundation/ProcessInfo.h>

#include <optional>
#include <string>
#include <string_view>

namespace LumoKit::detail {

/// A version as user agents write it: "15_1", or "14_7_2" where there is a patch.
/// Thread: any.
[[nodiscard]] std::string osVersionText(const OperatingSystemVersion& version);

/// The built-in user agent for a version of the system.
/// Thread: any.
[[nodiscard]] std::string fallbackUserAgent(const OperatingSystemVersion& version);

/// The user agent in an answer of the service: the text "user_agent" of a JSON object, in which every "OS_VERSION"
/// stands for the version.
/// Errors: nothing for any other answer.
/// Thread: any.
[[nodiscard]] std::optional<std::string> userAgentIn(
    std::string_view answer, const OperatingSystemVersion& version);

} // namespace LumoKit::detail
