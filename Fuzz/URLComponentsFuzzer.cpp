// Any text has parts or none; each is UTF-8, and the query's items are those that its separators make.

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/URLComponents.h>

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using namespace LumoKit;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto url = URL::parse(text);
    const auto components = URLComponents::parse(text);
    if (url.has_value() != components.has_value())
        std::abort();
    if (!components)
        return 0;
    for (const auto& part :
        {components->scheme(), components->user(), components->password(), components->host(),
            std::optional(components->path()), components->query(), components->fragment()})
        if (part && !isUTF8(*part))
            std::abort();
    const auto items = components->queryItems();
    const auto query = url->query();
    if (items.has_value() != query.has_value())
        std::abort();
    if (!items)
        return 0;
    if (items->size() != (query->empty() ? 0 : static_cast<std::size_t>(std::ranges::count(*query, '&')) + 1))
        std::abort();
    const auto some = std::min<std::size_t>(items->size(), 32);
    for (std::size_t index = 0; index < some; ++index) {
        const auto& item = (*items)[index];
        const auto first = std::ranges::find(*items, item.name, &URLQueryItem::name);
        if (!isUTF8(item.name) || (item.value && !isUTF8(*item.value))
            || components->firstQueryValue(item.name) != first->value)
            std::abort();
    }
    return 0;
}
