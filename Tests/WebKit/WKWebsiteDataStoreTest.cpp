#include "Support/CookieStore.h"
#include "Support/Printing.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestServer.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/WebKit/WKWebsiteDataStore.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace fs = std::filesystem;

namespace {

Date inAnHour()
{
    return std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now()) + std::chrono::hours(1);
}

/// Each test has a data folder of its own, which the stores that it opens are in.
struct WKWebsiteDataStoreTest : ::testing::Test {
    WKWebsiteDataStoreTest() { ::setenv("XDG_DATA_HOME", folder.path.c_str(), 1); }

    static std::unique_ptr<WebPage> page(const std::shared_ptr<WKWebsiteDataStore>& store)
    {
        auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setWebsiteDataStore(store);
        return std::make_unique<WebPage>(configuration);
    }

    bool show(const WebPage& page)
    {
        server.serveHTML("/", "page");
        page.navigation->events.clear();
        page.view->load(*URL::parse(server.origin() + "/"));
        return waitUntil([&] { return page.navigation->saw("finish"); });
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& file : fs::recursive_directory_iterator(folder.path))
            names.push_back(fs::relative(file.path(), folder.path));
        return names;
    }

    TemporaryFolder folder;
    TestServer server;
};

TEST_F(WKWebsiteDataStoreTest, HasOneDefaultThatLasts)
{
    const auto store = WKWebsiteDataStore::defaultDataStore();
    EXPECT_EQ(store, WKWebsiteDataStore::defaultDataStore());
    EXPECT_TRUE(store->isPersistent());
    EXPECT_EQ(store->identifier(), std::nullopt);
    EXPECT_EQ(std::make_shared<WKWebViewConfiguration>()->websiteDataStore(), store);
    EXPECT_EQ(WebPage().view->configuration()->websiteDataStore(), store);
    ASSERT_TRUE(setAndWait(*store->httpCookieStore(), makeCookie({{"Expires", inAnHour()}})));
    EXPECT_TRUE(waitUntil([&] {
        return std::ranges::any_of(
            files(), [](const auto& name) { return name.ends_with("/WebKit/Default/Cookies.db"); });
    }));
}

TEST_F(WKWebsiteDataStoreTest, KeepsNothingOfAStoreInMemory)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    const auto other = WKWebsiteDataStore::nonPersistent();
    EXPECT_FALSE(store->isPersistent());
    EXPECT_EQ(store->identifier(), std::nullopt);
    EXPECT_NE(store, other);
    ASSERT_TRUE(setAndWait(*store->httpCookieStore(), makeCookie({{"Expires", inAnHour()}})));
    EXPECT_EQ(cookiesOf(*store->httpCookieStore()).size(), 1u);
    EXPECT_TRUE(cookiesOf(*other->httpCookieStore()).empty());
    EXPECT_TRUE(files().empty());
}

TEST_F(WKWebsiteDataStoreTest, IsTheSameForTheSameIdentifierAndAnotherForAnother)
{
    const auto store = WKWebsiteDataStore::dataStore("ada@example.com");
    EXPECT_EQ(store, WKWebsiteDataStore::dataStore("ada@example.com"));
    EXPECT_EQ(store->identifier(), "ada@example.com");
    EXPECT_TRUE(store->isPersistent());
    const auto other = WKWebsiteDataStore::dataStore("Ada@example.com");
    EXPECT_NE(store, other);
    EXPECT_NE(store, WKWebsiteDataStore::defaultDataStore());
    ASSERT_TRUE(setAndWait(*store->httpCookieStore(), makeCookie({{"Expires", inAnHour()}})));
    EXPECT_EQ(cookiesOf(*store->httpCookieStore()).size(), 1u);
    EXPECT_TRUE(cookiesOf(*other->httpCookieStore()).empty());
    EXPECT_TRUE(cookiesOf(*WKWebsiteDataStore::defaultDataStore()->httpCookieStore()).empty());
}

TEST_F(WKWebsiteDataStoreTest, StaysInItsFolderWhateverItsIdentifierSays)
{
    for (const std::string& identifier :
        {std::string("plain-1"), std::string("../../escape"), std::string("."), std::string(".."),
            std::string("/"), std::string("a\0b", 3), std::string("\xFF"), std::string(5000, 'x')}) {
        const auto store = WKWebsiteDataStore::dataStore(identifier);
        EXPECT_EQ(store->identifier(), identifier);
        ASSERT_TRUE(setAndWait(*store->httpCookieStore(), makeCookie({{"Expires", inAnHour()}})));
        EXPECT_EQ(cookiesOf(*store->httpCookieStore()).size(), 1u);
    }
    int stores = 0;
    for (const auto& application : fs::directory_iterator(folder.path)) {
        struct stat status{};
        ASSERT_EQ(::stat((application.path() / "WebKit/Stores").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0700u);
        for (const auto& store : fs::directory_iterator(application.path() / "WebKit/Stores")) {
            ++stores;
            EXPECT_TRUE(fs::exists(store.path() / "Cookies.db")) << store.path();
        }
    }
    EXPECT_EQ(stores, 8);
    EXPECT_DEATH(static_cast<void>(WKWebsiteDataStore::dataStore("")), "needs an identifier");
}

TEST_F(WKWebsiteDataStoreTest, HasItsLastingCookiesAndItsStorageAgainWhenItIsOpenedAgain)
{
    for (int round = 0; round < 3; ++round) {
        auto store = WKWebsiteDataStore::dataStore("again");
        const auto cookies = cookiesOf(*store->httpCookieStore());
        ASSERT_EQ(cookies.size(), static_cast<std::size_t>(round)) << round;
        auto view = page(store);
        ASSERT_TRUE(show(*view));
        EXPECT_EQ(view->evaluate("Number(localStorage.rounds || 0)").first, Value(round));
        static_cast<void>(view->evaluate("localStorage.rounds = " + std::to_string(round + 1)));
        ASSERT_TRUE(setAndWait(*store->httpCookieStore(),
            makeCookie({{"Name", "lasting" + std::to_string(round)}, {"Expires", inAnHour()}})));
        ASSERT_TRUE(setAndWait(*store->httpCookieStore(), makeCookie({{"Name", "session"}})));
        view.reset();
        const std::weak_ptr released = store;
        store.reset();
        ASSERT_TRUE(waitUntil([&] { return released.expired(); }));
    }
}

TEST_F(WKWebsiteDataStoreTest, SharesCookiesAndStorageBetweenItsViewsAlone)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    const auto first = page(store);
    const auto second = page(store);
    const auto other = page(WKWebsiteDataStore::nonPersistent());
    for (const auto* view : {&first, &second, &other})
        ASSERT_TRUE(show(**view));
    static_cast<void>(first->evaluate("localStorage.mark = 'here'; document.cookie = 'mark=here'"));
    EXPECT_TRUE(waitUntil([&] {
        return second->evaluate("localStorage.mark + document.cookie").first == Value("heremark=here");
    }));
    EXPECT_EQ(other->evaluate("localStorage.mark + document.cookie").first, Value("undefined"));
}

TEST_F(WKWebsiteDataStoreTest, KeepsStoresApartThatShareAPool)
{
    auto pool = std::make_shared<WKProcessPool>();
    std::vector<std::unique_ptr<WebPage>> pages;
    const auto store = WKWebsiteDataStore::nonPersistent();
    for (const auto& of : {store, WKWebsiteDataStore::nonPersistent(), store}) {
        auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setProcessPool(pool);
        configuration->setWebsiteDataStore(of);
        pages.push_back(std::make_unique<WebPage>(configuration));
        ASSERT_TRUE(show(*pages.back()));
    }
    static_cast<void>(pages[0]->evaluate("document.cookie = 'mark=here'"));
    EXPECT_TRUE(waitUntil([&] { return pages[2]->evaluate("document.cookie").first == Value("mark=here"); }));
    EXPECT_EQ(pages[1]->evaluate("document.cookie").first, Value(""));
}

TEST_F(WKWebsiteDataStoreTest, AnswersSchemesOfEachStoresViews)
{
    struct Answer : WKURLSchemeHandler {
        void start(WKWebView&, const std::shared_ptr<WKURLSchemeTask>& task) override
        {
            task->didReceive({.mimeType = "text/html"});
            task->didReceive("<title>answered</title>");
            task->didFinish();
        }
    };
    for (int round = 0; round < 2; ++round) {
        auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setWebsiteDataStore(WKWebsiteDataStore::nonPersistent());
        configuration->setURLSchemeHandler(std::make_shared<Answer>(), "lumo-test");
        const WebPage view(configuration);
        view.view->load(*URL::parse("lumo-test://host/"));
        ASSERT_TRUE(waitUntil([&] { return view.navigation->saw("finish"); }));
        EXPECT_EQ(view.evaluate("document.title").first, Value("answered")) << round;
    }
}

TEST_F(WKWebsiteDataStoreTest, NamesAllItsTypes)
{
    EXPECT_EQ(WKWebsiteDataStore::allWebsiteDataTypes(),
        (std::set<std::string_view>{"WKWebsiteDataTypeCookies", "WKWebsiteDataTypeDiskCache",
            "WKWebsiteDataTypeFetchCache", "WKWebsiteDataTypeHashSalt", "WKWebsiteDataTypeIndexedDBDatabases",
            "WKWebsiteDataTypeLocalStorage", "WKWebsiteDataTypeMemoryCache",
            "WKWebsiteDataTypeOfflineWebApplicationCache", "WKWebsiteDataTypeServiceWorkerRegistrations",
            "WKWebsiteDataTypeSessionStorage", "WKWebsiteDataTypeWebSQLDatabases"}));
}

TEST_F(WKWebsiteDataStoreTest, RemovesTheTypesThatItIsAskedForAndNoOthers)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    const auto view = page(store);
    const auto state = [&] {
        EXPECT_TRUE(show(*view)); // a fresh page, which asks the store anew
        view->view->evaluateJavaScript(R"(
            indexedDB.databases().then(list => webkit.messageHandlers.test.postMessage(
                [document.cookie != '', 'mark' in localStorage, 'mark' in sessionStorage, list.length > 0].join(' '))))");
        const auto message = view->messageAfter("0");
        return message ? message->description() : "no answer";
    };
    const auto fill = [&] {
        EXPECT_TRUE(show(*view));
        EXPECT_TRUE(
            view->messageAfter(R"(
            document.cookie = 'mark=1'; localStorage.mark = 1; sessionStorage.mark = 1;
            var request = indexedDB.open('mark', 1);
            request.onsuccess = () => { request.result.close(); webkit.messageHandlers.test.postMessage('filled'); })")
                .has_value());
    };
    const std::pair<std::set<std::string_view>, std::string> cases[]{
        {{}, "true true true true"},
        {{"WKWebsiteDataTypeOfAnotherKind"}, "true true true true"},
        {{WKWebsiteDataTypeCookies}, "false true true true"},
        {{WKWebsiteDataTypeLocalStorage}, "true false true true"},
        {{WKWebsiteDataTypeSessionStorage}, "true true false true"},
        {{WKWebsiteDataTypeIndexedDBDatabases}, "true true true false"},
        {{WKWebsiteDataTypeCookies, WKWebsiteDataTypeSessionStorage, WKWebsiteDataTypeLocalStorage},
            "false false false true"},
        {WKWebsiteDataStore::allWebsiteDataTypes(), "false false false false"},
    };
    for (const auto& [types, expected] : cases) {
        fill();
        ASSERT_TRUE(removeAndWait(*store, types));
        EXPECT_EQ(state(), expected) << types.size();
    }
}

TEST_F(WKWebsiteDataStoreTest, RemovesWhatWasModifiedSinceAMoment)
{
    using Moment = std::chrono::seconds;
    const Date now = std::chrono::system_clock::now();
    const auto store = WKWebsiteDataStore::nonPersistent();
    const auto view = page(store);
    const auto reader = page(store);
    ASSERT_TRUE(show(*view) && show(*reader));
    const auto isThere = [](const WebPage& in) {
        return in.evaluate("'mark' in localStorage").first == Value(true);
    };
    const std::pair<Date, bool> cases[]{{distantPast, true}, {Date(Moment(-5)), true},
        {Date(Moment(0)), true}, {now - std::chrono::hours(1), true}, {now + std::chrono::hours(1), false}};
    for (const auto& [since, isRemoved] : cases) {
        static_cast<void>(view->evaluate("localStorage.mark = 1"));
        // A page writes to its own copy, which reaches the store a moment later, and from there other pages.
        ASSERT_TRUE(waitUntil([&] { return isThere(*reader); }));
        ASSERT_TRUE(setAndWait(*store->httpCookieStore(), makeCookie()));
        ASSERT_TRUE(removeAndWait(*store, WKWebsiteDataStore::allWebsiteDataTypes(), since));
        EXPECT_EQ(cookiesOf(*store->httpCookieStore()).empty(), isRemoved) << Value(since).description();
        ASSERT_TRUE(show(*view));
        for (const auto* shown : {view.get(), reader.get()}) // nor do their copies follow at once
            EXPECT_TRUE(isRemoved ? waitUntil([&] { return !isThere(*shown); }) : isThere(*shown))
                << Value(since).description();
    }
}

TEST_F(WKWebsiteDataStoreTest, CompletesARemovalOnTheMainThreadOnceAndNeverAtOnce)
{
    auto store = WKWebsiteDataStore::nonPersistent();
    int completions = 0;
    const auto complete = [&] {
        EXPECT_TRUE(isMainThread());
        ++completions;
    };
    store->removeData({}, distantPast, complete);
    store->removeData(
        {WKWebsiteDataTypeCookies}, Date(std::chrono::system_clock::now()) - std::chrono::hours(1), complete);
    store->removeData(WKWebsiteDataStore::allWebsiteDataTypes(), distantPast, complete);
    store->removeData(WKWebsiteDataStore::allWebsiteDataTypes(),
        Date(std::chrono::system_clock::now()) - std::chrono::hours(1), complete);
    store->removeData({WKWebsiteDataTypeCookies}, distantPast, {});
    store.reset();
    EXPECT_EQ(completions, 0);
    EXPECT_TRUE(waitUntil([&] { return completions == 4; }));
    runPendingTurns();
    EXPECT_EQ(completions, 4);
}

TEST_F(WKWebsiteDataStoreTest, EndsWithItsLastView)
{
    auto store = WKWebsiteDataStore::nonPersistent();
    auto view = page(store);
    ASSERT_TRUE(show(*view));
    const std::weak_ptr weak = store;
    const std::weak_ptr cookies = store->httpCookieStore();
    store.reset();
    EXPECT_FALSE(weak.expired());
    view.reset();
    EXPECT_TRUE(waitUntil([&] { return weak.expired() && cookies.expired(); }));
}

} // namespace
