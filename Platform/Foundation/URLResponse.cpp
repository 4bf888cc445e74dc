#include <LumoKit/Platform/Foundation/URLResponse.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <libsoup/soup.h>

#include <charconv>

namespace LumoKit {

namespace {

using Parameters = std::unique_ptr<GHashTable, detail::FreedBy<soup_header_free_param_list>>;

std::optional<std::string> field(const HTTPHeaderFields& fields, std::string_view name)
{
    const auto found = fields.find(name);
    return found == fields.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> lowered(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    return detail::GText(g_ascii_strdown(text.c_str(), -1)).get();
}

/// RFC 9110, section 8.3.1: a type, and parameters after ";".
std::optional<std::string> mediaType(const HTTPHeaderFields& fields)
{
    const std::string written = field(fields, "Content-Type").value_or("");
    const std::string type = written.substr(0, written.find_first_of("; \t,"));
    return type.find('/') == type.npos ? std::nullopt : lowered(type);
}

std::optional<std::string> characterSet(const HTTPHeaderFields& fields)
{
    const std::string written = field(fields, "Content-Type").value_or("");
    const auto semicolon = written.find(';');
    if (semicolon == written.npos)
        return std::nullopt;
    const Parameters parameters(soup_header_parse_semi_param_list(written.c_str() + semicolon + 1));
    const auto* name = static_cast<const char*>(g_hash_table_lookup(parameters.get(), "charset"));
    return name ? lowered(name) : std::nullopt;
}

std::int64_t contentLength(const HTTPHeaderFields& fields)
{
    const std::string written = field(fields, "Content-Length").value_or("");
    std::int64_t length = -1;
    const auto [end, error] = std::from_chars(written.data(), written.data() + written.size(), length);
    return error == std::errc() && end == written.data() + written.size() && length >= 0 ? length : -1;
}

} // namespace

HTTPURLResponse::HTTPURLResponse(URL url, int statusCode, HTTPHeaderFields fields)
    : URLResponse(std::move(url), mediaType(fields), contentLength(fields), characterSet(fields))
    , statusCode_(statusCode)
    , headerFields(std::move(fields))
{
}

std::optional<std::string> HTTPURLResponse::valueForHTTPHeaderField(std::string_view name) const
{
    return field(headerFields, name);
}

} // namespace LumoKit
