#pragma once

#include <string>

namespace LumoKit {

/// What went wrong, as a value: the kind of error that every operation of the kit reports.
struct Error {
    /// Who defined the code, such as "WebKitJavascriptError" or "LumoKit.Bundle".
    std::string domain;
    /// The number of the error within its domain.
    int code = 0;
    /// What happened, in words for a log or an alert.
    std::string description;

    bool operator==(const Error&) const = default;
};

} // namespace LumoKit
