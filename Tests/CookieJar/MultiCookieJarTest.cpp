#include "Support/CookieArchive.h"
#include "Support/Printing.h"
#include "Support/StandInStore.h"
#include "Support/TestServer.h"
#include "Support/WebPage.h"

#include <LumoKit/CookieJar/MultiCookieJar.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;
using ::testing::ElementsAre;

namespace {

/// A view over a store of its own, and a jar.
struct MultiCookieJarTest : ::testing::Test {
    [[nodiscard]] bool persist(const std::string& key)
    {
        bool done = false;
        jar->persistCookies(*page.view, key, [&] { done = true; });
        return waitUntil([&] { return done; });
    }
    [[nodiscard]] bool inject(const std::string& key, bool resetExisting)
    {
        bool done = false;
        jar->injectCookies(*page.view, key, resetExisting, [&] { done = true; });
        return waitUntil([&] { return done; });
    }
    /// From now on the view's configuration names a store that the test answers for.
    std::shared_ptr<StandInStore> standIn()
    {
        auto made = std::make_shared<StandInStore>();
        page.configuration->setWebsiteDataStore(made);
        return made;
    }

    static std::shared_ptr<WKWebViewConfiguration> configurationOf(std::shared_ptr<WKWebsiteDataStore> store)
    {
        auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setWebsiteDataStore(std::move(store));
        return configuration;
    }

    std::shared_ptr<MemoryStorage> storage = std::make_shared<MemoryStorage>();
    std::shared_ptr<MultiCookieJar> jar = std::make_shared<MultiCookieJar>(storage);
    std::shared_ptr<WKWebsiteDataStore> store = WKWebsiteDataStore::nonPersistent();
    WebPage page{configurationOf(store)};
};

TEST_F(MultiCookieJarTest, KeepsASetAKey)
{
    auto& cookies = *store->httpCookieStore();
    ASSERT_TRUE(setAndWait(cookies, named("first")));
    ASSERT_TRUE(persist("ada@example.com"));
    ASSERT_TRUE(setAndWait(cookies, named("second")));
    cookies.deleteCookie(named("first"));
    ASSERT_TRUE(persist("Ada@example.com"));
    ASSERT_TRUE(persist("")); // a key as any other
    std::vector<std::string> entries;
    for (const auto& [key, data] : storage->entries)
        entries.push_back(key);
    EXPECT_THAT(entries, ElementsAre("cookies:", "cookies:Ada@example.com", "cookies:ada@example.com"));
    ASSERT_TRUE(inject("ada@example.com", true));
    EXPECT_THAT(namesOf(cookiesOf(cookies)), ElementsAre("first"));
    ASSERT_TRUE(inject("Ada@example.com", true));
    EXPECT_THAT(namesOf(cookiesOf(cookies)), ElementsAre("second"));
    ASSERT_TRUE(inject("", true));
    EXPECT_THAT(namesOf(cookiesOf(cookies)), ElementsAre("second"));
}

TEST_F(MultiCookieJarTest, DoesNotEscapeKeys)
{
    const auto standing = standIn();
    for (const std::string& key :
        {std::string("a/b c%20ä"), std::string("a\0b", 3), std::string(1000, 'k')}) {
        jar->persistCookies(*page.view, key, [] { });
        standing->cookies->questions.back()({named("sid")});
        EXPECT_TRUE(storage->entries.contains("cookies:" + key));
    }
}

TEST_F(MultiCookieJarTest, ReplacesASetAsAWhole)
{
    const auto standing = standIn();
    for (const auto& set : {std::vector{named("a"), named("b"), named("a")}, std::vector{named("c")}}) {
        jar->persistCookies(*page.view, "key", [] { });
        standing->cookies->questions.back()(set);
        EXPECT_EQ(storedNames(storage->entries.at("cookies:key")), namesOf(set));
    }
}

TEST_F(MultiCookieJarTest, CompletesAfterItHasStored)
{
    const auto standing = standIn();
    bool stored = false;
    jar->persistCookies(
        *page.view, "key", [&] { stored = isMainThread() && storage->entries.contains("cookies:key"); });
    EXPECT_TRUE(storage->entries.empty());
    standing->cookies->questions[0]({});
    EXPECT_TRUE(stored); // within the answer
}

TEST_F(MultiCookieJarTest, CompletesWhenItIsGoneBeforeTheAnswer)
{
    const auto standing = standIn();
    int completions = 0;
    jar->persistCookies(*page.view, "key", [&] { ++completions; });
    const std::weak_ptr gone = jar;
    jar.reset();
    ASSERT_TRUE(gone.expired());
    standing->cookies->questions[0]({named("late")});
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(storage->entries.empty());
}

TEST_F(MultiCookieJarTest, AsksForTheRemovalOfExactlyEightTypesOfAllTimes)
{
    const auto standing = standIn();
    bool done = false;
    jar->injectCookies(*page.view, "never stored", true, [&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return standing->removals.size() == 1; }));
    EXPECT_EQ(standing->types[0],
        (std::set<std::string_view>{"WKWebsiteDataTypeDiskCache", "WKWebsiteDataTypeMemoryCache",
            "WKWebsiteDataTypeOfflineWebApplicationCache", "WKWebsiteDataTypeCookies",
            "WKWebsiteDataTypeSessionStorage", "WKWebsiteDataTypeLocalStorage",
            "WKWebsiteDataTypeWebSQLDatabases", "WKWebsiteDataTypeIndexedDBDatabases"}));
    EXPECT_EQ(standing->since[0], distantPast);
    EXPECT_FALSE(done);
    standing->removals[0]();
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

TEST_F(MultiCookieJarTest, LeavesNothingInTheStoreForAKeyThatWasNeverStored)
{
    TestServer server;
    server.serve("/", {.body = "<title>page</title>", .headers = {{"Cache-Control", "max-age=3600"}}});
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    static_cast<void>(
        page.evaluate("localStorage.a = 1; sessionStorage.a = 1; document.cookie = 'a=1';"
                      "const opening = indexedDB.open('base');"
                      "opening.onsuccess = () => { opening.result.close(); document.title = 'made'; }"));
    ASSERT_TRUE(waitUntil([&] { return page.evaluate("document.title").first == Value("made"); }));
    int completions = 0;
    bool onMain = false;
    jar->injectCookies(*page.view, "never stored", true, [&] {
        ++completions;
        onMain = isMainThread();
    });
    ASSERT_TRUE(waitUntil([&] { return completions > 0; }));
    EXPECT_TRUE(onMain);
    EXPECT_TRUE(cookiesOf(*store->httpCookieStore()).empty());
    EXPECT_TRUE(waitUntil(
        [&] { return page.evaluate("localStorage.length + sessionStorage.length").first == Value(0); }));
    static_cast<void>(page.evaluate("document.title = 'asked'; indexedDB.databases().then(all => "
                                    "document.title = 'bases ' + all.length)"));
    EXPECT_TRUE(waitUntil([&] { return page.evaluate("document.title").first == Value("bases 0"); }));
    const std::size_t asked = server.requests().size();
    page.navigation->events.clear();
    page.view->load(*URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return page.navigation->saw("finish"); }));
    EXPECT_GT(server.requests().size(), asked); // not from the disk cache
    EXPECT_EQ(completions, 1);
}

TEST_F(MultiCookieJarTest, SetsCookiesInTheirOrderAfterTheRemovalAndCompletesAfterTheLast)
{
    const auto standing = standIn();
    storage->entries["cookies:key"] = archiveOf({named("a"), named("b")});
    int completions = 0;
    jar->injectCookies(*page.view, "key", true, [&] { ++completions; });
    EXPECT_TRUE(standing->log.empty());
    ASSERT_TRUE(waitUntil([&] { return !standing->removals.empty(); }));
    runPendingTurns();
    EXPECT_THAT(standing->log, ElementsAre("remove"));
    EXPECT_TRUE(hasThreadNamed("co.lumosuite.Mu"));
    standing->removals[0]();
    ASSERT_TRUE(waitUntil([&] { return standing->cookies->set.size() == 2; }));
    EXPECT_THAT(standing->log, ElementsAre("remove", "set a", "set b"));
    standing->cookies->set[1]();
    runPendingTurns();
    EXPECT_EQ(completions, 0);
    standing->cookies->set[0]();
    ASSERT_TRUE(waitUntil([&] { return completions > 0; }));
    runPendingTurns();
    EXPECT_EQ(completions, 1);
}

TEST_F(MultiCookieJarTest, InjectsWhatWasStoredIntoTheStoreThatWasThereWhenItWasCalled)
{
    const auto before = standIn();
    storage->entries["cookies:key"] = archiveOf({named("before")});
    bool done = false;
    jar->injectCookies(*page.view, "key", false, [&] { done = true; });
    storage->entries["cookies:key"] = archiveOf({named("after")});
    const auto after = standIn();
    ASSERT_TRUE(waitUntil([&] { return before->cookies->set.size() == 1; }));
    EXPECT_THAT(before->log, ElementsAre("set before"));
    before->cookies->set[0]();
    EXPECT_TRUE(waitUntil([&] { return done; }));
    EXPECT_TRUE(after->log.empty());
}

TEST_F(MultiCookieJarTest, InjectsNothingFromWhatIsDamagedAndStillCompletes)
{
    auto damaged = archiveOf({named("sid")});
    damaged.resize(damaged.size() - 1);
    for (const Data& bytes :
        {Data(), damaged, NSKeyedArchiver::archivedData(Value(Value::Array{Value("text")})).value()}) {
        storage->entries["cookies:key"] = bytes;
        ASSERT_TRUE(inject("key", false));
        EXPECT_TRUE(cookiesOf(*store->httpCookieStore()).empty());
    }
}

TEST(HasMultiCookieJar, IsAServiceOfTheHost)
{
    struct Container : HasMultiCookieJar {
        std::shared_ptr<MultiCookieJar> multiCookieJar() const override { return jar; }
        std::shared_ptr<MultiCookieJar> jar =
            std::make_shared<MultiCookieJar>(std::make_shared<MemoryStorage>());
    } container;
    EXPECT_EQ(static_cast<HasMultiCookieJar&>(container).multiCookieJar(), container.jar);
}

} // namespace
