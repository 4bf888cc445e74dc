#pragma once

#include "ScriptValue.h"

#include <webkit2/webkit2.h>

namespace LumoKit::detail {

// The engine hands script values over as objects of its GObject interface, of which every access to a
// property makes another object. Its C interface reads the same value in a tenth of the time; the functions
// that lead to it are deprecated in favour of the slow ones, but belong to API 4.1 for as long as that
// exists.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS

/// What a page posted or a script gave, as data.
inline Value valueOf(WebKitJavascriptResult* result)
{
    return valueFromScript(
        webkit_javascript_result_get_global_context(result), webkit_javascript_result_get_value(result));
}

inline bool isUndefined(WebKitJavascriptResult* result)
{
    return JSValueIsUndefined(
        webkit_javascript_result_get_global_context(result), webkit_javascript_result_get_value(result));
}

G_GNUC_END_IGNORE_DEPRECATIONS

} // namespace LumoKit::detail
