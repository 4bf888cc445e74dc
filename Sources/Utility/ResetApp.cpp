#include "WebsiteData.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Dispatch/DispatchGroup.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/HTTPCookieStorage.h>
#include <LumoKit/Platform/Foundation/Process.h>
#include <LumoKit/Platform/Foundation/URLCache.h>
#include <LumoKit/Platform/Foundation/UserDefaults.h>
#include <LumoKit/Utility/ResetApp.h>

#include <memory>
#include <utility>

namespace LumoKit {

namespace detail {

void removeWebsiteData(WKWebsiteDataStore& from, std::function<void()> completion)
{
    const auto group = std::make_shared<DispatchGroup>();
    const Date everSince{}; // 1970
    const auto remove = [&](const std::set<std::string_view>& types) {
        group->enter();
        from.removeData(types, everSince, [group] { group->leave(); });
    };
    remove({WKWebsiteDataTypeDiskCache, WKWebsiteDataTypeMemoryCache,
        WKWebsiteDataTypeOfflineWebApplicationCache, WKWebsiteDataTypeCookies,
        WKWebsiteDataTypeSessionStorage, WKWebsiteDataTypeLocalStorage, WKWebsiteDataTypeWebSQLDatabases,
        WKWebsiteDataTypeIndexedDBDatabases});
    remove({WKWebsiteDataTypeFetchCache, WKWebsiteDataTypeServiceWorkerRegistrations});
    group->notify(DispatchQueue::main(), std::move(completion));
}

} // namespace detail

void resetWebStuff(std::function<void()> completion)
{
    URLCache::shared()->removeAllCachedResponses();
    const auto storage = HTTPCookieStorage::shared();
    for (const HTTPCookie& cookie : storage->cookies())
        storage->deleteCookie(cookie);
    detail::removeWebsiteData(*WKWebsiteDataStore::defaultDataStore(), std::move(completion));
}

void resetApp(std::function<void()> completion)
{
    const auto identifier = Bundle::main().bundleIdentifier();
    if (!identifier)
        fatalError("The application has no bundle identifier");
    UserDefaults::standard()->removePersistentDomain(*identifier);
    resetWebStuff(std::move(completion));
}

void quitApp()
{
    NSApplication::shared().terminate();
}

void relaunchApp()
{
    const std::string command = "sleep 0.2; open \"" + Bundle::main().bundlePath().string() + "\"";
    Process shell;
    shell.setLaunchPath("/bin/sh");
    shell.setArguments({"-c", command});
    shell.launch();
    NSApplication::shared().terminate();
}

} // namespace LumoKit
