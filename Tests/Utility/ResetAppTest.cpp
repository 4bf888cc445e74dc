#include "../../Sources/Utility/WebsiteData.h"
#include "Support/CookieArchive.h"
#include "Support/Printing.h"
#include "Support/StandInStore.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestServer.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/HTTPCookieStorage.h>
#include <LumoKit/Utility/ResetApp.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace fs = std::filesystem;

namespace {

const std::string mark = "left-behind-by-the-page";

/// Everything that a page can leave behind, each with the mark in it.
const std::string leaveEverything = R"(
    localStorage.mark = ')"
    + mark + R"(';
    sessionStorage.mark = ')"
    + mark + R"(';
    document.cookie = 'mark=)"
    + mark + R"(; max-age=3600';
    (async () => {
        await new Promise((done, fail) => {
            const opening = indexedDB.open('base');
            opening.onupgradeneeded = () => opening.result.createObjectStore('store').put(')"
    + mark + R"(', 1);
            opening.onsuccess = () => { opening.result.close(); done(); };
            opening.onerror = fail;
        });
        const cache = await caches.open('cache');
        await cache.put('/cached', new Response(')"
    + mark + R"('));
        await navigator.serviceWorker.register('/worker.js');
        await navigator.serviceWorker.ready;
        document.title = 'left';
    })().catch(error => document.title = 'failed: ' + error))";

/// What is there of it: a list of names.
const std::string lookAround = R"(
    document.title = 'looking';
    (async () => {
        const found = [];
        if (localStorage.length) found.push('local storage');
        if (sessionStorage.length) found.push('session storage');
        if (document.cookie) found.push('cookie');
        if ((await indexedDB.databases()).length) found.push('database');
        if ((await caches.keys()).length) found.push('cache');
        if ((await navigator.serviceWorker.getRegistrations()).length) found.push('service worker');
        document.title = 'found: ' + found.join(', ');
    })().catch(error => document.title = 'failed: ' + error))";

struct ResetWebStuff : ::testing::Test {
    ResetWebStuff()
    {
        ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
        ::setenv("XDG_CACHE_HOME", (folder / "cache").c_str(), 1);
        server.serve(
            "/", {.body = "<title>page</title>" + mark, .headers = {{"Cache-Control", "max-age=3600"}}});
        server.serve(
            "/worker.js", {.type = "text/javascript", .body = "self.onfetch = () => {}; // " + mark});
    }

    [[nodiscard]] bool load(const WebPage& page)
    {
        page.navigation->events.clear();
        page.view->load(*URL::parse(server.origin() + "/"));
        return waitUntil([&] { return page.navigation->saw("finish"); });
    }

    static std::string titleAfter(
        const WebPage& page, const std::string& script, const std::string& beginning)
    {
        static_cast<void>(page.evaluate(script));
        std::string title;
        static_cast<void>(waitUntil([&] {
            title = *page.evaluate("document.title").first->asText();
            return title.starts_with(beginning) || title.starts_with("failed");
        }));
        return title;
    }

    /// The files below the test's folder that have the mark in them.
    std::vector<std::string> marked() const
    {
        std::vector<std::string> names;
        for (const auto& file : fs::recursive_directory_iterator(folder.path))
            if (file.is_regular_file() && readFile(file.path()).value_or("").contains(mark))
                names.push_back(fs::relative(file.path(), folder.path));
        return names;
    }

    TemporaryFolder folder;
    TestServer server;
};

TEST_F(ResetWebStuff, LeavesNothingOfAPageBehind)
{
    auto page = std::make_unique<WebPage>();
    ASSERT_TRUE(load(*page));
    ASSERT_EQ(titleAfter(*page, leaveEverything, "left"), "left");
    ASSERT_EQ(titleAfter(*page, lookAround, "found"),
        "found: local storage, session storage, cookie, database, cache, service worker");
    ASSERT_TRUE(waitForOthers([&] { return !marked().empty(); }));
    int completions = 0;
    resetWebStuff([&] { ++completions; });
    ASSERT_TRUE(waitUntil([&] { return completions > 0; }));
    EXPECT_TRUE(load(*page));
    EXPECT_EQ(titleAfter(*page, lookAround, "found"), "found:");
    page.reset();
    EXPECT_EQ(completions, 1);
}

TEST_F(ResetWebStuff, LeavesNothingOnDiskBehind)
{
    {
        WebPage page;
        ASSERT_TRUE(load(page));
        ASSERT_EQ(titleAfter(page, leaveEverything, "left"), "left");
        ASSERT_TRUE(waitForOthers([&] { return marked().size() >= 4; }));
    }
    bool done = false;
    resetWebStuff([&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return done; }));
    EXPECT_TRUE(waitForOthers([&] { return marked().empty(); })) << ::testing::PrintToString(marked());
}

TEST_F(ResetWebStuff, EmptiesTheSharedCookiesAndKeepsTheJars)
{
    const auto shared = HTTPCookieStorage::shared();
    shared->setCookie(named("a"));
    shared->setCookie(named("b", {{"Max-Age", "3600"}}));
    ASSERT_EQ(shared->cookies().size(), 2u);
    const auto storage = std::make_shared<MemoryStorage>();
    storage->entries["cookies"] = archiveOf({named("kept")});
    const CookieJar jar(storage);
    for (int round = 0; round < 2; ++round) { // the second time there are none
        bool onMain = false;
        bool done = false;
        resetWebStuff([&] {
            onMain = isMainThread();
            done = true;
        });
        EXPECT_FALSE(done);
        ASSERT_TRUE(waitUntil([&] { return done; }));
        EXPECT_TRUE(onMain);
        EXPECT_TRUE(shared->cookies().empty());
    }
    EXPECT_THAT(storedNames(storage->entries.at("cookies")), ::testing::ElementsAre("kept"));
}

TEST(RemoveWebsiteData, AsksTwiceAndWaitsForBoth)
{
    for (const bool firstEndsFirst : {true, false}) {
        StandInStore store;
        int completions = 0;
        detail::removeWebsiteData(store, [&] { ++completions; });
        ASSERT_EQ(store.removals.size(), 2u); // beside each other
        EXPECT_EQ(store.types[0],
            (std::set<std::string_view>{"WKWebsiteDataTypeDiskCache", "WKWebsiteDataTypeMemoryCache",
                "WKWebsiteDataTypeOfflineWebApplicationCache", "WKWebsiteDataTypeCookies",
                "WKWebsiteDataTypeSessionStorage", "WKWebsiteDataTypeLocalStorage",
                "WKWebsiteDataTypeWebSQLDatabases", "WKWebsiteDataTypeIndexedDBDatabases"}));
        EXPECT_EQ(store.types[1],
            (std::set<std::string_view>{
                "WKWebsiteDataTypeFetchCache", "WKWebsiteDataTypeServiceWorkerRegistrations"}));
        EXPECT_EQ(store.since, (std::vector{Date{}, Date{}}));
        store.removals[firstEndsFirst ? 0 : 1]();
        runPendingTurns();
        EXPECT_EQ(completions, 0);
        store.removals[firstEndsFirst ? 1 : 0]();
        EXPECT_EQ(completions, 0); // on the main queue
        ASSERT_TRUE(waitUntil([&] { return completions > 0; }));
        runPendingTurns();
        EXPECT_EQ(completions, 1);
    }
}

TEST(ResetApp, NeedsABundleIdentifier)
{
    EXPECT_DEATH(resetApp([] { }), "no bundle identifier");
}

} // namespace
