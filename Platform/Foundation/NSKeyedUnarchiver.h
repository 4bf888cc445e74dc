#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <span>

namespace LumoKit {

/// Reads keyed archives, whoever wrote them.
///
/// Thread: any.
class NSKeyedUnarchiver {
public:
    /// The value that was archived. A URL that this platform cannot express reads as null.
    /// Errors: nothing when the bytes are no binary keyed archive, or when it is damaged, holds itself, is
    /// nested more than `Value::maximumDepth` levels deep, needs more than about 60 MB (some twenty
    /// thousand cookies) to read, or has objects that are no nulls, booleans, numbers, texts, dates, data, URLs, arrays,
    /// or dictionaries with texts as keys.
    [[nodiscard]] static std::optional<Value> unarchiveObject(std::span<const std::byte> with);
};

} // namespace LumoKit
