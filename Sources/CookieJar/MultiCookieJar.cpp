#include "StoredCookies.h"

#include <LumoKit/CookieJar/MultiCookieJar.h>

#include <utility>

namespace LumoKit {

namespace {

std::string storageKey(const std::string& key)
{
    return "cookies:" + key;
}

} // namespace

MultiCookieJar::MultiCookieJar(std::shared_ptr<CookieJarStorage> storage)
    : storage(std::move(storage))
{
}

void MultiCookieJar::persistCookies(
    const WKWebView& from, const std::string& withKey, std::move_only_function<void()> completion)
{
    from.configuration()->websiteDataStore()->httpCookieStore()->getAllCookies(
        [weak = weak_from_this(), withKey, completion = std::move(completion)](
            const std::vector<HTTPCookie>& cookies) mutable {
            if (const auto jar = std::static_pointer_cast<MultiCookieJar>(weak.lock()))
                detail::save(cookies, *jar->storage, storageKey(withKey));
            completion();
        });
}

void MultiCookieJar::injectCookies(const WKWebView& in, const std::string& withKey, bool resetExisting,
    std::move_only_function<void()> completion)
{
    auto stored = detail::cookies(*storage, storageKey(withKey));
    std::set<std::string_view> types;
    if (resetExisting) // what the other account has left in caches and databases is not for this one to see
        types = {WKWebsiteDataTypeDiskCache, WKWebsiteDataTypeMemoryCache,
            WKWebsiteDataTypeOfflineWebApplicationCache, WKWebsiteDataTypeCookies,
            WKWebsiteDataTypeSessionStorage, WKWebsiteDataTypeLocalStorage, WKWebsiteDataTypeWebSQLDatabases,
            WKWebsiteDataTypeIndexedDBDatabases};
    detail::inject(std::move(stored), in.configuration()->websiteDataStore(), std::move(types),
        "co.lumosuite.MultiCookieJar", std::move(completion));
}

} // namespace LumoKit
