#pragma once

#include <LumoKit/Platform/WebKit/WKHTTPCookieStore.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace LumoKit {

inline constexpr std::string_view WKWebsiteDataTypeCookies = "WKWebsiteDataTypeCookies";
inline constexpr std::string_view WKWebsiteDataTypeDiskCache = "WKWebsiteDataTypeDiskCache";
inline constexpr std::string_view WKWebsiteDataTypeFetchCache = "WKWebsiteDataTypeFetchCache";
inline constexpr std::string_view WKWebsiteDataTypeHashSalt = "WKWebsiteDataTypeHashSalt";
inline constexpr std::string_view WKWebsiteDataTypeIndexedDBDatabases = "WKWebsiteDataTypeIndexedDBDatabases";
inline constexpr std::string_view WKWebsiteDataTypeLocalStorage = "WKWebsiteDataTypeLocalStorage";
inline constexpr std::string_view WKWebsiteDataTypeMemoryCache = "WKWebsiteDataTypeMemoryCache";
inline constexpr std::string_view WKWebsiteDataTypeOfflineWebApplicationCache =
    "WKWebsiteDataTypeOfflineWebApplicationCache";
inline constexpr std::string_view WKWebsiteDataTypeServiceWorkerRegistrations =
    "WKWebsiteDataTypeServiceWorkerRegistrations";
inline constexpr std::string_view WKWebsiteDataTypeSessionStorage = "WKWebsiteDataTypeSessionStorage";
inline constexpr std::string_view WKWebsiteDataTypeWebSQLDatabases = "WKWebsiteDataTypeWebSQLDatabases";

/// What pages leave behind: cookies, storage, databases and caches. Views whose configurations have the same
/// store share them.
///
/// A class that derives from it and overrides what is virtual can stand in for one where no view shows it.
///
/// Thread: the main thread; completions are called there.
class WKWebsiteDataStore : public NSObject {
public:
    /// The application's own store, which lasts. It is in a folder named after the application (its bundle
    /// identifier, or else the program), in the user's data folder. Where there is no such folder, it does not
    /// last.
    [[nodiscard]] static std::shared_ptr<WKWebsiteDataStore> defaultDataStore();

    /// A new store that keeps everything in memory, and ends with its last view.
    [[nodiscard]] static std::shared_ptr<WKWebsiteDataStore> nonPersistent();

    /// A store that lasts, in a folder of its own inside of the application's, with everything in it. The same
    /// identifier, any text but the empty one, gives the same store.
    /// Errors: stops the process for the empty text.
    [[nodiscard]] static std::shared_ptr<WKWebsiteDataStore> dataStore(const std::string& forIdentifier);

    /// All the types of data, those above.
    [[nodiscard]] static const std::set<std::string_view>& allWebsiteDataTypes();

    ~WKWebsiteDataStore() override;

    [[nodiscard]] bool isPersistent() const;
    /// Nothing for a store without one.
    [[nodiscard]] const std::optional<std::string>& identifier() const;

    [[nodiscard]] virtual const std::shared_ptr<WKHTTPCookieStore>& httpCookieStore() const;

    /// Removes the data of some types that was modified since a moment: `distantPast`, or any until 1970, for
    /// all of it. Cookies do not tell when they were modified, so that all of them are removed, except for a
    /// moment to come, since when nothing was. Names of no type are passed over.
    ///
    /// Removals of one store run beside each other, and may end in another order than that of their calls.
    /// Lifetime: the completion is called also when the store is released before, never before this returns.
    virtual void removeData(const std::set<std::string_view>& ofTypes, Date modifiedSince,
        std::move_only_function<void()> completionHandler);

    struct Native;
    /// For the platform layer itself.
    explicit WKWebsiteDataStore(std::shared_ptr<Native> native);
    [[nodiscard]] Native& nativeStore() const { return *native; }

protected:
    WKWebsiteDataStore();

private:
    const std::shared_ptr<Native> native; // null for one that stands in
};

} // namespace LumoKit
