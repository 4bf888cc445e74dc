#include "Compare.h"
#include "Service.h"

#include <LumoKit/CookieJar/MultiCookieJar.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/WebKit/WKWebView.h>

#include <webkit2/webkit2.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

namespace LumoKit::Bench {

namespace {

namespace fs = std::filesystem;

/// Keeps entries in memory, and writes each into a file, as a host does in one way or another.
struct FileStorage : CookieJarStorage {
    std::optional<Data> loadData(const std::string& key) override { return entries[key]; }
    void saveData(const std::string& key, const Data& data) override
    {
        entries[key] = data;
        write(data);
        saved = true;
    }
    static void write(const Data& data)
    {
        std::ofstream file(fs::temp_directory_path() / "lumokit-bench-cookies", std::ios::binary);
        file.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
    }

    std::map<std::string, Data> entries;
    bool saved = false;
};

void runUntil(const bool& done)
{
    while (!done)
        g_main_context_iteration(nullptr, TRUE);
}

std::string nameOf(int number)
{
    return "cookie" + std::to_string(number);
}

const std::string content(60, 'v');

HTTPCookie kitCookie(int number)
{
    return HTTPCookie::create({{"Name", nameOf(number)}, {"Value", content}, {"Domain", "127.0.0.1"},
                                  {"Path", "/"}, {"Max-Age", 100'000}})
        .value();
}

/// A view on a store of its own, with a number of cookies in its jar.
class View {
public:
    explicit View(int cookies)
        : count(cookies)
    {
        configuration->setWebsiteDataStore(WKWebsiteDataStore::nonPersistent());
        view = std::make_shared<WKWebView>(CGRect{{}, {800, 600}}, configuration);
        bool ready = false;
        for (int number = 0; number < cookies; ++number)
            configuration->websiteDataStore()->httpCookieStore()->setCookie(
                kitCookie(number), [&, number] { ready = number + 1 == cookies; });
        runUntil(ready);
        persist();
    }

    double persist()
    {
        storage->saved = false;
        return 1e3 * secondsOf([&] {
            bool done = false;
            jar->persistCookies(*view, "key", [&] { done = true; });
            runUntil(done);
        });
    }
    double persistBare()
    {
        const Data& bytes = storage->entries.at("cookies:key");
        return 1e3 * secondsOf([&] {
            bool done = false;
            webkit_cookie_manager_get_all_cookies(
                cookieManager(), nullptr,
                +[](GObject* manager, GAsyncResult* result, gpointer flag) {
                    GList* all = webkit_cookie_manager_get_all_cookies_finish(
                        WEBKIT_COOKIE_MANAGER(manager), result, nullptr);
                    g_list_free_full(
                        all, [](gpointer cookie) { soup_cookie_free(static_cast<SoupCookie*>(cookie)); });
                    *static_cast<bool*>(flag) = true;
                },
                &done);
            runUntil(done);
            FileStorage::write(bytes);
        });
    }

    double inject(bool resetExisting = false)
    {
        return 1e3 * secondsOf([&] {
            bool done = false;
            jar->injectCookies(*view, "key", resetExisting, [&] { done = true; });
            runUntil(done);
        });
    }
    double injectBare()
    {
        return 1e3 * secondsOf([&] {
            struct Left {
                int count;
                bool done;
            } left{count, false};
            for (int number = 0; number < count; ++number) {
                SoupCookie* cookie =
                    soup_cookie_new(nameOf(number).c_str(), content.c_str(), "127.0.0.1", "/", 100'000);
                webkit_cookie_manager_add_cookie(
                    cookieManager(), cookie, nullptr,
                    +[](GObject* manager, GAsyncResult* result, gpointer data) {
                        webkit_cookie_manager_add_cookie_finish(
                            WEBKIT_COOKIE_MANAGER(manager), result, nullptr);
                        auto& waiting = *static_cast<Left*>(data);
                        waiting.done = --waiting.count == 0;
                    },
                    &left);
                soup_cookie_free(cookie);
            }
            runUntil(left.done);
        });
    }
    double removeBare()
    {
        return 1e3 * secondsOf([&] {
            bool done = false;
            webkit_website_data_manager_clear(
                dataManager(),
                static_cast<WebKitWebsiteDataTypes>(WEBKIT_WEBSITE_DATA_ALL
                    & ~(WEBKIT_WEBSITE_DATA_DOM_CACHE | WEBKIT_WEBSITE_DATA_SERVICE_WORKER_REGISTRATIONS)),
                0, nullptr,
                +[](GObject* manager, GAsyncResult* result, gpointer flag) {
                    webkit_website_data_manager_clear_finish(
                        WEBKIT_WEBSITE_DATA_MANAGER(manager), result, nullptr);
                    *static_cast<bool*>(flag) = true;
                },
                &done);
            runUntil(done);
        });
    }

    std::shared_ptr<WKWebViewConfiguration> configuration = std::make_shared<WKWebViewConfiguration>();
    std::shared_ptr<WKWebView> view;

private:
    [[nodiscard]] WebKitWebsiteDataManager* dataManager() const
    {
        return webkit_web_view_get_website_data_manager(WEBKIT_WEB_VIEW(gtkWidget(*view)));
    }
    [[nodiscard]] WebKitCookieManager* cookieManager() const
    {
        return webkit_website_data_manager_get_cookie_manager(dataManager());
    }

    const int count;
    std::shared_ptr<FileStorage> storage = std::make_shared<FileStorage>();
    std::shared_ptr<MultiCookieJar> jar = std::make_shared<MultiCookieJar>(storage);
};

/// The suite's page, shown again with the cookies of an account.
class Switch : public WKScriptMessageHandler {
public:
    static Switch& shared()
    {
        static const auto& made = *new auto([] {
            auto fresh = std::make_shared<Switch>();
            fresh->open.configuration->userContentController()->add(fresh, "inboxReady");
            return fresh;
        }());
        return *made;
    }

    double ours() { return open.inject(true) + show(); }
    double bare() { return open.removeBare() + open.injectBare() + show(); }

private:
    double show()
    {
        return 1e3 * secondsOf([&] {
            ready = false;
            open.view->load(*URL::parse(service->origin() + "/inbox/"));
            runUntil(ready);
        });
    }
    void userContentController(WKUserContentController&, const WKScriptMessage&) override { ready = true; }

    std::unique_ptr<LumoSuite::Service> service =
        LumoSuite::Service::start({.pages = LUMO_SERVICE_PAGES}).value();
    View open{20};
    bool ready = false;
};

Row inject(int count)
{
    const auto view = std::make_shared<std::optional<View>>();
    const auto get = [view, count]() -> View& { return *view ? **view : view->emplace(count); };
    return {.name = "cookies/inject-" + std::to_string(count),
        .unit = "ms",
        .peerName = "bare engine, all at once",
        .goal = 1.1,
        .ours = [get] { return get().inject(); },
        .peer = [get] { return get().injectBare(); }};
}

} // namespace

std::vector<Row> cookieRows()
{
    const auto view = std::make_shared<std::optional<View>>();
    const auto get = [view]() -> View& { return *view ? **view : view->emplace(1000); };
    return {inject(50), inject(300), inject(1000),
        {.name = "cookies/persist-1000",
            .unit = "ms",
            .peerName = "bare get-all, and writing the bytes",
            .goal = 1.3,
            .ours = [get] { return get().persist(); },
            .peer = [get] { return get().persistBare(); }},
        {.name = "cookies/switch",
            .unit = "ms",
            .peerName = "bare engine, and 10 ms",
            .goal = 1.0,
            .ours = [] { return Switch::shared().ours(); },
            .peer = [] { return Switch::shared().bare() + 10; }}};
}

} // namespace LumoKit::Bench
