#include <LumoKit/Utility/StringObfuscation.h>

namespace LumoKit {

namespace {

constexpr std::string_view table = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
static_assert(table.size() == symbolCount);

} // namespace

std::string_view rawValue(Symbol symbol)
{
    return table.substr(static_cast<std::size_t>(symbol), 1);
}

std::optional<Symbol> symbol(std::string_view rawValue)
{
    const std::size_t index = rawValue.size() == 1 ? table.find(rawValue) : table.npos;
    if (index == table.npos)
        return std::nullopt;
    return static_cast<Symbol>(index);
}

std::string text(std::span<const Symbol> symbols)
{
    std::string spelled;
    for (const Symbol symbol : symbols)
        spelled += rawValue(symbol);
    return spelled;
}

} // namespace LumoKit
