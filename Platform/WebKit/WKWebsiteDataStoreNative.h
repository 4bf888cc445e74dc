#pragma once

#include <LumoKit/Platform/Native/ObjectPtr.h>
#include <LumoKit/Platform/Native/SignalConnection.h>
#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>

#include <webkit2/webkit2.h>

namespace LumoKit {

/// The engine's side of a data store. It lives as long as the store, its cookies, its views, and whatever the
/// engine is about to complete.
struct WKWebsiteDataStore::Native {
    detail::ObjectPtr<WebKitWebContext> context;
    std::optional<std::string> identifier;
    std::set<std::string> schemes; // those that the context knows
    std::shared_ptr<WKHTTPCookieStore> cookieStore;
    detail::SignalConnection downloads;

    [[nodiscard]] WebKitWebsiteDataManager* manager() const
    {
        return webkit_web_context_get_website_data_manager(context.get());
    }
};

/// The engine's side of the cookies of a data store.
struct WKHTTPCookieStore::Native {
    detail::ObjectPtr<WebKitWebContext> context;
    std::vector<std::weak_ptr<WKHTTPCookieStoreObserver>> observers;
    detail::SignalConnection changed;

    [[nodiscard]] WebKitCookieManager* manager() const
    {
        return webkit_website_data_manager_get_cookie_manager(
            webkit_web_context_get_website_data_manager(context.get()));
    }
};

} // namespace LumoKit
