#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Utility/URLConvertible.h>

namespace LumoKit {

std::optional<URL> asURL(const URL& url)
{
    return url;
}

std::optional<URL> asURL(std::string_view text)
{
    return URL::parse(text);
}

URL staticURL(StaticURLString staticString, std::source_location where)
{
    auto url = URL::parse(staticString.value());
    if (!url)
        fatalError("this text is no URL: " + std::string(staticString.value()), where);
    return *std::move(url);
}

} // namespace LumoKit
