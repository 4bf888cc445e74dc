#include "Support/CookieStore.h"
#include "Support/Printing.h"
#include "Support/TestServer.h"
#include "Support/WebPage.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/WebKit/WKHTTPCookieStore.h>

#include <gtest/gtest.h>

#include <limits>

using namespace LumoKit;
using namespace LumoKit::Test;
using namespace std::string_view_literals;

namespace {

Date inAnHour()
{
    return std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now()) + std::chrono::hours(1);
}

struct WKHTTPCookieStoreTest : ::testing::Test {
    std::shared_ptr<WKWebsiteDataStore> dataStore = WKWebsiteDataStore::nonPersistent();
    std::shared_ptr<WKHTTPCookieStore> store = dataStore->httpCookieStore();
    TestServer server;

    std::unique_ptr<WebPage> page() const
    {
        auto configuration = std::make_shared<WKWebViewConfiguration>();
        configuration->setWebsiteDataStore(dataStore);
        return std::make_unique<WebPage>(configuration);
    }

    /// Loads an address of the server, by any of the names of this machine.
    static bool load(WebPage& page, const std::string& address)
    {
        page.navigation->events.clear();
        page.view->load(*URL::parse(address));
        return waitUntil([&] { return page.navigation->saw("finish"); });
    }
    [[nodiscard]] std::string at(const std::string& host, const std::string& path) const
    {
        return "http://" + host + server.origin().substr(server.origin().rfind(':')) + path;
    }
};

TEST_F(WKHTTPCookieStoreTest, HasNoCookiesAtFirst)
{
    EXPECT_TRUE(cookiesOf(*store).empty());
}

TEST_F(WKHTTPCookieStoreTest, GivesACookieBackAsItWasSet)
{
    const Value::Dictionary cases[]{
        {},
        {{"Domain", "example.com"}},
        {{"Domain", ".example.com"}},
        {{"Domain", "www.example.com"}},
        {{"Domain", "localhost"}},
        {{"Domain", "::1"}},
        {{"Path", "/inbox"}},
        {{"Path", "/inbox/"}},
        {{"Value", ""}},
        {{"Value", "a=b, \"c\" d"}},
        {{"Value", "t\u00E9\U0001F600"}},
        {{"Value", std::string(3000, 'x')}},
        {{"Secure", true}},
        {{"HttpOnly", true}},
        {{"SameSite", "lax"}},
        {{"SameSite", "strict"}},
        {{"Expires", inAnHour()}},
        {{"Expires", Date(std::chrono::seconds(64092211200))}},
        {{"Secure", true}, {"HttpOnly", true}, {"SameSite", "strict"}, {"Expires", inAnHour()},
            {"Domain", ".example.com"}, {"Path", "/a"}},
    };
    for (const auto& more : cases) {
        const HTTPCookie cookie = makeCookie(more);
        ASSERT_TRUE(setAndWait(*store, cookie)) << Value(more).description();
        const auto all = cookiesOf(*store);
        ASSERT_EQ(all.size(), 1u) << Value(more).description();
        EXPECT_EQ(Value(all.front().properties()), Value(cookie.properties()));
        EXPECT_EQ(all.front().isSessionOnly(), cookie.isSessionOnly());
        ASSERT_TRUE(removeAndWait(*dataStore, {WKWebsiteDataTypeCookies}));
    }
}

TEST_F(WKHTTPCookieStoreTest, SetsACookieThatLastsForEverUntilTheLastDayThatTheEngineKnows)
{
    for (const double seconds : {253402300799.0, 253402300800.0, 1e15, 1e300}) {
        ASSERT_TRUE(
            setAndWait(*store, makeCookie({{"Expires", Date(std::chrono::duration<double>(seconds))}})));
        const auto all = cookiesOf(*store);
        ASSERT_EQ(all.size(), 1u) << seconds;
        EXPECT_EQ(all.front().expiresDate(), Date(std::chrono::seconds(253402300799))) << seconds;
        ASSERT_TRUE(removeAndWait(*dataStore, {WKWebsiteDataTypeCookies}));
    }
}

TEST_F(WKHTTPCookieStoreTest, SendsTheServerWhatWasSet)
{
    server.serveHTML("/", "page");
    server.serveHTML("/inbox/mail", "page");
    for (const auto& more : {Value::Dictionary{{"Name", "plain"}},
             Value::Dictionary{{"Name", "lasting"}, {"Expires", inAnHour()}},
             Value::Dictionary{{"Name", "httponly"}, {"HttpOnly", true}},
             Value::Dictionary{{"Name", "secure"}, {"Secure", true}},
             Value::Dictionary{{"Name", "strict"}, {"SameSite", "strict"}},
             Value::Dictionary{{"Name", "inbox"}, {"Path", "/inbox"}},
             Value::Dictionary{{"Name", "other"}, {"Domain", "other.example"}}})
        store->setCookie(makeCookie(more));
    const auto view = page();
    const auto names = [&](const std::string& path) {
        std::vector<std::string> sent;
        EXPECT_TRUE(load(*view, server.origin() + path));
        std::string cookies = server.received("cookie", path).value_or("") + "; ";
        for (std::size_t end; (end = cookies.find("; ")) != cookies.npos; cookies.erase(0, end + 2))
            sent.push_back(cookies.substr(0, end));
        std::ranges::sort(sent);
        return sent;
    };
    EXPECT_EQ(
        names("/"), (std::vector<std::string>{"httponly=abc", "lasting=abc", "plain=abc", "strict=abc"}));
    EXPECT_EQ(names("/inbox/mail"),
        (std::vector<std::string>{"httponly=abc", "inbox=abc", "lasting=abc", "plain=abc", "strict=abc"}));
    EXPECT_EQ(view->evaluate("document.cookie.includes('httponly')").first, Value(false));
    EXPECT_EQ(view->evaluate("document.cookie.includes('plain')").first, Value(true));
}

TEST_F(WKHTTPCookieStoreTest, KeepsCookiesOfAHostApartFromThoseOfTheHostsBelow)
{
    for (const char* path : {"/host", "/below"})
        server.serveHTML(path, "page");
    ASSERT_TRUE(setAndWait(*store, makeCookie({{"Name", "host"}, {"Domain", "suite.localhost"}})));
    ASSERT_TRUE(setAndWait(*store, makeCookie({{"Name", "domain"}, {"Domain", ".suite.localhost"}})));
    const auto view = page();
    ASSERT_TRUE(load(*view, at("suite.localhost", "/host")));
    ASSERT_TRUE(load(*view, at("mail.suite.localhost", "/below")));
    const std::string host = server.received("cookie", "/host").value_or("");
    EXPECT_TRUE(host == "host=abc; domain=abc" || host == "domain=abc; host=abc") << host;
    EXPECT_EQ(server.received("cookie", "/below"), "domain=abc");
}

TEST_F(WKHTTPCookieStoreTest, HasWhatTheServerSets)
{
    const auto view = page();
    const std::pair<std::string, Value::Dictionary> cases[]{
        {"sid=abc", {{"Path", "/"}}},
        {"sid=abc; Path=/inbox; HttpOnly", {{"Path", "/inbox"}, {"HttpOnly", true}}},
        {"sid=abc; Expires=Tue, 01 Jan 2030 00:00:00 GMT",
            {{"Expires", Date(std::chrono::seconds(1893456000))}}},
        {"sid=abc; SameSite=Lax", {{"SameSite", "lax"}}},
        {"sid=abc; SameSite=Strict", {{"SameSite", "strict"}}},
    };
    for (const auto& [header, more] : cases) {
        server.serve("/", {.body = "page", .headers = {{"Set-Cookie", header}}});
        ASSERT_TRUE(load(*view, server.origin() + "/"));
        const auto all = cookiesOf(*store);
        ASSERT_EQ(all.size(), 1u) << header;
        EXPECT_EQ(Value(all.front().properties()), Value(cookieProperties(more))) << header;
        ASSERT_TRUE(removeAndWait(*dataStore, {WKWebsiteDataTypeCookies}));
    }
    server.serve("/", {.body = "page", .headers = {{"Set-Cookie", "sid=abc; Domain=suite.localhost"}}});
    ASSERT_TRUE(load(*view, at("mail.suite.localhost", "/")));
    ASSERT_EQ(cookiesOf(*store).size(), 1u);
    EXPECT_EQ(cookiesOf(*store).front().domain(), ".suite.localhost");
}

TEST_F(WKHTTPCookieStoreTest, ReplacesACookieOfTheSameNameDomainAndPath)
{
    ASSERT_TRUE(setAndWait(*store, makeCookie({{"Value", "first"}, {"Secure", true}})));
    ASSERT_TRUE(setAndWait(*store, makeCookie({{"Value", "second"}, {"HttpOnly", true}})));
    ASSERT_TRUE(setAndWait(*store, makeCookie({{"Value", "third"}, {"Path", "/inbox"}})));
    auto all = cookiesOf(*store);
    ASSERT_EQ(all.size(), 2u);
    std::ranges::sort(all, {}, &HTTPCookie::value);
    EXPECT_EQ(all[0].value(), "second");
    EXPECT_FALSE(all[0].isSecure());
    EXPECT_EQ(all[1].value(), "third");
}

TEST_F(WKHTTPCookieStoreTest, TakesACookieAwayByOneThatHasExpired)
{
    ASSERT_TRUE(setAndWait(*store, makeCookie()));
    ASSERT_TRUE(setAndWait(*store, makeCookie({{"Expires", Date(std::chrono::seconds(1))}})));
    EXPECT_TRUE(cookiesOf(*store).empty());
}

TEST_F(WKHTTPCookieStoreTest, DeletesACookieWhateverItsValue)
{
    for (const auto& more :
        {Value::Dictionary{}, Value::Dictionary{{"Secure", true}, {"Domain", ".example.com"}},
            Value::Dictionary{{"Expires", inAnHour()}, {"HttpOnly", true}}}) {
        ASSERT_TRUE(setAndWait(*store, makeCookie(more)));
        ASSERT_TRUE(setAndWait(*store, makeCookie({{"Name", "stays"}})));
        auto other = cookieProperties(more);
        other["Value"] = "another value";
        bool done = false;
        store->deleteCookie(*HTTPCookie::create(other), [&] { done = true; });
        ASSERT_TRUE(waitUntil([&] { return done; }));
        const auto all = cookiesOf(*store);
        ASSERT_EQ(all.size(), 1u) << Value(more).description();
        EXPECT_EQ(all.front().name(), "stays");
    }
}

TEST_F(WKHTTPCookieStoreTest, LeavesOutWhatAServerWouldReadAsSomethingElse)
{
    const Value::Dictionary cases[]{
        {{"Value", "a; admin=1"}},
        {{"Value", "a\r\nX-Header: 1"}},
        {{"Value", "a\0b"sv}},
        {{"Value", "\x7F"}},
        {{"Value", "\xFF"}},
        {{"Name", "a=b"}},
        {{"Name", "a;b"}},
        {{"Name", "a\nb"}},
        {{"Domain", ""}},
        {{"Domain", "a\0b"sv}},
        {{"Path", "/;a"}},
        {{"Path", "/\n"}},
    };
    for (const auto& more : cases) {
        EXPECT_TRUE(setAndWait(*store, makeCookie(more))) << Value(more).description();
        EXPECT_TRUE(cookiesOf(*store).empty()) << Value(more).description();
    }
    EXPECT_TRUE(setAndWait(*store, makeCookie({{"Domain", ".com"}})));
    EXPECT_TRUE(cookiesOf(*store).empty());
}

TEST_F(WKHTTPCookieStoreTest, CompletesOnTheMainThreadInOrderAndNeverAtOnce)
{
    std::vector<int> order;
    const auto at = [&](int place) {
        return [&order, place] {
            EXPECT_TRUE(isMainThread());
            order.push_back(place);
        };
    };
    store->setCookie(makeCookie({{"Name", "first"}}), at(0));
    store->setCookie(makeCookie({{"Value", "a;b"}}), at(1)); // not set
    store->setCookie(makeCookie({{"Name", "second"}}), at(2));
    store->getAllCookies([&](const std::vector<HTTPCookie>& cookies) {
        EXPECT_EQ(cookies.size(), 2u);
        at(3)();
    });
    store->deleteCookie(makeCookie({{"Name", "first"}}), at(4));
    store->deleteCookie(makeCookie({{"Name", "a=b"}}), at(5)); // cannot be there
    store->getAllCookies([&](const std::vector<HTTPCookie>& cookies) {
        EXPECT_EQ(cookies.size(), 1u);
        at(6)();
    });
    store->setCookie(makeCookie({{"Name", "third"}})); // nobody waits
    store->setCookie(makeCookie({{"Name", "third"}}), at(7));
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(waitUntil([&] { return order.size() == 8; }));
    EXPECT_EQ(order, (std::vector{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(WKHTTPCookieStoreTest, SetsAThousandCookiesAtOnceSoonerThanOneAfterAnother)
{
    ASSERT_TRUE(setAndWait(*store, makeCookie())); // the engine is up
    constexpr int count = 1000;
    const auto cookie = [](int number) { return makeCookie({{"Name", "name" + std::to_string(number)}}); };
    const auto start = std::chrono::steady_clock::now();
    int done = 0;
    for (int number = 0; number < count; ++number)
        store->setCookie(cookie(number), [&] { ++done; });
    ASSERT_TRUE(waitUntil([&] { return done == count; }));
    const auto together = std::chrono::steady_clock::now() - start;
    const auto again = std::chrono::steady_clock::now();
    for (int number = 0; number < count; ++number)
        ASSERT_TRUE(setAndWait(*store, cookie(number)));
    const auto alone = std::chrono::steady_clock::now() - again;
    EXPECT_EQ(cookiesOf(*store).size(), std::size_t(count) + 1);
    EXPECT_LT(together, alone);
    RecordProperty("together_ms", static_cast<int>(together / std::chrono::milliseconds(1)));
    RecordProperty("alone_ms", static_cast<int>(alone / std::chrono::milliseconds(1)));
}

TEST_F(WKHTTPCookieStoreTest, CompletesAlsoWhenItIsReleasedBefore)
{
    bool wasSet = false;
    bool wasRead = false;
    store->setCookie(makeCookie(), [&] { wasSet = true; });
    store->getAllCookies([&](const std::vector<HTTPCookie>& cookies) { wasRead = cookies.size() == 1; });
    const std::weak_ptr released = store;
    store.reset();
    dataStore.reset();
    EXPECT_TRUE(released.expired());
    EXPECT_TRUE(waitUntil([&] { return wasSet && wasRead; }));
}

TEST_F(WKHTTPCookieStoreTest, KeepsWorkingWithoutItsDataStore)
{
    dataStore.reset();
    ASSERT_TRUE(setAndWait(*store, makeCookie()));
    EXPECT_EQ(cookiesOf(*store).size(), 1u);
}

struct Observer : WKHTTPCookieStoreObserver {
    void cookiesDidChange(WKHTTPCookieStore& inCookieStore) override
    {
        EXPECT_TRUE(isMainThread());
        ++changes;
        last = &inCookieStore;
        if (onChange)
            onChange();
    }
    int changes = 0;
    WKHTTPCookieStore* last = nullptr;
    std::function<void()> onChange;
};

TEST_F(WKHTTPCookieStoreTest, TellsItsObserversOfEveryChange)
{
    const auto observer = std::make_shared<Observer>();
    store->add(observer);
    ASSERT_TRUE(setAndWait(*store, makeCookie()));
    ASSERT_TRUE(waitUntil([&] { return observer->changes > 0; }));
    EXPECT_EQ(observer->last, store.get());

    server.serve("/", {.body = "page", .headers = {{"Set-Cookie", "server=1"}}});
    const auto view = page();
    int before = observer->changes;
    ASSERT_TRUE(load(*view, server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return observer->changes > before; }));

    before = observer->changes;
    static_cast<void>(view->evaluate("document.cookie = 'script=1'"));
    ASSERT_TRUE(waitUntil([&] { return observer->changes > before; }));

    before = observer->changes;
    store->deleteCookie(makeCookie());
    ASSERT_TRUE(waitUntil([&] { return observer->changes > before; }));
}

TEST_F(WKHTTPCookieStoreTest, TellsNobodyWhoIsGoneOrWasRemoved)
{
    const auto stays = std::make_shared<Observer>();
    const auto removed = std::make_shared<Observer>();
    auto gone = std::make_shared<Observer>();
    int changesOfGone = 0;
    gone->onChange = [&] { ++changesOfGone; };
    for (const auto& observer : {removed, gone, stays})
        store->add(observer);
    store->add(stays); // once is enough
    store->remove(removed);
    gone.reset();
    ASSERT_TRUE(setAndWait(*store, makeCookie()));
    ASSERT_TRUE(waitUntil([&] { return stays->changes > 0; }));
    EXPECT_EQ(stays->changes, 1);
    EXPECT_EQ(removed->changes, 0);
    EXPECT_EQ(changesOfGone, 0);
}

TEST_F(WKHTTPCookieStoreTest, LetsAnObserverRemoveOthersAndReleaseTheStore)
{
    const auto first = std::make_shared<Observer>();
    const auto second = std::make_shared<Observer>();
    first->onChange = [&] {
        store->remove(second);
        store.reset();
        dataStore.reset();
    };
    store->add(first);
    store->add(second);
    store->setCookie(makeCookie());
    ASSERT_TRUE(waitUntil([&] { return first->changes > 0; }));
    EXPECT_EQ(second->changes, 0);
    EXPECT_EQ(store, nullptr);
}

} // namespace
