#include "HTTPCaching.h"
#include "PackedValue.h"
#include "UserFolders.h"

#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/URLCache.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <vector>

namespace LumoKit {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t sharedCapacity = 20 << 20;
constexpr std::string_view suffix = ".answer";

/// The address that an answer is kept by: without the fragment, which no server sees.
std::string keyOf(const URL& url)
{
    const std::string& text = url.absoluteString();
    return text.substr(0, text.find('#'));
}

Value::Dictionary fieldsAsValue(const HTTPHeaderFields& fields)
{
    Value::Dictionary dictionary;
    for (const auto& [name, value] : fields)
        dictionary.insert_or_assign(name, value);
    return dictionary;
}

std::optional<HTTPHeaderFields> fieldsIn(const Value& value)
{
    const auto* dictionary = value.asDictionary();
    if (!dictionary)
        return std::nullopt;
    HTTPHeaderFields fields;
    for (const auto& [name, text] : *dictionary) {
        if (!text.asText())
            return std::nullopt;
        fields.insert_or_assign(name, *text.asText());
    }
    return fields;
}

std::string bytesOf(const CachedURLResponse& cached, const std::string& key)
{
    return detail::packed(Value::Dictionary{
        {"address", key},
        {"url", cached.response->url().absoluteString()},
        {"status", cached.response->statusCode()},
        {"fields", fieldsAsValue(cached.response->allHeaderFields())},
        {"varying", fieldsAsValue(cached.varying)},
        {"stored", cached.stored},
        {"data", cached.data},
    });
}

std::optional<CachedURLResponse> responseIn(const std::string& bytes, const std::string& key)
{
    const auto value = detail::unpacked(bytes);
    if (!value)
        return std::nullopt;
    const auto* address = (*value)["address"].asText();
    const auto* url = (*value)["url"].asText();
    const auto status = (*value)["status"].asInteger();
    const auto fields = fieldsIn((*value)["fields"]);
    const auto varying = fieldsIn((*value)["varying"]);
    const auto stored = (*value)["stored"].asDate();
    const auto* data = (*value)["data"].asData();
    const auto parsed = url ? URL::parse(*url) : std::nullopt;
    if (!address || *address != key || !parsed || status != 200 || !fields || !varying || !stored || !data)
        return std::nullopt;
    return CachedURLResponse{
        std::make_shared<HTTPURLResponse>(*parsed, 200, *fields), *data, *varying, *stored};
}

struct Entry {
    fs::path file;
    fs::file_time_type used;
    std::uint64_t size;
};

std::vector<Entry> entriesIn(const fs::path& folder)
{
    std::vector<Entry> entries;
    std::error_code failure;
    for (fs::directory_iterator item(folder, failure), end; !failure && item != end;
        item.increment(failure)) {
        std::error_code ignored;
        if (item->path().filename().string().find(suffix) == std::string::npos
            || !item->is_regular_file(ignored))
            continue;
        const auto used = item->last_write_time(ignored);
        const auto size = item->file_size(ignored);
        if (!ignored)
            entries.push_back({item->path(), used, size});
    }
    return entries;
}

} // namespace

std::shared_ptr<URLCache> URLCache::shared()
{
    // Never released: transfers may use it while the process ends.
    static const auto& cache = *new auto([] {
        const auto folder = detail::applicationFolder("XDG_CACHE_HOME", ".cache");
        return std::make_shared<URLCache>(sharedCapacity, folder ? *folder / "Network" : fs::path());
    }());
    return cache;
}

URLCache::URLCache(std::uint64_t diskCapacity, fs::path directory)
    : capacity(diskCapacity)
    , directory(std::move(directory))
{
}

std::uint64_t URLCache::currentDiskUsage() const
{
    const std::lock_guard lock(mutex);
    measure();
    return *used;
}

std::optional<CachedURLResponse> URLCache::cachedResponse(const URLRequest& forRequest) const
{
    if (directory.empty() || forRequest.httpMethod != "GET")
        return std::nullopt;
    const fs::path kept = file(forRequest);
    std::optional<std::string> bytes;
    {
        const std::lock_guard lock(mutex);
        std::error_code ignored;
        const auto size = fs::file_size(kept, ignored);
        if (ignored || size > capacity) // somebody else's
            return std::nullopt;
        bytes = readFile(kept);
        if (bytes)
            ::utimensat(AT_FDCWD, kept.c_str(), nullptr, 0); // used now
    }
    auto cached = bytes ? responseIn(*bytes, keyOf(forRequest.url)) : std::nullopt;
    return cached && detail::isFor(*cached, forRequest) ? cached : std::nullopt;
}

void URLCache::storeCachedResponse(const CachedURLResponse& cachedResponse, const URLRequest& forRequest)
{
    if (directory.empty() || !detail::mayBeStored(forRequest, *cachedResponse.response)
        || cachedResponse.data.size() > capacity / 20)
        return;
    CachedURLResponse kept = cachedResponse;
    kept.varying = detail::varyingFields(forRequest, *kept.response);
    const std::string bytes = bytesOf(kept, keyOf(forRequest.url));
    if (bytes.size() > capacity / 20)
        return;
    const std::lock_guard lock(mutex);
    measure();
    const fs::path place = file(forRequest);
    std::error_code ignored;
    const auto before = fs::file_size(place, ignored);
    const std::uint64_t replaced = ignored ? 0 : before;
    detail::makePrivateFolders(directory);
    if (!writeFile(place, bytes, FileWriting::atomic))
        return;
    *used += bytes.size();
    *used -= std::min(*used, replaced);
    if (*used > capacity)
        makeRoom(capacity - capacity / 10); // not at every answer that comes then
}

void URLCache::removeCachedResponse(const URLRequest& forRequest)
{
    if (directory.empty())
        return;
    const std::lock_guard lock(mutex);
    std::error_code ignored;
    fs::remove(file(forRequest), ignored);
    used.reset();
}

void URLCache::removeAllCachedResponses()
{
    const std::lock_guard lock(mutex);
    makeRoom(0);
}

fs::path URLCache::file(const URLRequest& request) const
{
    const std::string key = keyOf(request.url);
    const detail::GText checksum(
        g_compute_checksum_for_string(G_CHECKSUM_SHA256, key.data(), static_cast<gssize>(key.size())));
    return directory / (checksum.get() + std::string(suffix));
}

/// Deletes those that were not used for longest, until no more than `bytes` are left. The mutex is held.
void URLCache::makeRoom(std::uint64_t bytes)
{
    auto entries = directory.empty() ? std::vector<Entry>() : entriesIn(directory);
    std::ranges::sort(entries, {}, &Entry::used);
    std::uint64_t left = 0;
    for (const Entry& entry : entries)
        left += entry.size;
    for (const Entry& entry : entries) {
        if (left <= bytes && bytes > 0)
            break;
        std::error_code failure;
        if (fs::remove(entry.file, failure); !failure)
            left -= entry.size;
    }
    used = left;
}

/// Learns what the files take, at first use. The mutex is held.
void URLCache::measure() const
{
    if (used)
        return;
    used = 0;
    if (!directory.empty())
        for (const Entry& entry : entriesIn(directory))
            *used += entry.size;
}

} // namespace LumoKit
