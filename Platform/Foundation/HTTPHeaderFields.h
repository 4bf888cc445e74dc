#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

namespace LumoKit {

/// Orders the names of header fields, in which letter case does not count.
struct HTTPHeaderFieldLess {
    using is_transparent = void;

    bool operator()(std::string_view first, std::string_view second) const
    {
        return std::ranges::lexicographical_compare(first, second, {}, &lowered, &lowered);
    }

private:
    static char lowered(char letter)
    {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
};

/// The header fields of a request or of an answer by their names.
using HTTPHeaderFields = std::map<std::string, std::string, HTTPHeaderFieldLess>;

} // namespace LumoKit
