#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace LumoKit {

/// A code that is written as four ASCII characters, the first of them in the highest byte.
using FourCharCode = std::uint32_t;

/// `fourCharCode("GURL")` is 0x4755524C.
[[nodiscard]] consteval FourCharCode fourCharCode(const char (&text)[5])
{
    FourCharCode code = 0;
    for (const char character : {text[0], text[1], text[2], text[3]})
        code = code << 8 | static_cast<unsigned char>(character);
    return code;
}

/// The class and the ID of the event that asks an application to open a URL, which is its direct object.
inline constexpr FourCharCode kInternetEventClass = fourCharCode("GURL");
inline constexpr FourCharCode kAEGetURL = fourCharCode("GURL");
/// The keyword of what an event is about.
inline constexpr FourCharCode keyDirectObject = fourCharCode("----");

/// An event, or what one carries: a text, parameters under keywords, or nothing. A value.
class NSAppleEventDescriptor {
public:
    /// Holds nothing.
    NSAppleEventDescriptor() = default;
    /// Holds a text.
    explicit NSAppleEventDescriptor(std::string string)
        : text(std::move(string))
    {
    }
    /// An event without parameters.
    NSAppleEventDescriptor(FourCharCode eventClass, FourCharCode eventID)
        : class_(eventClass)
        , id(eventID)
    {
    }

    /// 0 of what is no event.
    [[nodiscard]] FourCharCode eventClass() const { return class_; }
    /// 0 of what is no event.
    [[nodiscard]] FourCharCode eventID() const { return id; }

    /// Nothing where it holds no text.
    [[nodiscard]] const std::optional<std::string>& stringValue() const { return text; }

    /// Nothing without such a parameter.
    [[nodiscard]] std::optional<NSAppleEventDescriptor> paramDescriptor(FourCharCode forKeyword) const;
    /// Takes the place of what was there under the keyword.
    void setParam(NSAppleEventDescriptor descriptor, FourCharCode forKeyword);

    bool operator==(const NSAppleEventDescriptor&) const = default;

private:
    friend class NSAppleEventManager;
    /// How many bytes its texts have.
    [[nodiscard]] std::size_t size() const;

    FourCharCode class_ = 0;
    FourCharCode id = 0;
    std::optional<std::string> text;
    std::vector<std::pair<FourCharCode, NSAppleEventDescriptor>> parameters;
};

} // namespace LumoKit
