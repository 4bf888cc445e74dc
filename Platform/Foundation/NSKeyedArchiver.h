#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>

namespace LumoKit {

/// Writes keyed archives: binary property lists of numbered objects that refer to each other, each with the
/// names of its class and of what that derives from.
///
/// Thread: any.
class NSKeyedArchiver {
public:
    /// An archive of a value. Equal texts and shared arrays and dictionaries are written once.
    /// Errors: nothing for a value that `NSKeyedUnarchiver` would refuse to give back: one that is too large,
    /// or nested too deeply.
    [[nodiscard]] static std::optional<Data> archivedData(const Value& withRootObject);
};

} // namespace LumoKit
