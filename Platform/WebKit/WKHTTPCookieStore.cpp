#include "../Foundation/EngineCookie.h"
#include "WKWebsiteDataStoreNative.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <algorithm>
#include <utility>

namespace LumoKit {

namespace {

/// What the engine is to complete. Its objects are kept until then, and a turn of the main loop longer: while it
/// completes, the engine still holds the cookie manager, which must not outlive the rest.
template <class Handler> struct Pending {
    Pending(detail::ObjectPtr<WebKitWebContext> context, Handler handler)
        : context(std::move(context))
        , handler(std::move(handler))
    {
    }
    Pending(const Pending&) = delete;
    Pending& operator=(const Pending&) = delete;
    ~Pending()
    {
        DispatchQueue::main()->async([kept = std::move(context)] { });
    }

    detail::ObjectPtr<WebKitWebContext> context;
    Handler handler;
};

using PendingCompletion = Pending<WKHTTPCookieStore::Completion>;
using PendingCookies = Pending<std::move_only_function<void(std::vector<HTTPCookie>)>>;

template <auto finish> void complete(GObject* manager, GAsyncResult* ended, gpointer data) noexcept
{
    const std::unique_ptr<PendingCompletion> pending(static_cast<PendingCompletion*>(data));
    detail::GErrorPtr ignored;
    finish(WEBKIT_COOKIE_MANAGER(manager), ended, ignored.out());
    if (pending->handler)
        pending->handler();
}

/// Completes what was not begun, after what was.
void completeWithNothing(GObject* manager, GAsyncResult* ended, gpointer data) noexcept
{
    complete<[](WebKitCookieManager* cookies, GAsyncResult* result, GError** error) {
        g_list_free_full(webkit_cookie_manager_get_cookies_finish(cookies, result, error),
            [](gpointer cookie) { soup_cookie_free(static_cast<SoupCookie*>(cookie)); });
    }>(manager, ended, data);
}

void completeWithCookies(GObject* manager, GAsyncResult* ended, gpointer data) noexcept
{
    const std::unique_ptr<PendingCookies> pending(static_cast<PendingCookies*>(data));
    detail::GErrorPtr ignored;
    GList* list =
        webkit_cookie_manager_get_all_cookies_finish(WEBKIT_COOKIE_MANAGER(manager), ended, ignored.out());
    std::vector<HTTPCookie> cookies;
    for (GList* item = list; item; item = item->next) {
        const detail::EngineCookie owned(static_cast<SoupCookie*>(item->data));
        if (auto cookie = detail::cookieOf(owned.get()))
            cookies.push_back(*std::move(cookie));
    }
    g_list_free(list);
    pending->handler(std::move(cookies));
}

bool areSame(const std::weak_ptr<WKHTTPCookieStoreObserver>& first,
    const std::weak_ptr<WKHTTPCookieStoreObserver>& second)
{
    return !first.owner_before(second) && !second.owner_before(first);
}

/// Gives a cookie to the engine. The order in which it answers is that of the questions, so that a cookie which is
/// not set is completed by asking for those of an address that has none.
void give(const WKHTTPCookieStore::Native& native, const detail::EngineCookie& cookie,
    WKHTTPCookieStore::Completion completionHandler)
{
    auto* pending = new PendingCompletion(native.context, std::move(completionHandler));
    if (cookie)
        webkit_cookie_manager_add_cookie(native.manager(), cookie.get(), nullptr,
            &complete<webkit_cookie_manager_add_cookie_finish>, pending);
    else
        webkit_cookie_manager_get_cookies(
            native.manager(), "http://invalid/", nullptr, &completeWithNothing, pending);
}

} // namespace

WKHTTPCookieStore::WKHTTPCookieStore(std::unique_ptr<Native> native)
    : native(std::move(native))
{
}

WKHTTPCookieStore::WKHTTPCookieStore() = default;

WKHTTPCookieStore::~WKHTTPCookieStore() = default;

void WKHTTPCookieStore::getAllCookies(
    std::move_only_function<void(std::vector<HTTPCookie> cookies)> completionHandler)
{
    assertMainThread();
    webkit_cookie_manager_get_all_cookies(native->manager(), nullptr, &completeWithCookies,
        new PendingCookies(native->context, std::move(completionHandler)));
}

void WKHTTPCookieStore::setCookie(const HTTPCookie& cookie, Completion completionHandler)
{
    assertMainThread();
    give(*native, detail::engineCookie(cookie), std::move(completionHandler));
}

void WKHTTPCookieStore::deleteCookie(const HTTPCookie& cookie, Completion completionHandler)
{
    assertMainThread();
    // The engine deletes only a cookie with the same value. One that has expired takes any away.
    detail::EngineCookie expired = detail::engineCookie(cookie);
    if (expired)
        soup_cookie_set_max_age(expired.get(), 0);
    give(*native, expired, std::move(completionHandler));
}

void WKHTTPCookieStore::add(const std::weak_ptr<WKHTTPCookieStoreObserver>& observer)
{
    assertMainThread();
    remove(observer);
    native->observers.push_back(observer);
    if (native->changed.isConnected())
        return;
    native->changed = detail::SignalConnection::connect<void(WebKitCookieManager*)>(
        native->manager(), "changed", [this](auto*) {
            const auto alive = weak_from_this().lock();
            std::erase_if(native->observers, [](const auto& known) { return known.expired(); });
            // One that is removed by another is not told any more, and one that is added not yet.
            for (const auto& known : std::vector(native->observers)) {
                const auto told = known.lock();
                if (told && std::ranges::any_of(native->observers, [&](const auto& still) {
                        return areSame(still, known);
                    }))
                    told->cookiesDidChange(*this);
            }
        });
}

void WKHTTPCookieStore::remove(const std::weak_ptr<WKHTTPCookieStoreObserver>& observer)
{
    assertMainThread();
    std::erase_if(native->observers, [&](const auto& known) { return areSame(known, observer); });
}

} // namespace LumoKit
