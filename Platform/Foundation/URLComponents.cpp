#include "URLNative.h"

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/URLComponents.h>

namespace LumoKit {

namespace {

std::string_view plain(boost::core::string_view text)
{
    return {text.data(), text.size()};
}

/// Nothing where the escapes stand for no UTF-8.
std::optional<std::string> decoded(std::string_view encoded)
{
    if (encoded.find('%') == encoded.npos)
        return std::string(encoded); // which the grammar keeps to ASCII
    std::string text;
    text.reserve(encoded.size());
    // A part of what was parsed: its escapes are whole.
    boost::urls::make_pct_string_view(encoded)->decode({}, boost::urls::string_token::append_to(text));
    if (!isUTF8(text))
        return std::nullopt;
    return text;
}

/// An item as written.
struct EncodedItem {
    std::string_view name;
    std::optional<std::string_view> value;
};

/// Calls `use` with each item of a query, until it answers true.
template <class Use> void forEachItem(std::string_view query, Use use)
{
    for (std::size_t begin = 0; begin <= query.size();) {
        const std::string_view item = query.substr(begin, query.find('&', begin) - begin);
        const auto equals = item.find('=');
        EncodedItem encoded{item.substr(0, equals), std::nullopt};
        if (equals != item.npos)
            encoded.value = item.substr(equals + 1);
        if (use(encoded))
            return;
        begin += item.size() + 1;
    }
}

std::optional<std::string> decodedValue(const EncodedItem& item)
{
    return item.value ? decoded(*item.value) : std::nullopt;
}

} // namespace

std::optional<URLComponents> URLComponents::parse(std::string_view text)
{
    auto url = URL::parse(text);
    if (!url)
        return std::nullopt;
    return URLComponents(*std::move(url));
}

std::optional<std::string> URLComponents::scheme() const
{
    return url.scheme();
}

std::optional<std::string> URLComponents::user() const
{
    if (!url.parsed->view.has_userinfo())
        return std::nullopt;
    return decoded(plain(url.parsed->view.encoded_user()));
}

std::optional<std::string> URLComponents::password() const
{
    if (!url.parsed->view.has_password())
        return std::nullopt;
    return decoded(plain(url.parsed->view.encoded_password()));
}

std::optional<std::string> URLComponents::host() const
{
    if (!url.parsed->view.has_authority())
        return std::nullopt;
    return decoded(plain(url.parsed->view.encoded_host_address()));
}

std::optional<std::int64_t> URLComponents::port() const
{
    return url.port();
}

std::string URLComponents::path() const
{
    return decoded(plain(url.parsed->view.encoded_path())).value_or(std::string());
}

std::optional<std::string> URLComponents::query() const
{
    if (!url.parsed->view.has_query())
        return std::nullopt;
    return decoded(plain(url.parsed->view.encoded_query()));
}

std::optional<std::string> URLComponents::fragment() const
{
    if (!url.parsed->view.has_fragment())
        return std::nullopt;
    return decoded(plain(url.parsed->view.encoded_fragment()));
}

std::optional<std::vector<URLQueryItem>> URLComponents::queryItems() const
{
    if (!url.parsed->view.has_query())
        return std::nullopt;
    std::vector<URLQueryItem> items;
    const std::string_view query = plain(url.parsed->view.encoded_query());
    if (!query.empty())
        forEachItem(query, [&](const EncodedItem& item) {
            items.push_back({decoded(item.name).value_or(std::string()), decodedValue(item)});
            return false;
        });
    return items;
}

std::optional<std::string> URLComponents::firstQueryValue(std::string_view name) const
{
    std::optional<std::string> value;
    forEachItem(plain(url.parsed->view.encoded_query()), [&](const EncodedItem& item) {
        const bool isIt = item.name.find('%') == item.name.npos
            ? item.name == name
            : decoded(item.name).value_or(std::string()) == name;
        if (isIt)
            value = decodedValue(item);
        return isIt;
    });
    return value;
}

} // namespace LumoKit
