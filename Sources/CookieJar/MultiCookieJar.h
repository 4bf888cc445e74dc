#pragma once

#include <LumoKit/CookieJar/CookieJar.h>

namespace LumoKit {

/// Keeps several sets of cookies beyond the life of the process, such as one for each account, so that one web view
/// can be switched between them.
///
/// A set is stored under "cookies:" and its key, as it stands: keys that differ in letter case are different sets, and
/// the empty one is a key. A set is always replaced as a whole. Otherwise as `CookieJar`.
///
/// Ownership: held by `std::shared_ptr`. A jar keeps its storage, and nothing that is under way keeps the jar.
class MultiCookieJar : public NSObject {
public:
    explicit MultiCookieJar(std::shared_ptr<CookieJarStorage> storage);

    /// Stores all cookies of the view's data store as the set of a key. `completion` is called after that, on the
    /// same thread; it is also called if the jar is gone by then and nothing was stored.
    /// Thread: the main thread, where the completion is called.
    void persistCookies(
        const WKWebView& from, const std::string& withKey, std::move_only_function<void()> completion);

    /// Puts the set of a key, as it is stored at the time of the call, into the view's data store. With
    /// `resetExisting`, cookies, session and local storage, disk, memory and offline caches, and databases of the
    /// store are removed before that.
    ///
    /// `completion` is called as that of `CookieJar` is.
    /// Thread: the main thread.
    void injectCookies(const WKWebView& in, const std::string& withKey, bool resetExisting,
        std::move_only_function<void()> completion);

private:
    const std::shared_ptr<CookieJarStorage> storage;
};

/// A host's container of dependencies that has a jar of several sets of cookies.
class HasMultiCookieJar : public virtual ServiceInterface {
public:
    [[nodiscard]] virtual std::shared_ptr<MultiCookieJar> multiCookieJar() const = 0;
};

} // namespace LumoKit
