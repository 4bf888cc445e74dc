#pragma once

#include <string>

namespace LumoKit {

/// What the system says of itself.
class ProcessInfo {
public:
    ProcessInfo() = delete;

    /// The operating system and its version in words for a person, as in
    /// "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-13-amd64".
    /// Thread: any.
    /// Source: os-release(5), uname(2).
    [[nodiscard]] static std::string operatingSystemVersionString();
};

} // namespace LumoKit
