#pragma once

#include <LumoKit/Platform/Foundation/JSONDecoder.h>
#include <LumoKit/Platform/Foundation/JSONSerialization.h>

#include <expected>

namespace LumoKit {

/// The record that a loosely typed dictionary describes: the dictionary is written as JSON, and that is
/// decoded.
/// Errors: as they come from `JSONSerialization`, then from `JSONDecoder`.
/// Thread: any.
template <Codable T>
[[nodiscard]] std::expected<T, Error> convertDictionaryToCodable(const Value::Dictionary& dictionary)
{
    const auto text = JSONSerialization::text(dictionary);
    if (!text)
        return std::unexpected(text.error());
    return JSONDecoder().decode<T>(*text);
}

} // namespace LumoKit
