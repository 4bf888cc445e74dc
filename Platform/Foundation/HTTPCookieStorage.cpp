#include "EngineCookie.h"
#include "HTTPCookieStorageNative.h"
#include "NetworkThread.h"
#include "UserFolders.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <ranges>
#include <utility>

namespace LumoKit {

namespace fs = std::filesystem;

using detail::NetworkThread;
using detail::ObjectPtr;

namespace {

// RFC 6265, section 6.1, asks for 50 and 3000 at least.
constexpr std::size_t mostOfADomain = 180;
constexpr std::size_t mostOfAll = 3000;

using GURI = std::unique_ptr<GUri, detail::FreedBy<g_uri_unref>>;

/// The cookies of a list that the jar gave away.
std::vector<detail::EngineCookie> taken(GSList* list)
{
    std::vector<detail::EngineCookie> cookies;
    for (GSList* item = list; item; item = item->next)
        cookies.emplace_back(static_cast<SoupCookie*>(item->data));
    g_slist_free(list);
    return cookies;
}

std::vector<HTTPCookie> converted(const std::vector<detail::EngineCookie>& cookies)
{
    const Date now = std::chrono::system_clock::now();
    std::vector<HTTPCookie> all;
    for (const auto& cookie : cookies)
        if (auto read = detail::cookieOf(cookie.get());
            read && (!read->expiresDate() || *read->expiresDate() > now))
            all.push_back(*std::move(read));
    return all;
}

/// When a cookie ends, in seconds since 1970; those of the session outlive all others.
gint64 endOf(const detail::EngineCookie& cookie)
{
    GDateTime* expires = soup_cookie_get_expires(cookie.get());
    return expires ? g_date_time_to_unix(expires) : std::numeric_limits<gint64>::max();
}

/// Whether SQLite can read all of a database, or there is none yet.
bool isReadable(const fs::path& file)
{
    sqlite3* opened = nullptr;
    const bool good =
        sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr)
            == SQLITE_OK
        && sqlite3_exec(
               opened, "PRAGMA quick_check",
               [](void*, int, char** row, char**) {
                   return row[0] && std::string_view(row[0]) == "ok" ? 0 : 1;
               },
               nullptr, nullptr)
            == SQLITE_OK;
    sqlite3_close(opened);
    return good;
}

ObjectPtr<SoupCookieJar> sharedJar()
{
    const auto folder = detail::applicationFolder("XDG_DATA_HOME", ".local/share");
    if (!folder)
        return ObjectPtr<SoupCookieJar>::adopt(soup_cookie_jar_new());
    detail::makePrivateFolders(*folder / "Network");
    const fs::path file = *folder / "Network" / "Cookies.db";
    if (!isReadable(file)) {
        // Servers give new ones; what is wrong with the file is kept for whoever looks for it.
        std::error_code ignored;
        fs::rename(file, file.string() + ".damaged", ignored);
    }
    if (!isReadable(file))
        return ObjectPtr<SoupCookieJar>::adopt(soup_cookie_jar_new());
    return ObjectPtr<SoupCookieJar>::adopt(soup_cookie_jar_db_new(file.c_str(), FALSE));
}

} // namespace

HTTPCookieStorage::Native::Native(ObjectPtr<SoupCookieJar> made)
    : jar(std::move(made))
    , self(std::make_shared<Native*>(this))
{
    for (const auto& cookie : taken(soup_cookie_jar_all_cookies(jar.get())))
        count(nullptr, cookie.get());
    changed = detail::SignalConnection::connect<void(SoupCookieJar*, SoupCookie*, SoupCookie*)>(jar.get(),
        "changed", [this](SoupCookieJar*, SoupCookie* before, SoupCookie* after) { count(before, after); });
}

void HTTPCookieStorage::Native::count(SoupCookie* before, SoupCookie* after)
{
    if (before) {
        const auto known = countOfDomain.find(soup_cookie_get_domain(before));
        if (known != countOfDomain.end() && --known->second == 0)
            countOfDomain.erase(known);
        total -= total > 0;
    }
    if (!after)
        return;
    const std::string domain = soup_cookie_get_domain(after);
    ++total;
    const bool isDomainFull = ++countOfDomain[domain] == mostOfADomain + 1;
    if (!isDomainFull && total != mostOfAll + 1)
        return;
    // Not now, as the jar is in the midst of its change.
    NetworkThread::shared().async([weak = std::weak_ptr(self), domain] {
        if (const auto native = weak.lock()) {
            (*native)->makeRoom(domain, mostOfADomain);
            (*native)->makeRoom(std::nullopt, mostOfAll);
        }
    });
}

void HTTPCookieStorage::Native::makeRoom(const std::optional<std::string>& domain, std::size_t most)
{
    auto cookies = taken(soup_cookie_jar_all_cookies(jar.get()));
    if (domain)
        std::erase_if(
            cookies, [&](const auto& cookie) { return soup_cookie_get_domain(cookie.get()) != *domain; });
    if (cookies.size() <= most)
        return;
    std::ranges::stable_sort(cookies, {}, &endOf);
    for (const auto& cookie : cookies | std::views::take(cookies.size() - most))
        soup_cookie_jar_delete_cookie(jar.get(), cookie.get());
}

HTTPCookieStorage::HTTPCookieStorage(std::unique_ptr<Native> native)
    : native(std::move(native))
{
}

HTTPCookieStorage::~HTTPCookieStorage()
{
    NetworkThread::shared().async([last = std::move(native)] { });
}

std::shared_ptr<HTTPCookieStorage> HTTPCookieStorage::shared()
{
    // Never released: sessions may use it while the process ends.
    static const auto& storage = *new auto(std::make_shared<HTTPCookieStorage>(
        NetworkThread::shared().sync([] { return std::make_unique<Native>(sharedJar()); })));
    return storage;
}

std::shared_ptr<HTTPCookieStorage> HTTPCookieStorage::inMemory()
{
    return std::make_shared<HTTPCookieStorage>(NetworkThread::shared().sync(
        [] { return std::make_unique<Native>(ObjectPtr<SoupCookieJar>::adopt(soup_cookie_jar_new())); }));
}

std::vector<HTTPCookie> HTTPCookieStorage::cookies() const
{
    return NetworkThread::shared().sync(
        [&] { return converted(taken(soup_cookie_jar_all_cookies(native->jar.get()))); });
}

std::vector<HTTPCookie> HTTPCookieStorage::cookies(const URL& forURL) const
{
    return NetworkThread::shared().sync([&]() -> std::vector<HTTPCookie> {
        const GURI address(g_uri_parse(
            forURL.absoluteString().c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr));
        if (!address || !g_uri_get_host(address.get()))
            return {};
        constexpr gboolean withHTTPOnly = TRUE;
        return converted(
            taken(soup_cookie_jar_get_cookie_list(native->jar.get(), address.get(), withHTTPOnly)));
    });
}

void HTTPCookieStorage::setCookie(const HTTPCookie& cookie)
{
    NetworkThread::shared().sync([&] {
        if (detail::EngineCookie made = detail::engineCookie(cookie))
            soup_cookie_jar_add_cookie(native->jar.get(), made.release());
    });
}

void HTTPCookieStorage::deleteCookie(const HTTPCookie& cookie)
{
    NetworkThread::shared().sync([&] {
        // The jar deletes only a cookie with the same value. One that has expired takes any away.
        if (detail::EngineCookie expired = detail::engineCookie(cookie)) {
            soup_cookie_set_max_age(expired.get(), 0);
            return soup_cookie_jar_add_cookie(native->jar.get(), expired.release());
        }
        // A server may have set what is not taken from the application.
        for (const auto& known : taken(soup_cookie_jar_all_cookies(native->jar.get())))
            if (const auto read = detail::cookieOf(known.get()); read && read->name() == cookie.name()
                && read->domain() == cookie.domain() && read->path() == cookie.path())
                soup_cookie_jar_delete_cookie(native->jar.get(), known.get());
    });
}

} // namespace LumoKit
