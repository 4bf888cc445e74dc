#pragma once

#include <LumoKit/Platform/Foundation/CodingError.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <expected>
#include <string>

namespace LumoKit {

/// Values as JSON. `readJSON` reads what this writes.
class JSONSerialization {
public:
    JSONSerialization() = delete;

    /// The compact JSON text of an array or a dictionary.
    ///
    /// Entries are in the order of their keys. A fractional number is written in the shortest form that reads
    /// as the same number; one without a fraction as a whole number, so that it is read again as one.
    /// Errors: of the domain `encodingErrorDomain`, for everything that JSON cannot say; nothing is replaced.
    /// Thread: any.
    /// Source: RFC 8259.
    [[nodiscard]] static std::expected<std::string, Error> text(const Value& object);
};

} // namespace LumoKit
