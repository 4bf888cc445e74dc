#pragma once

#include <source_location>
#include <string_view>

namespace LumoKit {

/// Stops the process because of a programming error: writes `file:line: Fatal error: message` to standard
/// error and aborts.
///
/// Thread: any.
[[noreturn]] void fatalError(
    std::string_view message = {}, std::source_location where = std::source_location::current());

/// Stops the process because a constructor was called that the class does not offer. The report names both,
/// as in `Use of unimplemented initializer 'init()' for class 'LumoKit.ProxyWebView'`.
[[noreturn]] void unimplementedInitializer(std::string_view className, std::string_view initializer,
    std::source_location where = std::source_location::current());

} // namespace LumoKit
