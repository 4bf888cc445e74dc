#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <ostream>

// What a failed expectation shows of the kit's values.

namespace LumoKit {

inline void PrintTo(const Value& value, std::ostream* out)
{
    *out << value.description();
}

inline void PrintTo(const URL& url, std::ostream* out)
{
    *out << url.absoluteString();
}

inline void PrintTo(const Error& error, std::ostream* out)
{
    *out << error.domain << " " << error.code << ": " << error.description;
}

} // namespace LumoKit
