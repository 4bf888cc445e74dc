#pragma once

#include <LumoKit/Platform/Foundation/HTTPCookie.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <functional>
#include <memory>
#include <vector>

namespace LumoKit {

class WKHTTPCookieStore;

/// Is told when the cookies of a store change, whoever changes them.
///
/// Thread: the main thread.
class WKHTTPCookieStoreObserver {
public:
    virtual ~WKHTTPCookieStoreObserver() = default;
    virtual void cookiesDidChange(WKHTTPCookieStore& inCookieStore) = 0;
};

/// The cookies of the pages of one data store.
///
/// Everything is carried out in the order in which it was asked for, and completed in that order, without one
/// waiting for the completion of another: many cookies are set fastest by asking for all of them at once.
///
/// A class that derives from it and overrides what is virtual can stand in for one where no view shows its cookies.
///
/// Thread: the main thread, where completions are called, never before the call that they are of returns.
/// Lifetime: completions are called also when the store is released before.
class WKHTTPCookieStore : public NSObject {
public:
    using Completion = std::move_only_function<void()>;

    ~WKHTTPCookieStore() override;

    /// All cookies that have not expired, in no order that is said.
    virtual void getAllCookies(
        std::move_only_function<void(std::vector<HTTPCookie> cookies)> completionHandler);

    /// Takes a cookie in, in place of one of the same name, domain and path. One that has expired takes that
    /// away.
    ///
    /// What the engine does not keep is not set, and completed all the same: a cookie for all of a public suffix
    /// such as ".com"; one with a control character, or with a ";" or a "=" where it would be read as another
    /// one; and texts that are no UTF-8.
    virtual void setCookie(const HTTPCookie& cookie, Completion completionHandler = {});

    /// Takes away the cookie of the same name, domain and path, whatever its value.
    virtual void deleteCookie(const HTTPCookie& cookie, Completion completionHandler = {});

    /// Tells `observer` of every change from now on. It is not kept.
    virtual void add(const std::weak_ptr<WKHTTPCookieStoreObserver>& observer);
    virtual void remove(const std::weak_ptr<WKHTTPCookieStoreObserver>& observer);

    struct Native;
    /// For the platform layer itself.
    explicit WKHTTPCookieStore(std::unique_ptr<Native> native);

protected:
    WKHTTPCookieStore();

private:
    const std::unique_ptr<Native> native; // null for one that stands in
};

} // namespace LumoKit
