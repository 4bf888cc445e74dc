#pragma once

#include <string_view>

namespace LumoKit {

/// User agents of desktop browsers, for hosts that want a certain one.
///
/// The names are those under which hosts know them: the second version in each is not always the one in the text.
struct SafariUserAgent {
    SafariUserAgent() = delete;

    static constexpr std::string_view macOS_10_13_6_11_1_2 =
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_13_6) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/11.1.2 Safari/605.1.15";
    static constexpr std::string_view macOS_10_14__2_12_0_2 =
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_14_2) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/12.0.2 Safari/605.1.15";
    static constexpr std::string_view macOS_10_14__5_12_0_2 =
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_14_5) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/12.1 Safari/605.1.15";
};

} // namespace LumoKit
