#pragma once

#include <string>

namespace LumoKit {

enum class WKUserScriptInjectionTime { atDocumentStart, atDocumentEnd };

/// A script that runs in every page.
struct WKUserScript {
    std::string source;
    WKUserScriptInjectionTime injectionTime = WKUserScriptInjectionTime::atDocumentStart;
    /// Whether frames inside the page are left alone.
    bool forMainFrameOnly = true;

    bool operator==(const WKUserScript&) const = default;
};

} // namespace LumoKit
