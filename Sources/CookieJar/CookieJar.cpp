#include "StoredCookies.h"

#include <LumoKit/CookieJar/CookieJar.h>

#include <utility>

namespace LumoKit {

namespace {

const std::string storageKey = "cookies";

} // namespace

CookieJar::CookieJar(std::shared_ptr<CookieJarStorage> storage)
    : storage(std::move(storage))
{
}

void CookieJar::persistCookies(const WKWebView& from)
{
    persistCookies(*from.configuration()->websiteDataStore());
}

void CookieJar::persistCookies(WKWebsiteDataStore& from)
{
    from.httpCookieStore()->getAllCookies([weak = weak_from_this()](const std::vector<HTTPCookie>& cookies) {
        if (const auto jar = std::static_pointer_cast<CookieJar>(weak.lock()))
            detail::save(cookies, *jar->storage, storageKey);
    });
}

void CookieJar::injectCookies(
    const WKWebView& in, bool resetExisting, std::move_only_function<void()> completion)
{
    injectCookies(in.configuration()->websiteDataStore(), resetExisting, std::move(completion));
}

void CookieJar::injectCookies(const std::shared_ptr<WKWebsiteDataStore>& in, bool resetExisting,
    std::move_only_function<void()> completion)
{
    std::set<std::string_view> types;
    if (resetExisting) // a jar alone is put back at the next launch: caches and databases are still its own
        types = {WKWebsiteDataTypeCookies, WKWebsiteDataTypeSessionStorage, WKWebsiteDataTypeLocalStorage};
    detail::inject(detail::cookies(*storage, storageKey), in, std::move(types), "co.lumosuite.CookieJar",
        std::move(completion));
}

} // namespace LumoKit
