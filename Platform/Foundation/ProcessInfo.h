#pragma once

#include <string>

namespace LumoKit {

/// A version of an operating system, such as 15.1.0.
struct OperatingSystemVersion {
    int majorVersion = 0;
    int minorVersion = 0;
    int patchVersion = 0;

    bool operator==(const OperatingSystemVersion&) const = default;
};

/// What the system says of itself.
class ProcessInfo {
public:
    ProcessInfo() = delete;

    /// The operating system and its version in words for a person, as in
    /// "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-13-amd64".
    /// Thread: any.
    /// Source: os-release(5), uname(2).
    [[nodiscard]] static std::string operatingSystemVersionString();

    /// The version of the distribution, 22.4.0 for "22.04"; of the kernel where the distribution has none, as
    /// those that are updated all the time do. Numbers that are missing, or no numbers, are zero.
    /// Thread: any.
    /// Source: os-release(5), "VERSION_ID"; uname(2).
    [[nodiscard]] static OperatingSystemVersion operatingSystemVersion();
};

} // namespace LumoKit
