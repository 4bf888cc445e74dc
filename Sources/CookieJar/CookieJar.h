#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>
#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>
#include <LumoKit/Utility/ServiceInterface.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// A host's lasting store of bytes under text keys. What is in it signs the user in: it belongs where only the user
/// can read it.
///
/// Thread: `loadData` is called on the thread that injects, `saveData` on the main thread.
class CookieJarStorage {
public:
    virtual ~CookieJarStorage() = default;

    /// The bytes under a key; nothing if there are none, or none that can be read.
    [[nodiscard]] virtual std::optional<Data> loadData(const std::string& key) = 0;

    /// Keeps bytes under a key, in place of what was there.
    virtual void saveData(const std::string& key, const Data& data) = 0;
};

/// Keeps one set of a web view's cookies beyond the life of the process.
///
/// A set is stored under the key "cookies", as a keyed archive of the records that `serialize` makes. What is missing,
/// damaged or somebody else's reads as no cookies.
///
/// Ownership: held by `std::shared_ptr`. A jar keeps its storage, and nothing that is under way keeps the jar.
/// Thread: see the operations. None of them waits.
class CookieJar : public NSObject {
public:
    explicit CookieJar(std::shared_ptr<CookieJarStorage> storage);

    /// Stores all cookies of the view's data store, session cookies too, in place of the stored set, when the store
    /// has told them. Nothing happens if the jar is gone by then. What is too large for an archive (some seven
    /// thousand cookies) is not stored, and one line says so.
    /// Thread: the main thread.
    void persistCookies(const WKWebView& from);
    void persistCookies(WKWebsiteDataStore& from);

    /// Puts the stored cookies into the view's data store: those that are stored at the time of the call. With
    /// `resetExisting`, cookies, session storage and local storage of the store are removed before that; its caches
    /// and databases stay.
    ///
    /// `completion` is called once, on the main thread, after the store has taken the last cookie, also if there were
    /// none. A store that never answers means that it is never called. It must not be waited for on the main thread,
    /// where the store does its part.
    /// Thread: any that may use the storage and, for the view's form, the view.
    void injectCookies(
        const WKWebView& in, bool resetExisting, std::move_only_function<void()> completion = {});
    void injectCookies(const std::shared_ptr<WKWebsiteDataStore>& in, bool resetExisting,
        std::move_only_function<void()> completion = {});

private:
    const std::shared_ptr<CookieJarStorage> storage;
};

/// A host's container of dependencies that has a cookie jar.
class HasCookieJar : public virtual ServiceInterface {
public:
    [[nodiscard]] virtual std::shared_ptr<CookieJar> cookieJar() const = 0;
};

} // namespace LumoKit
