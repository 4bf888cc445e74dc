#include "Support/SocketServer.h"
#include "Support/TestAuthority.h"
#include "Support/TestServer.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/SafariUserAgent.h>
#include <LumoKit/WebView/UserAgentFetcher.h>
#include <LumoKit/WebView/UserAgentTexts.h>

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using namespace LumoKit;
using LumoKit::Test::SocketServer;
using LumoKit::Test::TestAuthority;
using LumoKit::Test::TestServer;
using LumoKit::Test::waitUntil;
using ::testing::ElementsAre;

namespace {

constexpr const char* path = "/user_agent/v1/latest";

/// How often a fetch completed, and where.
struct Completions {
    std::atomic<int> count = 0;
    std::atomic<bool> onCaller = false;
};

/// Fetches, and waits until it has completed.
bool fetch(UserAgentFetcher& fetcher, const std::shared_ptr<Completions>& completions)
{
    const int before = completions->count;
    fetcher.fetch([completions, caller = std::this_thread::get_id()] {
        completions->onCaller = completions->onCaller || std::this_thread::get_id() == caller;
        ++completions->count;
        DispatchQueue::main()->async([] { });
    });
    return waitUntil([&] { return completions->count > before; });
}

class UserAgentFetcherTest : public ::testing::Test {
protected:
    std::shared_ptr<UserAgentFetcher> asking(const std::string& origin)
    {
        auto configuration = URLSessionConfiguration::ephemeral();
        configuration.additionalAuthorities = authority.file();
        return UserAgentFetcher::create({*URL::parse(origin + path), configuration});
    }

    TestAuthority authority;
    TestServer server{authority.sign({})};
    const std::string fallback = detail::fallbackUserAgent(ProcessInfo::operatingSystemVersion());
    const std::shared_ptr<Completions> completions = std::make_shared<Completions>();
};

TEST(SafariUserAgent, HasTheTextsAsTheyStand)
{
    EXPECT_EQ(SafariUserAgent::macOS_10_13_6_11_1_2,
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_13_6) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/11.1.2 Safari/605.1.15");
    EXPECT_EQ(SafariUserAgent::macOS_10_14__2_12_0_2,
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_14_2) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/12.0.2 Safari/605.1.15");
    EXPECT_EQ(SafariUserAgent::macOS_10_14__5_12_0_2,
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_14_5) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/12.1 Safari/605.1.15");
}

TEST(UserAgentTexts, WriteAVersionWithItsPatchWhereThereIsOne)
{
    EXPECT_EQ(detail::osVersionText({15, 1, 0}), "15_1");
    EXPECT_EQ(detail::osVersionText({14, 7, 2}), "14_7_2");
    EXPECT_EQ(detail::osVersionText({12, 0, 0}), "12_0");
    EXPECT_EQ(detail::osVersionText({15, 1, -1}), "15_1");
    EXPECT_EQ(detail::fallbackUserAgent({15, 1, 0}),
        "Mozilla/5.0 (Macintosh; Intel Mac OS X 15_1) AppleWebKit/605.1.15 (KHTML, like Gecko) "
        "Version/18.1.1 Safari/605.1.15");
}

TEST(UserAgentTexts, ReadAnAnswer)
{
    const OperatingSystemVersion version{14, 7, 2};
    EXPECT_EQ(
        detail::userAgentIn(
            R"({"user_agent": "A (OS_VERSION; OS_VERSIONOS_VERSION) OS_VERSIO", "more": [1]})", version),
        "A (14_7_2; 14_7_214_7_2) OS_VERSIO");
    EXPECT_EQ(detail::userAgentIn(R"({"user_agent": ""})", version), "");
    for (const char* answer : {"", "hello", "null", "[]", "{}", R"({"user_agent": null})",
             R"({"user_agent": 5})", R"({"user_agent": ["a"]})", R"({"User_Agent": "a"})",
             R"({"user_agent": "a")", "{\"user_agent\": \"\xFF\"}"})
        EXPECT_EQ(detail::userAgentIn(answer, version), std::nullopt) << answer;
}

TEST_F(UserAgentFetcherTest, HasTheBuiltInOneAtFirst)
{
    EXPECT_EQ(asking(server.origin())->userAgent(), fallback);
    EXPECT_THAT(fallback, ::testing::StartsWith("Mozilla/5.0 (Macintosh; Intel Mac OS X "));
}

TEST_F(UserAgentFetcherTest, AsksTheServiceAndKeepsTheBuiltInOneInForce)
{
    server.serve(path, {.type = "application/json", .body = R"-({"user_agent": "Other (OS_VERSION)"})-"});
    const auto fetcher = asking(server.origin());
    EXPECT_TRUE(fetch(*fetcher, completions));
    EXPECT_EQ(fetcher->userAgent(), fallback);
    EXPECT_THAT(server.requests(), ElementsAre(path));
    EXPECT_EQ(server.method(path), "GET");
    EXPECT_EQ(server.received("user-agent", path), std::nullopt) << "nothing of its own";
    EXPECT_TRUE(fetch(*fetcher, completions));
    EXPECT_EQ(server.requests().size(), 2u) << "each call asks anew";
    EXPECT_EQ(completions->count, 2);
    EXPECT_FALSE(completions->onCaller);
}

TEST_F(UserAgentFetcherTest, CompletesWhateverTheAnswerIs)
{
    const std::vector<TestServer::Answer> answers{
        {.status = 500, .body = "sorry"},
        {.status = 500, .body = R"({"user_agent": "Other"})"},
        {.status = 204},
        {.body = ""},
        {.body = "\xFF\xFE"},
        {.body = "[[[[["},
        {.body = std::string(100'000, '[')},
        {.body = R"({"user_agent": {"text": "Other"}})"},
        {.body = R"({"userAgent": "Other"})"},
        {.status = 302, .headers = {{"Location", path}}},
    };
    int expected = 0;
    for (const auto& answer : answers) {
        server.serve(path, answer);
        const auto fetcher = asking(server.origin());
        EXPECT_TRUE(fetch(*fetcher, completions)) << answer.body.substr(0, 30);
        EXPECT_EQ(completions->count, ++expected);
        EXPECT_EQ(fetcher->userAgent(), fallback);
    }
}

TEST_F(UserAgentFetcherTest, CompletesWhereNobodyAnswers)
{
    EXPECT_TRUE(fetch(*asking(LumoKit::Test::refusedOrigin()), completions));
    EXPECT_TRUE(fetch(*asking("https://nobody.invalid"), completions));
    const SocketServer breaking([](auto& connection) { connection.reset(); });
    EXPECT_TRUE(fetch(*asking(breaking.origin()), completions));
    EXPECT_EQ(completions->count, 3);
}

TEST_F(UserAgentFetcherTest, NeverAsksAServerThatIsNotTheService)
{
    TestServer impostor(authority.sign({.name = "mail.example"}));
    TestServer expired(authority.sign({.begins = -24, .ends = -1}));
    EXPECT_TRUE(fetch(*asking(impostor.origin()), completions));
    EXPECT_TRUE(fetch(*asking(expired.origin()), completions));
    EXPECT_TRUE(impostor.requests().empty());
    EXPECT_TRUE(expired.requests().empty());
}

TEST_F(UserAgentFetcherTest, GivesTheServiceFiveSecondsHoweverItSpreadsItsAnswer)
{
    const SocketServer dripping([](auto& connection) {
        if (!connection.receiveHead())
            return;
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        while (connection.send(" "))
            std::this_thread::sleep_for(std::chrono::milliseconds(100)); // what this server is about
    });
    const SocketServer silent([](auto& connection) { connection.waitForEnd(); });
    const auto started = std::chrono::steady_clock::now();
    for (const SocketServer* server : {&dripping, &silent})
        asking(server->origin())->fetch([completions = completions] {
            ++completions->count;
            DispatchQueue::main()->async([] { });
        });
    EXPECT_TRUE(waitUntil([&] { return completions->count == 2; }));
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::seconds(5)) << "no sooner either";
}

TEST_F(UserAgentFetcherTest, CompletesAfterItsRelease)
{
    server.serve(path, {.body = R"({"user_agent": "Other"})"});
    EXPECT_TRUE(fetch(*asking(server.origin()), completions)); // released when the call returns
    EXPECT_EQ(completions->count, 1);
}

TEST_F(UserAgentFetcherTest, IsCalledAndReadOnManyThreads)
{
    server.serve(path, {.body = R"({"user_agent": "Other"})"});
    const auto fetcher = asking(server.origin());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 5; ++turn) {
                fetcher->fetch([completions = completions] {
                    ++completions->count;
                    DispatchQueue::main()->async([] { });
                });
                EXPECT_EQ(fetcher->userAgent(), fallback);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(waitUntil([&] { return completions->count == 20; }));
    EXPECT_EQ(fetcher->userAgent(), fallback);
}

TEST(SharedUserAgentFetcher, IsTheSameUntilAHostPutsAnotherInItsPlace)
{
    const auto first = UserAgentFetcher::shared();
    EXPECT_EQ(UserAgentFetcher::shared(), first);
    const auto other = UserAgentFetcher::create(UserAgentService::ofTheSuite());
    UserAgentFetcher::setShared(other);
    EXPECT_EQ(UserAgentFetcher::shared(), other);
    UserAgentFetcher::setShared(first);
}

TEST(SharedUserAgentFetcher, IsMadeOnceForManyThreads)
{
    std::vector<std::shared_ptr<UserAgentFetcher>> seen(8);
    std::vector<std::thread> threads;
    for (auto& each : seen)
        threads.emplace_back([&each] { each = UserAgentFetcher::shared(); });
    for (auto& thread : threads)
        thread.join();
    for (const auto& each : seen)
        EXPECT_EQ(each, UserAgentFetcher::shared());
}

TEST(SharedUserAgentFetcherDeathTest, IsNeverNobody)
{
    EXPECT_DEATH(UserAgentFetcher::setShared(nullptr), "fetcher must be one");
}

TEST(UserAgentServiceTest, IsAskedOverHTTPSOnThePathOfTheService)
{
    const UserAgentService service = UserAgentService::ofTheSuite();
    EXPECT_EQ(service.url.scheme(), "https");
    EXPECT_EQ(service.url.path(), path);
    EXPECT_EQ(service.url.query(), std::nullopt);
    EXPECT_THAT(service.url.host().value_or(""), ::testing::Not(::testing::IsEmpty()));
    EXPECT_EQ(service.configuration, URLSessionConfiguration::defaultConfiguration());
}

} // namespace
