#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace LumoKit {

/// Which application of the user's opens the links of a scheme, "mailto" among them.
///
/// Thread: any.
class LaunchServices {
public:
    LaunchServices() = delete;

    /// Makes this application the one that the desktop opens links of a scheme with, and asks the desktop whether
    /// it is.
    ///
    /// The scheme has to be one of the main bundle's `urlSchemes()`. Unless the desktop has an entry already that
    /// starts this program with such links, one is written where the user's applications are listed, named after
    /// the bundle's identifier. A bundle that was moved has to ask again.
    /// Errors: why the application is not the one.
    /// Source: Desktop Entry Specification; Association between MIME types and applications.
    static std::expected<void, Error> setDefaultHandler(std::string_view forURLScheme);

    /// The identifier of the application that links of a scheme are opened with.
    /// Errors: nothing where there is none.
    [[nodiscard]] static std::optional<std::string> defaultHandler(std::string_view forURLScheme);
};

} // namespace LumoKit
