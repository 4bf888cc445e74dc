#include "Support/CookieArchive.h"
#include "Support/Printing.h"
#include "Support/StandInStore.h"
#include "Support/WebPage.h"

#include <LumoKit/CookieJar/CookieJar.h>
#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

using namespace LumoKit;
using namespace LumoKit::Test;
using ::testing::ElementsAre;

namespace {

struct CookieJarTest : ::testing::Test {
    /// Puts the stored cookies into a store, and waits.
    [[nodiscard]] bool inject(const std::shared_ptr<WKWebsiteDataStore>& store, bool resetExisting)
    {
        bool done = false;
        jar->injectCookies(store, resetExisting, [&] { done = true; });
        return waitUntil([&] { return done; });
    }

    [[nodiscard]] bool persist(WKWebsiteDataStore& store)
    {
        storage->entries.clear();
        jar->persistCookies(store);
        return waitUntil([&] { return !storage->entries.empty(); });
    }

    std::shared_ptr<MemoryStorage> storage = std::make_shared<MemoryStorage>();
    std::shared_ptr<CookieJar> jar = std::make_shared<CookieJar>(storage);
};

TEST_F(CookieJarTest, BringsCookiesOfOneStoreIntoAnother)
{
    const auto first = WKWebsiteDataStore::nonPersistent();
    const auto second = WKWebsiteDataStore::nonPersistent();
    const Date expiry =
        std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now()) + std::chrono::hours(1);
    for (const auto& cookie : {named("session"), named("dated", {{"Expires", expiry}}),
             named("whole", {{"Domain", ".mail.example"}, {"Path", "/a"}}),
             named("tied", {{"Domain", "mail.example"}, {"Secure", true}})})
        ASSERT_TRUE(setAndWait(*first->httpCookieStore(), cookie));
    ASSERT_TRUE(persist(*first));
    EXPECT_EQ(storage->entries.size(), 1u);
    EXPECT_TRUE(storage->entries.contains("cookies"));
    ASSERT_TRUE(inject(second, false));
    const auto before = cookiesOf(*first->httpCookieStore());
    const auto after = cookiesOf(*second->httpCookieStore());
    ASSERT_THAT(namesOf(after), ElementsAre("dated", "session", "tied", "whole"));
    for (std::size_t index = 0; index < after.size(); ++index) {
        EXPECT_EQ(Value(serialize(after[index])), Value(serialize(before[index])));
        EXPECT_EQ(after[index].isSessionOnly(), before[index].isSessionOnly());
    }
}

TEST_F(CookieJarTest, TakesTheStoreOfAView)
{
    auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->setWebsiteDataStore(WKWebsiteDataStore::nonPersistent());
    WebPage page(configuration);
    ASSERT_TRUE(setAndWait(*configuration->websiteDataStore()->httpCookieStore(), named("ofView")));
    jar->persistCookies(*page.view);
    ASSERT_TRUE(waitUntil([&] { return !storage->entries.empty(); }));
    ASSERT_TRUE(setAndWait(*configuration->websiteDataStore()->httpCookieStore(), named("later")));
    bool done = false;
    jar->injectCookies(*page.view, true, [&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return done; }));
    EXPECT_THAT(
        namesOf(cookiesOf(*configuration->websiteDataStore()->httpCookieStore())), ElementsAre("ofView"));
}

TEST_F(CookieJarTest, KeepsTheOrderAndEveryCookieOfTheStore)
{
    StandInStore store;
    jar->persistCookies(store);
    ASSERT_EQ(store.cookies->questions.size(), 1u);
    EXPECT_TRUE(storage->entries.empty());
    const Date past{std::chrono::seconds(1)};
    store.cookies->questions[0]({named("z"), named("a", {{"Expires", past}}), named("m"), named("z")});
    EXPECT_THAT(storedNames(storage->entries.at("cookies")), ElementsAre("z", "a", "m", "z"));
}

TEST_F(CookieJarTest, StoresAnArchiveOfRecords)
{
    StandInStore store;
    jar->persistCookies(store);
    store.cookies->questions[0]({named("sid")});
    const auto root = NSKeyedUnarchiver::unarchiveObject(storage->entries.at("cookies"));
    ASSERT_TRUE(root.has_value());
    EXPECT_EQ(*root, Value(Value::Array{Value(serialize(named("sid")))}));
}

TEST_F(CookieJarTest, StoresAnArchiveOfNothingForNoCookies)
{
    StandInStore store;
    storage->entries["cookies"] = archiveOf({named("old")});
    jar->persistCookies(store);
    store.cookies->questions[0]({});
    const auto root = NSKeyedUnarchiver::unarchiveObject(storage->entries.at("cookies"));
    EXPECT_EQ(root, Value(Value::Array{}));
}

TEST_F(CookieJarTest, KeepsOnlyTheLastSet)
{
    StandInStore store;
    jar->persistCookies(store);
    jar->persistCookies(store);
    store.cookies->questions[0]({named("first"), named("both")});
    store.cookies->questions[1]({named("both"), named("second")});
    EXPECT_THAT(storedNames(storage->entries.at("cookies")), ElementsAre("both", "second"));
}

TEST_F(CookieJarTest, StoresNothingWhenItIsGoneBeforeTheAnswer)
{
    StandInStore store;
    jar->persistCookies(store);
    const std::weak_ptr gone = jar;
    jar.reset();
    ASSERT_TRUE(gone.expired());
    store.cookies->questions[0]({named("late")});
    EXPECT_TRUE(storage->entries.empty());
}

TEST_F(CookieJarTest, KeepsTheStoredSetWhenThereAreTooManyCookies)
{
    StandInStore store;
    const auto kept = archiveOf({named("kept")});
    storage->entries["cookies"] = kept;
    jar->persistCookies(store);
    testing::internal::CaptureStdout();
    store.cookies->questions[0](std::vector<HTTPCookie>(50'000, named("many")));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "There are too many cookies to be stored\n");
    EXPECT_EQ(storage->entries.at("cookies"), kept);
}

TEST_F(CookieJarTest, LosesTheFlagThatHidesACookieFromScript)
{
    const auto first = WKWebsiteDataStore::nonPersistent();
    const auto second = WKWebsiteDataStore::nonPersistent();
    ASSERT_TRUE(setAndWait(*first->httpCookieStore(), named("hidden", {{"HttpOnly", true}})));
    ASSERT_TRUE(cookiesOf(*first->httpCookieStore()).at(0).isHTTPOnly());
    ASSERT_TRUE(persist(*first));
    ASSERT_TRUE(inject(second, false));
    EXPECT_FALSE(cookiesOf(*second->httpCookieStore()).at(0).isHTTPOnly());
}

TEST_F(CookieJarTest, InjectsNothingAndCompletesOnTheMainThread)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    ASSERT_TRUE(setAndWait(*store->httpCookieStore(), named("kept")));
    int completions = 0;
    bool onMain = false;
    jar->injectCookies(store, false, [&] {
        ++completions;
        onMain = isMainThread();
    });
    EXPECT_EQ(completions, 0);
    ASSERT_TRUE(waitUntil([&] { return completions > 0; }));
    EXPECT_TRUE(onMain);
    EXPECT_THAT(namesOf(cookiesOf(*store->httpCookieStore())), ElementsAre("kept"));
    EXPECT_EQ(completions, 1);
}

TEST_F(CookieJarTest, NeedsNoCompletion)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    storage->entries["cookies"] = archiveOf({named("sid")});
    jar->injectCookies(store, true);
    EXPECT_TRUE(waitUntil([&] { return cookiesOf(*store->httpCookieStore()).size() == 1; }));
}

TEST_F(CookieJarTest, RemovesCookiesAndStorageOfPagesAlsoWithoutStoredCookies)
{
    auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->setWebsiteDataStore(WKWebsiteDataStore::nonPersistent());
    WebPage page(configuration);
    ASSERT_TRUE(page.show("<title>page</title>", "http://127.0.0.1/"));
    static_cast<void>(page.evaluate("localStorage.a = 1; sessionStorage.a = 1; document.cookie = 'a=1'"));
    const auto& store = configuration->websiteDataStore();
    ASSERT_TRUE(waitUntil([&] { return cookiesOf(*store->httpCookieStore()).size() == 1; }));
    ASSERT_TRUE(inject(store, true));
    EXPECT_TRUE(cookiesOf(*store->httpCookieStore()).empty());
    EXPECT_TRUE(waitUntil(
        [&] { return page.evaluate("localStorage.length + sessionStorage.length").first == Value(0); }));
}

TEST_F(CookieJarTest, AsksForTheRemovalOfExactlyThreeTypesOfAllTimes)
{
    const auto store = std::make_shared<StandInStore>();
    bool done = false;
    jar->injectCookies(store, true, [&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return store->removals.size() == 1; }));
    EXPECT_EQ(store->types[0],
        (std::set<std::string_view>{
            "WKWebsiteDataTypeCookies", "WKWebsiteDataTypeSessionStorage", "WKWebsiteDataTypeLocalStorage"}));
    EXPECT_EQ(store->since[0], distantPast);
    store->removals[0]();
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

TEST_F(CookieJarTest, SetsNoCookieBeforeTheRemovalHasEndedAndCompletesAfterTheLast)
{
    const auto store = std::make_shared<StandInStore>();
    storage->entries["cookies"] = archiveOf({named("a"), named("b"), named("c")});
    int completions = 0;
    jar->injectCookies(store, true, [&] { ++completions; });
    EXPECT_TRUE(store->log.empty()); // nothing before the call returns
    ASSERT_TRUE(waitUntil([&] { return !store->removals.empty(); }));
    runPendingTurns();
    EXPECT_THAT(store->log, ElementsAre("remove"));
    store->removals[0]();
    // All three are asked for while none is answered.
    ASSERT_TRUE(waitUntil([&] { return store->cookies->set.size() == 3; }));
    EXPECT_THAT(store->log, ElementsAre("remove", "set a", "set b", "set c"));
    for (const std::size_t answered : {2u, 0u, 1u}) {
        runPendingTurns();
        EXPECT_EQ(completions, 0) << answered;
        store->cookies->set[answered]();
    }
    ASSERT_TRUE(waitUntil([&] { return completions > 0; }));
    runPendingTurns();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(store->removals.size(), 1u);
}

TEST_F(CookieJarTest, RemovesNothingUnlessItIsAskedTo)
{
    const auto store = std::make_shared<StandInStore>();
    bool done = false;
    jar->injectCookies(store, false, [&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return done; }));
    EXPECT_TRUE(store->log.empty());
}

TEST_F(CookieJarTest, NeverCompletesWhileTheStoreDoesNotAnswer)
{
    const auto store = std::make_shared<StandInStore>();
    storage->entries["cookies"] = archiveOf({named("a")});
    bool done = false;
    jar->injectCookies(store, false, [&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return store->cookies->set.size() == 1; }));
    // Another injection is not held up, as each has a queue of its own.
    ASSERT_TRUE(inject(WKWebsiteDataStore::nonPersistent(), true));
    EXPECT_FALSE(done);
    store->cookies->set[0]();
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

TEST_F(CookieJarTest, InjectsWhatWasStoredWhenItWasCalled)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    storage->entries["cookies"] = archiveOf({named("before")});
    bool done = false;
    jar->injectCookies(store, false, [&] { done = true; });
    storage->entries["cookies"] = archiveOf({named("after")});
    ASSERT_TRUE(waitUntil([&] { return done; }));
    EXPECT_THAT(namesOf(cookiesOf(*store->httpCookieStore())), ElementsAre("before"));
}

TEST_F(CookieJarTest, ReadsNoCookiesFromWhatIsNoArchiveOfRecords)
{
    const auto record = Value(serialize(named("sid")));
    const Data garbage(100, std::byte{0x5A});
    auto damaged = archiveOf({named("sid")});
    damaged.resize(damaged.size() / 2);
    for (const Data& bytes : {Data(), garbage, damaged, NSKeyedArchiver::archivedData(Value("text")).value(),
             NSKeyedArchiver::archivedData(record).value(),
             NSKeyedArchiver::archivedData(Value(Value::Array{record, Value("text")})).value()}) {
        storage->entries["cookies"] = bytes;
        const auto store = std::make_shared<StandInStore>();
        ASSERT_TRUE(inject(store, false));
        EXPECT_TRUE(store->log.empty());
    }
}

TEST_F(CookieJarTest, SkipsRecordsThatMakeNoCookie)
{
    const auto store = WKWebsiteDataStore::nonPersistent();
    storage->entries["cookies"] = NSKeyedArchiver::archivedData(
        Value(Value::Array{Value(serialize(named("a"))), Value(Value::Dictionary{{"Name", "nameless"}}),
            Value(serialize(named("b")))}))
                                      .value();
    ASSERT_TRUE(inject(store, false));
    EXPECT_THAT(namesOf(cookiesOf(*store->httpCookieStore())), ElementsAre("a", "b"));
}

TEST_F(CookieJarTest, CanBeInjectedFromAnotherThreadAndReleasedMeanwhile)
{
    auto store = WKWebsiteDataStore::nonPersistent();
    const std::weak_ptr released = store;
    storage->entries["cookies"] = archiveOf({named("a")});
    bool done = false;
    std::thread([jar = std::move(jar), store = std::move(store), &done] {
        jar->injectCookies(store, true, [&done] { done = true; });
    }).join();
    EXPECT_TRUE(waitUntil([&] { return done; }));
    EXPECT_TRUE(waitUntil([&] { return released.expired(); }));
}

TEST_F(CookieJarTest, WaitsOnAThreadThatIsNamedAfterTheJar)
{
    const auto store = std::make_shared<StandInStore>();
    storage->entries["cookies"] = archiveOf({named("a")});
    bool done = false;
    jar->injectCookies(store, false, [&] { done = true; });
    ASSERT_TRUE(waitUntil([&] { return store->cookies->set.size() == 1; }));
    EXPECT_TRUE(hasThreadNamed("co.lumosuite.Co"));
    store->cookies->set[0]();
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

TEST(HasCookieJar, IsAServiceOfTheHost)
{
    struct Container : HasCookieJar {
        std::shared_ptr<CookieJar> cookieJar() const override { return jar; }
        std::shared_ptr<CookieJar> jar = std::make_shared<CookieJar>(std::make_shared<MemoryStorage>());
    } container;
    EXPECT_EQ(static_cast<HasCookieJar&>(container).cookieJar(), container.jar);
}

} // namespace
