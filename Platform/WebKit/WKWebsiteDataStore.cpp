#include "../Foundation/UserFolders.h"
#include "Renderer.h"
#include "WKWebsiteDataStoreNative.h"

#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <utility>

namespace LumoKit {

namespace fs = std::filesystem;

using detail::ObjectPtr;

namespace {

constexpr std::array<std::pair<std::string_view, WebKitWebsiteDataTypes>, 11> engineTypes{{
    {WKWebsiteDataTypeCookies, WEBKIT_WEBSITE_DATA_COOKIES},
    {WKWebsiteDataTypeDiskCache, WEBKIT_WEBSITE_DATA_DISK_CACHE},
    {WKWebsiteDataTypeFetchCache, WEBKIT_WEBSITE_DATA_DOM_CACHE},
    {WKWebsiteDataTypeHashSalt, WEBKIT_WEBSITE_DATA_DEVICE_ID_HASH_SALT},
    {WKWebsiteDataTypeIndexedDBDatabases, WEBKIT_WEBSITE_DATA_INDEXEDDB_DATABASES},
    {WKWebsiteDataTypeLocalStorage, WEBKIT_WEBSITE_DATA_LOCAL_STORAGE},
    {WKWebsiteDataTypeMemoryCache, WEBKIT_WEBSITE_DATA_MEMORY_CACHE},
    {WKWebsiteDataTypeOfflineWebApplicationCache, WEBKIT_WEBSITE_DATA_OFFLINE_APPLICATION_CACHE},
    {WKWebsiteDataTypeServiceWorkerRegistrations, WEBKIT_WEBSITE_DATA_SERVICE_WORKER_REGISTRATIONS},
    {WKWebsiteDataTypeSessionStorage, WEBKIT_WEBSITE_DATA_SESSION_STORAGE},
    {WKWebsiteDataTypeWebSQLDatabases, WEBKIT_WEBSITE_DATA_WEBSQL_DATABASES},
}};

/// Before the engine makes its first context.
void prepareEngine()
{
    static_cast<void>(NSApplication::shared()); // connects to the desktop and names the program
    detail::chooseRenderer();
}

/// The folder of this application's stores; nothing where the user has no data folder.
std::optional<fs::path> storesFolder()
{
    const auto folder = detail::applicationFolder("XDG_DATA_HOME", ".local/share");
    return folder ? std::optional(*folder / "WebKit") : std::nullopt;
}

/// A name of a file for any identifier: itself where it is plain, and otherwise a checksum, so that names that
/// differ in letter case, or are longer than a file's name, stay apart on every file system.
std::string folderName(const std::string& identifier)
{
    const bool isPlain = identifier.size() <= 64 && std::ranges::all_of(identifier, [](char character) {
        return g_ascii_isdigit(character) || g_ascii_islower(character) || character == '-';
    });
    if (isPlain)
        return identifier;
    const detail::GText checksum(g_compute_checksum_for_string(
        G_CHECKSUM_SHA256, identifier.data(), static_cast<gssize>(identifier.size())));
    return "_" + std::string(checksum.get());
}

std::shared_ptr<WKWebsiteDataStore> makeStore(
    const std::optional<fs::path>& folder, std::optional<std::string> identifier)
{
    assertMainThread();
    prepareEngine();
    auto native = std::make_shared<WKWebsiteDataStore::Native>();
    native->identifier = std::move(identifier);
    if (folder) {
        detail::makePrivateFolders(*folder);
        const auto manager =
            ObjectPtr<WebKitWebsiteDataManager>::adopt(webkit_website_data_manager_new("base-data-directory",
                folder->c_str(), "base-cache-directory", (*folder / "Caches").c_str(), nullptr));
        native->context = ObjectPtr<WebKitWebContext>::adopt(
            webkit_web_context_new_with_website_data_manager(manager.get()));
        webkit_cookie_manager_set_persistent_storage(
            webkit_website_data_manager_get_cookie_manager(manager.get()), (*folder / "Cookies.db").c_str(),
            WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);
    } else {
        native->context = ObjectPtr<WebKitWebContext>::adopt(webkit_web_context_new_ephemeral());
    }
    // The engine would put what a page offers into the user's folders, under a name that the page chooses, and ask nobody.
    native->downloads =
        detail::SignalConnection::connect<void(WebKitWebContext*, WebKitDownload*)>(native->context.get(),
            "download-started", [](auto*, WebKitDownload* download) { webkit_download_cancel(download); });
    auto cookies = std::make_unique<WKHTTPCookieStore::Native>();
    cookies->context = native->context;
    native->cookieStore = std::make_shared<WKHTTPCookieStore>(std::move(cookies));
    return std::make_shared<WKWebsiteDataStore>(std::move(native));
}

/// Calls the completion when the last removal lets go of it.
struct Removal {
    Removal(std::shared_ptr<WKWebsiteDataStore::Native> store, std::move_only_function<void()> handler)
        : store(std::move(store))
        , handler(std::move(handler))
    {
    }
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;
    ~Removal()
    {
        if (handler)
            handler();
        DispatchQueue::main()->async(
            [kept = std::move(store)] { }); // not released while the engine completes
    }

    std::shared_ptr<WKWebsiteDataStore::Native> store;
    std::move_only_function<void()> handler;
};

void finishRemoval(GObject* manager, GAsyncResult* ended, gpointer data) noexcept
{
    const std::unique_ptr<std::shared_ptr<Removal>> removal(static_cast<std::shared_ptr<Removal>*>(data));
    detail::GErrorPtr ignored;
    webkit_website_data_manager_clear_finish(WEBKIT_WEBSITE_DATA_MANAGER(manager), ended, ignored.out());
}

void clear(const std::shared_ptr<Removal>& removal, guint types, GTimeSpan timespan)
{
    if (types != 0)
        webkit_website_data_manager_clear(removal->store->manager(),
            static_cast<WebKitWebsiteDataTypes>(types), timespan, nullptr, &finishRemoval,
            new std::shared_ptr<Removal>(removal));
}

} // namespace

WKWebsiteDataStore::WKWebsiteDataStore(std::shared_ptr<Native> native)
    : native(std::move(native))
{
}

WKWebsiteDataStore::WKWebsiteDataStore() = default;

WKWebsiteDataStore::~WKWebsiteDataStore() = default;

std::shared_ptr<WKWebsiteDataStore> WKWebsiteDataStore::defaultDataStore()
{
    // Never released: at the process's end the engine is already gone.
    static const auto& store = *new auto([] {
        prepareEngine();
        const auto folder = storesFolder();
        return makeStore(folder ? std::optional(*folder / "Default") : std::nullopt, std::nullopt);
    }());
    return store;
}

std::shared_ptr<WKWebsiteDataStore> WKWebsiteDataStore::nonPersistent()
{
    return makeStore(std::nullopt, std::nullopt);
}

std::shared_ptr<WKWebsiteDataStore> WKWebsiteDataStore::dataStore(const std::string& forIdentifier)
{
    assertMainThread();
    if (forIdentifier.empty())
        fatalError("A website data store needs an identifier");
    // Two stores of one folder would write over each other, so that one that is open is handed out again.
    static std::map<std::string, std::weak_ptr<WKWebsiteDataStore>> open;
    auto& known = open[forIdentifier];
    if (auto store = known.lock())
        return store;
    prepareEngine();
    const auto folder = storesFolder();
    auto store = makeStore(
        folder ? std::optional(*folder / "Stores" / folderName(forIdentifier)) : std::nullopt, forIdentifier);
    known = store;
    return store;
}

const std::set<std::string_view>& WKWebsiteDataStore::allWebsiteDataTypes()
{
    static const auto all = [] {
        std::set<std::string_view> names;
        for (const auto& [name, type] : engineTypes)
            names.insert(name);
        return names;
    }();
    return all;
}

bool WKWebsiteDataStore::isPersistent() const
{
    return !webkit_website_data_manager_is_ephemeral(native->manager());
}

const std::optional<std::string>& WKWebsiteDataStore::identifier() const
{
    return native->identifier;
}

const std::shared_ptr<WKHTTPCookieStore>& WKWebsiteDataStore::httpCookieStore() const
{
    return native->cookieStore;
}

void WKWebsiteDataStore::removeData(const std::set<std::string_view>& ofTypes, Date modifiedSince,
    std::move_only_function<void()> completionHandler)
{
    assertMainThread();
    guint types = 0;
    for (const auto& [name, type] : engineTypes)
        if (ofTypes.contains(name))
            types |= type;
    constexpr GTimeSpan everything = 0;
    GTimeSpan timespan = everything;
    if (modifiedSince.time_since_epoch().count() > 0) {
        const auto age = Date(std::chrono::system_clock::now()) - modifiedSince;
        timespan = std::chrono::ceil<std::chrono::microseconds>(age).count();
        if (timespan <= 0)
            types = 0;
    }
    const auto removal = std::make_shared<Removal>(native, std::move(completionHandler));
    clear(removal, types & WEBKIT_WEBSITE_DATA_COOKIES, everything);
    clear(removal, types & ~guint(WEBKIT_WEBSITE_DATA_COOKIES), timespan);
    if (types == 0)
        DispatchQueue::main()->async([removal] { });
}

} // namespace LumoKit
