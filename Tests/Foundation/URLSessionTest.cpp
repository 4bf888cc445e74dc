#include "Support/Loading.h"
#include "Support/Printing.h"
#include "Support/PrivateData.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestServer.h"

#include <gmock/gmock.h>

using namespace LumoKit;
using namespace std::string_literals;
using LumoKit::Test::begin;
using LumoKit::Test::load;
using LumoKit::Test::prepare;
using LumoKit::Test::TemporaryFolder;
using LumoKit::Test::TestServer;
using LumoKit::Test::waitFor;
using LumoKit::Test::waitUntil;
using ::testing::ElementsAre;

namespace {

class URLSessionTest : public ::testing::Test {
protected:
    URLRequest request(const std::string& path = "/",
        URLRequestCachePolicy policy = URLRequestCachePolicy::useProtocolCachePolicy)
    {
        return {*URL::parse(server.origin() + path), policy};
    }

    std::shared_ptr<URLSession> withCache()
    {
        auto configuration = URLSessionConfiguration::ephemeral();
        configuration.urlCache = std::make_shared<URLCache>(1 << 20, folder / "cache");
        return std::make_shared<URLSession>(configuration);
    }

    const LumoKit::Test::PrivateData data;
    TemporaryFolder folder;
    TestServer server;
    std::shared_ptr<URLSession> session = std::make_shared<URLSession>(URLSessionConfiguration::ephemeral());
};

TEST_F(URLSessionTest, LoadsABody)
{
    const std::string everyByte = "\0\xFF\r\n text"s;
    server.serve(
        "/", {.type = "Text/Plain; Charset=\"UTF-8\"", .body = everyByte, .headers = {{"X-Mine", "1"}}});
    const auto loaded = load(*session, request());
    EXPECT_EQ(loaded->error, std::nullopt);
    EXPECT_EQ(loaded->text, everyByte);
    ASSERT_TRUE(loaded->response);
    EXPECT_EQ(loaded->response->statusCode(), 200);
    EXPECT_EQ(loaded->response->url(), request().url);
    EXPECT_EQ(loaded->response->mimeType(), "text/plain");
    EXPECT_EQ(loaded->response->textEncodingName(), "utf-8");
    EXPECT_EQ(loaded->response->expectedContentLength(), static_cast<std::int64_t>(everyByte.size()));
    EXPECT_EQ(loaded->response->valueForHTTPHeaderField("x-mine"), "1");
    EXPECT_EQ(server.method("/"), "GET");
    EXPECT_EQ(loaded->calls, 1);
}

TEST_F(URLSessionTest, AnEmptyBodyIsOneNonetheless)
{
    server.serve("/", {.body = ""});
    const auto loaded = load(*session, request());
    EXPECT_EQ(loaded->text, "");
    EXPECT_EQ(loaded->error, std::nullopt);
}

TEST_F(URLSessionTest, AStatusIsNoError)
{
    server.serve("/500", {.status = 500, .body = "sorry"});
    for (const auto& [path, status] : {std::pair("/500"s, 500), std::pair("/404"s, 404)}) {
        const auto loaded = load(*session, request(path));
        EXPECT_EQ(loaded->error, std::nullopt);
        EXPECT_EQ(loaded->status(), status);
    }
}

TEST_F(URLSessionTest, SendsWhatARequestSays)
{
    server.serve("/", {});
    URLRequest asked = request();
    asked.httpMethod = "POST";
    asked.httpBody = Data{std::byte{'h'}, std::byte{0}, std::byte{'i'}};
    asked.setValue("1", "X-Mine");
    asked.setValue("text/plain", "content-type");
    EXPECT_EQ(load(*session, asked)->status(), 200);
    EXPECT_EQ(server.method("/"), "POST");
    EXPECT_EQ(server.body("/"), "h\0i"s);
    EXPECT_EQ(server.received("x-mine", "/"), "1");
    EXPECT_EQ(server.received("content-type", "/"), "text/plain");
    EXPECT_EQ(server.received("content-length", "/"), "3");
}

TEST_F(URLSessionTest, SendsTheConfigurationsFieldsUnlessTheRequestHasThem)
{
    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.httpAdditionalHeaders = {{"X-Mine", "configured"}, {"X-Other", "configured"}};
    URLSession other(configuration);
    server.serve("/", {});
    URLRequest asked = request();
    asked.setValue("own", "x-mine");
    EXPECT_EQ(load(other, asked)->status(), 200);
    EXPECT_EQ(server.received("x-mine", "/"), "own");
    EXPECT_EQ(server.received("x-other", "/"), "configured");
}

TEST_F(URLSessionTest, NoFieldCanSmuggleAnother)
{
    server.serve("/", {});
    URLRequest asked = request();
    asked.setValue("1\r\nX-Smuggled: 1", "X-Mine");
    asked.setValue("1", "X-Mine: 1\r\nX-Smuggled");
    asked.setValue("1\0"s, "X-Nothing");
    asked.setValue("1", "");
    asked.setValue("7", "Content-Length");
    EXPECT_EQ(load(*session, asked)->status(), 200);
    EXPECT_EQ(server.received("x-smuggled", "/"), std::nullopt);
    EXPECT_EQ(server.received("x-mine", "/"), std::nullopt);
    EXPECT_EQ(server.received("x-nothing", "/"), std::nullopt);
    EXPECT_EQ(server.received("content-length", "/"), std::nullopt);
    asked.httpMethod = "GET / HTTP/1.1\r\nX-Smuggled: 1\r\n\r\nGET";
    EXPECT_EQ(load(*session, asked)->code(), NSURLErrorBadURL);
}

TEST_F(URLSessionTest, CallsItsHandlerOnABackgroundQueueInTurn)
{
    server.serve("/", {.body = "hello"});
    std::atomic<int> inside = 0;
    std::atomic<bool> overlapped = false;
    std::atomic<int> ended = 0;
    std::atomic<bool> onMain = false;
    const auto mainThread = std::this_thread::get_id();
    for (int index = 0; index < 20; ++index)
        session
            ->dataTask(request().url,
                [&](auto, auto, auto) {
                    onMain = onMain || std::this_thread::get_id() == mainThread;
                    overlapped = overlapped || ++inside > 1;
                    std::this_thread::yield();
                    --inside;
                    ++ended;
                    DispatchQueue::main()->async([] { });
                })
            ->resume();
    ASSERT_TRUE(waitUntil([&] { return ended == 20; }));
    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(onMain);
}

TEST_F(URLSessionTest, NeverCallsItsHandlerWithinResume)
{
    std::atomic<bool> called = false;
    const auto caller = std::this_thread::get_id();
    std::thread::id thread;
    const auto task = session->dataTask(*URL::parse("nothing:"), [&](auto, auto, auto) {
        thread = std::this_thread::get_id();
        called = true;
        DispatchQueue::main()->async([] { });
    });
    task->resume();
    ASSERT_TRUE(waitUntil([&] { return called.load(); }));
    EXPECT_NE(thread, caller);
}

TEST_F(URLSessionTest, BeginsOnceHoweverOftenItIsResumed)
{
    server.serve("/", {.body = "hello"});
    const auto loading = prepare(*session, request());
    EXPECT_EQ(loading->task->state(), URLSessionDataTask::State::suspended);
    LumoKit::Test::runPendingTurns();
    EXPECT_TRUE(server.requests().empty());
    loading->task->resume();
    loading->task->resume();
    ASSERT_TRUE(waitFor(*loading));
    EXPECT_EQ(loading->task->state(), URLSessionDataTask::State::completed);
    loading->task->resume();
    loading->task->cancel();
    EXPECT_EQ(load(*session, request("/after"))->status(), 404);
    EXPECT_EQ(loading->calls, 1);
    EXPECT_THAT(server.requests(), ElementsAre("/", "/after"));
}

TEST_F(URLSessionTest, ATaskThatWasNeverResumedCallsNobodyAndIsReleased)
{
    const auto counted = std::make_shared<int>();
    {
        const auto task = session->dataTask(request(), [counted](auto, auto, auto) { FAIL(); });
        EXPECT_EQ(counted.use_count(), 2);
    }
    EXPECT_EQ(counted.use_count(), 1);
}

TEST_F(URLSessionTest, GoesOnWithoutItsSessionAndTask)
{
    server.serve("/", {.body = "hello"});
    const auto loading = begin(*session, request());
    loading->task.reset();
    session.reset();
    ASSERT_TRUE(waitFor(*loading));
    EXPECT_EQ(loading->text, "hello");
}

TEST_F(URLSessionTest, ReleasesTheHandlerAfterItsCall)
{
    server.serve("/", {.body = "hello"});
    auto counted = std::make_shared<int>();
    const std::weak_ptr<int> weak = counted;
    const auto task = session->dataTask(request(), [kept = std::move(counted)](auto, auto, auto) { });
    task->resume();
    ASSERT_TRUE(waitUntil([&] {
        DispatchQueue::main()->async([] { });
        return weak.expired();
    }));
}

TEST_F(URLSessionTest, ACancelledTaskEndsWithAnError)
{
    const auto early = prepare(*session, request());
    early->task->cancel();
    early->task->resume();
    ASSERT_TRUE(waitFor(*early));
    EXPECT_EQ(early->code(), NSURLErrorCancelled);
    EXPECT_EQ(early->text, std::nullopt);
    EXPECT_EQ(early->task->state(), URLSessionDataTask::State::completed);
    EXPECT_TRUE(server.requests().empty());

    const auto atOnce = begin(*session, request());
    atOnce->task->cancel();
    atOnce->task->cancel();
    ASSERT_TRUE(waitFor(*atOnce));
    EXPECT_EQ(atOnce->code(), NSURLErrorCancelled);
    EXPECT_EQ(atOnce->calls, 1);
}

TEST_F(URLSessionTest, ManyThreadsCancelWhatManyBegin)
{
    server.serve("/", {.body = "hello"});
    std::vector<std::shared_ptr<LumoKit::Test::Load>> loads;
    for (int index = 0; index < 200; ++index)
        loads.push_back(prepare(*session, request()));
    std::thread resuming([&] {
        for (const auto& each : loads)
            each->task->resume();
    });
    std::thread cancelling([&] {
        for (const auto& each : loads)
            each->task->cancel();
    });
    resuming.join();
    cancelling.join();
    for (const auto& each : loads) {
        ASSERT_TRUE(waitFor(*each));
        EXPECT_EQ(each->calls, 1);
        EXPECT_TRUE(each->code() == NSURLErrorCancelled || each->text == "hello");
    }
}

TEST_F(URLSessionTest, FollowsRedirects)
{
    server.redirect("/", "/1");
    server.redirect("/1", "/2?query");
    server.serve("/2", {.body = "there"});
    const auto loaded = load(*session, request());
    EXPECT_EQ(loaded->text, "there");
    EXPECT_EQ(loaded->response->url().absoluteString(), server.origin() + "/2?query");
}

TEST_F(URLSessionTest, WhoARequestIsFromIsNotToldToAnotherServer)
{
    TestServer other;
    other.serve("/", {.body = "there"});
    server.redirect("/", other.origin() + "/");
    server.redirect("/within", "/end");
    server.serve("/end", {});
    URLRequest asked = request();
    asked.setValue("Bearer secret", "Authorization");
    EXPECT_EQ(load(*session, asked)->text, "there");
    EXPECT_EQ(server.received("authorization", "/"), "Bearer secret");
    EXPECT_EQ(other.received("authorization", "/"), std::nullopt);
    asked.url = request("/within").url;
    EXPECT_EQ(load(*session, asked)->status(), 200);
    EXPECT_EQ(server.received("authorization", "/end"), "Bearer secret");
}

TEST_F(URLSessionTest, TakesAndSendsCookies)
{
    server.serve("/in", {.headers = {{"Set-Cookie", "sid=1; Path=/; HttpOnly"}}});
    server.serve("/", {});
    EXPECT_EQ(load(*session, request("/in"))->status(), 200);
    EXPECT_EQ(session->configuration().httpCookieStorage->cookies().size(), 1u);
    EXPECT_EQ(load(*session, request())->status(), 200);
    EXPECT_EQ(server.received("cookie", "/"), "sid=1");

    URLSession another(URLSessionConfiguration::ephemeral());
    EXPECT_EQ(load(another, request())->status(), 200);
    EXPECT_EQ(server.received("cookie", "/"), std::nullopt);

    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.httpCookieStorage = nullptr;
    URLSession none(configuration);
    EXPECT_EQ(load(none, request("/in"))->status(), 200);
    EXPECT_EQ(load(none, request())->status(), 200);
    EXPECT_EQ(server.received("cookie", "/"), std::nullopt);
}

TEST_F(URLSessionTest, ARequestOfHTTPSIsNotSentACookieOfAnotherHost)
{
    server.serve("/in", {.headers = {{"Set-Cookie", "sid=1; Domain=elsewhere.example"}}});
    EXPECT_EQ(load(*session, request("/in"))->status(), 200);
    EXPECT_TRUE(session->configuration().httpCookieStorage->cookies().empty());
}

TEST_F(URLSessionTest, UndoesEncodings)
{
    // "hello" by gzip.
    static constexpr unsigned char encoded[]{0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0xcb,
        0x48, 0xcd, 0xc9, 0xc9, 0x07, 0x00, 0x86, 0xa6, 0x10, 0x36, 0x05, 0x00, 0x00, 0x00};
    server.serve("/",
        {.body = std::string(reinterpret_cast<const char*>(encoded), sizeof encoded),
            .headers = {{"Content-Encoding", "gzip"}}});
    EXPECT_EQ(load(*session, request())->text, "hello");
    EXPECT_THAT(server.received("accept-encoding", "/").value_or(""), ::testing::HasSubstr("gzip"));
}

// ---- cache

TEST_F(URLSessionTest, AFreshAnswerIsTakenFromTheCache)
{
    const auto cached = withCache();
    server.serve("/", {.body = "hello", .headers = {{"Cache-Control", "max-age=100"}}});
    EXPECT_EQ(load(*cached, request())->text, "hello");
    server.serve("/", {.body = "new"});
    const auto again = load(*cached, request());
    EXPECT_EQ(again->text, "hello");
    EXPECT_EQ(again->status(), 200);
    EXPECT_EQ(server.requests().size(), 1u);
    cached->configuration().urlCache->removeAllCachedResponses();
    EXPECT_EQ(load(*cached, request())->text, "new");
}

TEST_F(URLSessionTest, AnIgnoredCacheStillLearnsTheAnswer)
{
    const auto cached = withCache();
    server.serve("/", {.body = "hello", .headers = {{"Cache-Control", "max-age=100"}}});
    EXPECT_EQ(load(*cached, request())->text, "hello");
    server.serve("/", {.body = "new", .headers = {{"Cache-Control", "max-age=100"}}});
    const auto policy = URLRequestCachePolicy::reloadIgnoringLocalCacheData;
    EXPECT_EQ(load(*cached, request("/", policy))->text, "new");
    EXPECT_EQ(load(*cached, request())->text, "new");
    EXPECT_EQ(server.requests().size(), 2u);
}

TEST_F(URLSessionTest, AStaleAnswerIsAskedAbout)
{
    const auto cached = withCache();
    server.serve("/", {.body = "hello", .headers = {{"ETag", "\"1\""}, {"Cache-Control", "no-cache"}}});
    EXPECT_EQ(load(*cached, request())->text, "hello");
    server.serve("/", {.status = 304, .headers = {{"X-Later", "1"}}});
    const auto again = load(*cached, request());
    EXPECT_EQ(again->text, "hello");
    EXPECT_EQ(again->status(), 200);
    EXPECT_EQ(again->response->valueForHTTPHeaderField("X-Later"), "1");
    EXPECT_EQ(server.received("if-none-match", "/"), "\"1\"");
    server.serve("/", {.body = "new"});
    EXPECT_EQ(load(*cached, request())->text, "new");
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(URLSessionTest, ARedirectTakesTheQuestionAway)
{
    const auto cached = withCache();
    server.serve("/", {.body = "hello", .headers = {{"ETag", "\"1\""}}});
    EXPECT_EQ(load(*cached, request())->text, "hello");
    server.redirect("/", "/other");
    server.serve("/other", {.body = "other"});
    EXPECT_EQ(load(*cached, request())->text, "other");
    EXPECT_EQ(server.received("if-none-match", "/other"), std::nullopt);
}

TEST_F(URLSessionTest, AnOldAnswerIsTakenWhereThePolicySaysSo)
{
    const auto cached = withCache();
    const auto elseLoad = request("/", URLRequestCachePolicy::returnCacheDataElseLoad);
    const auto dontLoad = request("/", URLRequestCachePolicy::returnCacheDataDontLoad);
    EXPECT_EQ(load(*cached, dontLoad)->code(), NSURLErrorResourceUnavailable);
    EXPECT_TRUE(server.requests().empty());
    server.serve("/", {.body = "hello", .headers = {{"ETag", "\"1\""}, {"Cache-Control", "no-cache"}}});
    EXPECT_EQ(load(*cached, elseLoad)->text, "hello");
    EXPECT_EQ(load(*cached, elseLoad)->text, "hello");
    EXPECT_EQ(load(*cached, dontLoad)->text, "hello");
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(load(*session, dontLoad)->code(), NSURLErrorResourceUnavailable)
        << "without a cache there is nothing";
}

TEST_F(URLSessionTest, ARequestThatSpeaksOfCachesItselfGoesToTheServer)
{
    const auto cached = withCache();
    server.serve("/", {.body = "hello", .headers = {{"Cache-Control", "max-age=100"}}});
    EXPECT_EQ(load(*cached, request())->text, "hello");
    URLRequest asked = request();
    asked.setValue("no-cache", "cache-control");
    EXPECT_EQ(load(*cached, asked)->text, "hello");
    EXPECT_EQ(server.requests().size(), 2u);
}

// ---- configuration

TEST_F(URLSessionTest, ConfigurationsAreComparedByWhatTheySay)
{
    const auto plain = URLSessionConfiguration::defaultConfiguration();
    EXPECT_EQ(plain, URLSessionConfiguration::defaultConfiguration());
    EXPECT_EQ(plain.urlCache, URLCache::shared());
    EXPECT_EQ(plain.httpCookieStorage, HTTPCookieStorage::shared());
    EXPECT_EQ(plain.timeoutIntervalForRequest, 60);
    auto other = plain;
    other.timeoutIntervalForResource = 5;
    EXPECT_NE(plain, other);
    const auto ephemeral = URLSessionConfiguration::ephemeral();
    EXPECT_EQ(ephemeral.urlCache, nullptr);
    EXPECT_NE(ephemeral.httpCookieStorage, HTTPCookieStorage::shared());
    EXPECT_NE(ephemeral, URLSessionConfiguration::ephemeral()) << "each has cookies of its own";
    EXPECT_EQ(URLSession::shared(), URLSession::shared());
    EXPECT_EQ(URLSession::shared()->configuration(), plain);
}

TEST_F(URLSessionTest, TheSharedSessionKeepsCookiesForEverybody)
{
    server.serve("/in", {.headers = {{"Set-Cookie", "shared=1; Path=/"}}});
    EXPECT_EQ(load(*URLSession::shared(), request("/in"))->status(), 200);
    server.serve("/", {});
    URLSession other(URLSessionConfiguration::defaultConfiguration());
    EXPECT_EQ(load(other, request())->status(), 200);
    EXPECT_EQ(server.received("cookie", "/"), "shared=1");
    for (const HTTPCookie& cookie : HTTPCookieStorage::shared()->cookies())
        HTTPCookieStorage::shared()->deleteCookie(cookie);
    EXPECT_EQ(load(other, request())->status(), 200);
    EXPECT_EQ(server.received("cookie", "/"), std::nullopt);
}

} // namespace
