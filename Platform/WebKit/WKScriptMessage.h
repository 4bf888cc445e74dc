#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <string>

namespace LumoKit {

/// What a page posted to the native side.
struct WKScriptMessage {
    /// The name under which it was posted.
    std::string name;

    /// What was posted, as data.
    ///
    /// `undefined`, `null`, an invalid date and what cannot be data (a function, a symbol) read as null; a
    /// number without a fraction up to 2 to the 53rd as an integer, every other as a fractional number; a
    /// date, a text, an array as itself, where a text's unpaired surrogates become U+FFFD and an array's
    /// holes null; bytes and every other object as a dictionary of its own enumerable properties. A reference
    /// back to an object that is still being read, and what lies deeper than `Value::maximumDepth`, reads as
    /// null. An object that is referred to twice is shared.
    Value body;
};

} // namespace LumoKit
