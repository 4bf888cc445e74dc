#pragma once

#include <LumoKit/Platform/Foundation/Geometry.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <string>
#include <string_view>
#include <utility>

namespace LumoKit {

/// What an interface file says of one object: see `NSStoryboard`. What is missing, or of another type, reads as
/// nothing: an empty text, 0, false.
///
/// Thread: any; it never changes.
class NSCoder {
public:
    NSCoder() = default;
    explicit NSCoder(Value::Dictionary values)
        : values(std::move(values))
    {
    }

    [[nodiscard]] bool containsValue(std::string_view forKey) const;
    [[nodiscard]] Value decodeObject(std::string_view forKey) const;
    [[nodiscard]] std::string decodeString(std::string_view forKey) const;
    [[nodiscard]] double decodeDouble(std::string_view forKey) const;
    [[nodiscard]] bool decodeBool(std::string_view forKey) const;
    /// A text with four numbers, "{{x, y}, {width, height}}".
    /// Errors: an empty rectangle for anything else.
    [[nodiscard]] CGRect decodeRect(std::string_view forKey) const;
    /// The dictionary under a key, as a coder of its own.
    [[nodiscard]] NSCoder decodeDictionary(std::string_view forKey) const;

private:
    Value::Dictionary values;
};

} // namespace LumoKit
