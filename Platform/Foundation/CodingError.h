#pragma once

#include <LumoKit/Platform/Foundation/Error.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace LumoKit {

/// Why a value cannot be written as JSON: the codes of errors of the domain `encodingErrorDomain`.
enum class EncodingError {
    /// What a whole text holds is neither an array nor a dictionary.
    invalidTopLevel = 1,
    /// JSON has no such type: a date, data, a URL.
    unsupportedType,
    /// An infinite number, or one that is no number.
    numberNotFinite,
    /// A text or a key that is not UTF-8.
    textNotUTF8,
    /// Nested deeper than `Value::maximumDepth`.
    tooDeep,
    /// The text would be larger than 64 MiB, as that of a small value can be which refers to its parts many
    /// times.
    tooLarge,
};

inline constexpr std::string_view encodingErrorDomain = "LumoKit.EncodingError";

/// Why a text does not give a value of a type: the codes of errors of the domain `decodingErrorDomain`.
enum class DecodingError {
    /// There is a value of another type.
    typeMismatch = 1,
    /// There is null where a value is needed.
    valueNotFound,
    /// There is no entry for a key that is needed.
    keyNotFound,
    /// The text is no JSON, or a value of the right type is none that is possible: a whole number with a
    /// fraction or of too many digits, a URL that is none.
    dataCorrupted,
};

inline constexpr std::string_view decodingErrorDomain = "LumoKit.DecodingError";

namespace detail {

/// What went wrong while a value was encoded or decoded. It is made where that happens and learns of the
/// place on its way out, from the inside to the outside, so that nothing keeps a path while all goes well.
class CodingFailure {
public:
    CodingFailure(EncodingError kind, std::string_view reason);
    CodingFailure(DecodingError kind, std::string_view reason);

    /// The same failure, seen from the dictionary or array around it.
    [[nodiscard]] CodingFailure&& within(std::string_view key) &&;
    [[nodiscard]] CodingFailure&& within(std::size_t index) &&;

    /// The failure as it is told: "contacts[1].email: …".
    [[nodiscard]] Error error() const;

private:
    std::string_view domain;
    int code;
    std::string reason;
    std::string path;
};

} // namespace detail

} // namespace LumoKit
