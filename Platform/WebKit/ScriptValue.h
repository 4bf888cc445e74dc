#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <JavaScriptCore/JavaScript.h>

#include <optional>

namespace LumoKit::detail {

/// Reads a script value as data, as `WKScriptMessage::body` tells.
/// Thread: the one of the script context.
[[nodiscard]] Value valueFromScript(JSContextRef context, JSValueRef script);

} // namespace LumoKit::detail
