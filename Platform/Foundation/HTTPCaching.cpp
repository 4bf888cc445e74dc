#include "HTTPCaching.h"

#include <LumoKit/Platform/Native/Handles.h>

#include <libsoup/soup.h>

#include <algorithm>
#include <charconv>
#include <vector>

namespace LumoKit::detail {

namespace {

using Parameters = std::unique_ptr<GHashTable, FreedBy<soup_header_free_param_list>>;
using Seconds = std::chrono::duration<double>;

/// "A recipient [of a number that is too large] MUST consider the value to be 2147483648" (section 1.2.2).
constexpr std::int64_t longest = 2147483648;

/// The directives of "Cache-Control" by their names in lower case.
class CacheControl {
public:
    explicit CacheControl(std::string_view field)
        : directives(soup_header_parse_param_list(std::string(field).c_str()))
    {
    }

    bool has(const char* name) const { return g_hash_table_contains(directives.get(), name); }

    /// Units: seconds. What is no number counts as zero: "encouraged to consider [it] stale" (section 4.2.1).
    std::optional<Seconds> seconds(const char* name) const
    {
        if (!has(name))
            return std::nullopt;
        const auto* text = static_cast<const char*>(g_hash_table_lookup(directives.get(), name));
        const std::string_view digits = text ? text : "";
        std::int64_t count = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
        const bool isNumber = error == std::errc() && end == digits.data() + digits.size() && count >= 0;
        return Seconds(isNumber                           ? static_cast<double>(count)
                : error == std::errc::result_out_of_range ? static_cast<double>(longest)
                                                          : 0);
    }

private:
    const Parameters directives;
};

std::string fieldOf(const HTTPHeaderFields& fields, std::string_view name)
{
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

CacheControl cacheControl(const HTTPHeaderFields& fields)
{
    return CacheControl(fieldOf(fields, "Cache-Control"));
}

std::optional<Date> dateIn(const HTTPURLResponse& response, std::string_view name)
{
    const std::string text = fieldOf(response.allHeaderFields(), name);
    const std::unique_ptr<GDateTime, FreedBy<g_date_time_unref>> moment(
        text.empty() ? nullptr : soup_date_time_new_from_http_string(text.c_str()));
    return moment ? std::optional(Date(std::chrono::seconds(g_date_time_to_unix(moment.get()))))
                  : std::nullopt;
}

std::vector<std::string> namesInVary(const HTTPURLResponse& response)
{
    std::vector<std::string> names;
    GSList* list = soup_header_parse_list(fieldOf(response.allHeaderFields(), "Vary").c_str());
    for (GSList* item = list; item; item = item->next)
        names.emplace_back(static_cast<const char*>(item->data));
    soup_header_free_list(list);
    return names;
}

bool equal(std::string_view first, std::string_view second)
{
    const HTTPHeaderFieldLess less;
    return !less(first, second) && !less(second, first);
}

/// "If the response does not have a field with an explicit expiration time" it is a tenth of its age when it was
/// sent (section 4.2.2), a day at most.
Seconds lifetime(const CachedURLResponse& cached)
{
    const CacheControl control = cacheControl(cached.response->allHeaderFields());
    if (const auto age = control.seconds("max-age"))
        return *age;
    const Date sent = dateIn(*cached.response, "Date").value_or(cached.stored);
    if (cached.response->valueForHTTPHeaderField("Expires"))
        return dateIn(*cached.response, "Expires").value_or(sent) - sent; // what is no date has expired
    if (const auto modified = dateIn(*cached.response, "Last-Modified"))
        return std::clamp<Seconds>((sent - *modified) / 10, Seconds(0), std::chrono::hours(24));
    return Seconds(0);
}

/// Section 4.2.3.
Seconds age(const CachedURLResponse& cached, Date now)
{
    const Seconds apparent = cached.stored - dateIn(*cached.response, "Date").value_or(cached.stored);
    const std::string told = cached.response->valueForHTTPHeaderField("Age").value_or("");
    std::int64_t seconds = 0;
    const auto [end, error] = std::from_chars(told.data(), told.data() + told.size(), seconds);
    if (error == std::errc::result_out_of_range && !told.starts_with('-'))
        seconds = longest;
    const Seconds atArrival =
        std::max(apparent, Seconds(static_cast<double>(std::max<std::int64_t>(seconds, 0))));
    return std::max(atArrival, Seconds(0)) + (now - cached.stored);
}

} // namespace

bool mayBeStored(const URLRequest& request, const HTTPURLResponse& response)
{
    if (request.httpMethod != "GET" || response.statusCode() != 200)
        return false;
    // A part is not the whole, and whoever shows who they are does not mean everybody.
    if (request.allHTTPHeaderFields.contains("Range")
        || request.allHTTPHeaderFields.contains("Authorization"))
        return false;
    if (cacheControl(request.allHTTPHeaderFields).has("no-store")
        || cacheControl(response.allHeaderFields()).has("no-store"))
        return false;
    return std::ranges::none_of(namesInVary(response), [](const std::string& name) {
        return name == "*" || equal(name, "Cookie") || equal(name, "Authorization");
    });
}

HTTPHeaderFields varyingFields(const URLRequest& request, const HTTPURLResponse& response)
{
    HTTPHeaderFields fields;
    for (const std::string& name : namesInVary(response))
        if (const auto found = request.allHTTPHeaderFields.find(name);
            found != request.allHTTPHeaderFields.end())
            fields.insert(*found);
    return fields;
}

bool isFor(const CachedURLResponse& cached, const URLRequest& request)
{
    return varyingFields(request, *cached.response) == cached.varying;
}

bool isFresh(const CachedURLResponse& cached, Date now)
{
    if (now < cached.stored) // the clock was set back
        return false;
    return !cacheControl(cached.response->allHeaderFields()).has("no-cache")
        && age(cached, now) < lifetime(cached);
}

HTTPHeaderFields validators(const HTTPURLResponse& response)
{
    HTTPHeaderFields fields;
    if (auto tag = response.valueForHTTPHeaderField("ETag"))
        fields.emplace("If-None-Match", *std::move(tag));
    if (auto modified = response.valueForHTTPHeaderField("Last-Modified"))
        fields.emplace("If-Modified-Since", *std::move(modified));
    return fields;
}

CachedURLResponse updated(const CachedURLResponse& cached, const HTTPURLResponse& notModified, Date now)
{
    HTTPHeaderFields fields = cached.response->allHeaderFields();
    for (const auto& [name, value] : notModified.allHeaderFields())
        if (!equal(name, "Content-Length") && !equal(name, "Content-Encoding")
            && !equal(name, "Content-Type"))
            fields.insert_or_assign(name, value);
    return {std::make_shared<HTTPURLResponse>(
                cached.response->url(), cached.response->statusCode(), std::move(fields)),
        cached.data, cached.varying, now};
}

} // namespace LumoKit::detail
