#include <LumoKit/Extensions/NSColor.h>
#include <LumoKit/Platform/Foundation/FatalError.h>

#include <charconv>
#include <cstdint>
#include <string>

namespace LumoKit {

NSColor color(std::string_view hex, double alpha)
{
    std::string_view digits = hex;
    if (digits.starts_with('#'))
        digits.remove_prefix(1);
    if (digits.starts_with('+') && !digits.starts_with("+-"))
        digits.remove_prefix(1); // the one sign that std::from_chars does not know
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size())
        fatalError("'" + std::string(hex) + "' is not a hexadecimal colour");
    const auto component = [value](
                               int shift) { return static_cast<double>((value >> shift) & 0xFF) / 255.0; };
    return {component(16), component(8), component(0), alpha};
}

} // namespace LumoKit
