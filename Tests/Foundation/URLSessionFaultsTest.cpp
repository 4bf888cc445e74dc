#include "Support/Loading.h"
#include "Support/Printing.h"
#include "Support/SocketServer.h"
#include "Support/TestServer.h"

#include <LumoKit/Platform/Foundation/HTTPCookieStorage.h>

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <future>

using namespace LumoKit;
using LumoKit::Test::begin;
using LumoKit::Test::load;
using LumoKit::Test::SocketServer;
using LumoKit::Test::waitFor;
using Connection = SocketServer::Connection;

namespace {

constexpr std::string_view head = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nConnection: close\r\n";

/// `count` million zeros by gzip.
std::string zeros(int count)
{
    GConverter* compressor = G_CONVERTER(g_zlib_compressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP, 9));
    GOutputStream* memory = g_memory_output_stream_new_resizable();
    GOutputStream* stream = g_converter_output_stream_new(memory, compressor);
    const std::string million(1'000'000, '\0');
    for (int index = 0; index < count; ++index)
        g_output_stream_write_all(stream, million.data(), million.size(), nullptr, nullptr, nullptr);
    g_output_stream_close(stream, nullptr, nullptr);
    GBytes* bytes = g_memory_output_stream_steal_as_bytes(G_MEMORY_OUTPUT_STREAM(memory));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string all(data, size);
    g_bytes_unref(bytes);
    g_object_unref(stream);
    g_object_unref(memory);
    g_object_unref(compressor);
    return all;
}

class URLSessionFaultsTest : public ::testing::Test {
protected:
    URLSessionFaultsTest() { configuration.httpCookieStorage = nullptr; }

    /// What a task ends with where a server does this with its connection.
    std::shared_ptr<LumoKit::Test::Load> loadFrom(std::function<void(Connection&)> serve, double timeout = 60)
    {
        const SocketServer server([serve = std::move(serve)](Connection& connection) {
            if (connection.receiveHead())
                serve(connection);
        });
        URLSession session(configuration);
        URLRequest request(*URL::parse(server.origin() + "/"));
        request.timeoutInterval = timeout;
        auto loaded = load(session, request);
        EXPECT_EQ(loaded->calls, 1);
        EXPECT_TRUE(!loaded->error || !loaded->text) << "a body or an error";
        return loaded;
    }

    URLSessionConfiguration configuration;
};

TEST_F(URLSessionFaultsTest, NobodyListens)
{
    URLSession session(configuration);
    const auto loaded = load(session, *URL::parse(LumoKit::Test::refusedOrigin() + "/"));
    EXPECT_EQ(loaded->code(), NSURLErrorCannotConnectToHost);
    EXPECT_EQ(loaded->response, nullptr);
    EXPECT_EQ(loaded->calls, 1);
}

TEST_F(URLSessionFaultsTest, ThereIsNoSuchHost)
{
    URLSession session(configuration);
    const int code = load(session, *URL::parse("http://nobody.invalid/"))->code();
    EXPECT_TRUE(code == NSURLErrorCannotFindHost || code == NSURLErrorDNSLookupFailed) << code;
}

TEST_F(URLSessionFaultsTest, TheDesktopsProxyIsAsked)
{
    std::promise<std::string> asked;
    const SocketServer proxy([&](Connection& connection) {
        if (connection.receiveHead()) {
            asked.set_value(connection.head());
            connection.send(std::string(head) + "Content-Length: 9\r\n\r\nby proxy.");
        }
    });
    ::setenv("http_proxy", proxy.origin().c_str(), 1); // which this process's resolver reads first
    URLSession session(configuration);
    const auto loaded = load(session, *URL::parse("http://service.example/tea?leaves=2"));
    ::unsetenv("http_proxy");
    ASSERT_FALSE(loaded->error) << loaded->code();
    EXPECT_EQ(loaded->text, "by proxy.");
    EXPECT_TRUE(asked.get_future().get().starts_with("GET http://service.example/tea?leaves=2 HTTP/1.1\r\n"));
}

TEST_F(URLSessionFaultsTest, AProxyThatIsNotThereIsAnError)
{
    ::setenv("http_proxy", LumoKit::Test::refusedOrigin().c_str(), 1);
    URLSession session(configuration);
    const auto loaded = load(session, *URL::parse("http://service.example/"));
    ::unsetenv("http_proxy");
    EXPECT_EQ(loaded->code(), NSURLErrorCannotConnectToHost);
    EXPECT_EQ(loaded->calls, 1);
}

TEST_F(URLSessionFaultsTest, WhatIsNoAddressOfHTTP)
{
    URLSession session(configuration);
    for (const char* address : {"file:///etc/passwd", "data:text/plain,hello", "ftp://127.0.0.1/", "relative",
             "/", "mailto:a@b.example"})
        EXPECT_EQ(load(session, *URL::parse(address))->code(), NSURLErrorUnsupportedURL) << address;
    for (const char* address : {"http:", "http:///path", "https:path", "http://:80/"})
        EXPECT_EQ(load(session, *URL::parse(address))->code(), NSURLErrorBadURL) << address;
}

TEST_F(URLSessionFaultsTest, ARedirectCannotLeaveHTTP)
{
    LumoKit::Test::TestServer server;
    server.redirect("/file", "file:///etc/passwd");
    server.redirect("/data", "data:text/plain,hello");
    server.serve("/nowhere", {.status = 302});
    URLSession session(configuration);
    for (const char* path : {"/file", "/data", "/nowhere"}) {
        const auto loaded = load(session, *URL::parse(server.origin() + path));
        EXPECT_TRUE(loaded->error || loaded->status() == 302) << path;
        EXPECT_NE(loaded->text, "hello");
    }
}

TEST_F(URLSessionFaultsTest, RedirectsThatGoRound)
{
    LumoKit::Test::TestServer server;
    server.redirect("/", "/other");
    server.redirect("/other", "/");
    URLSession session(configuration);
    const auto loaded = load(session, *URL::parse(server.origin() + "/"));
    EXPECT_EQ(loaded->code(), NSURLErrorHTTPTooManyRedirects);
    EXPECT_LE(server.requests().size(), 21u);
    EXPECT_EQ(loaded->calls, 1);
}

TEST_F(URLSessionFaultsTest, AServerThatNeverAnswers)
{
    EXPECT_EQ(
        loadFrom([](Connection& connection) { connection.waitForEnd(); }, 0.2)->code(), NSURLErrorTimedOut);
}

TEST_F(URLSessionFaultsTest, AServerThatStopsInTheMiddle)
{
    const auto loaded = loadFrom(
        [](Connection& connection) {
            connection.send(std::string(head) + "Content-Length: 100\r\n\r\nhello");
            connection.waitForEnd();
        },
        0.2);
    EXPECT_EQ(loaded->code(), NSURLErrorTimedOut);
    EXPECT_EQ(loaded->status(), 200) << "the head had arrived";
}

TEST_F(URLSessionFaultsTest, TheSessionsTimeOutCountsWhereItIsShorter)
{
    configuration.timeoutIntervalForRequest = 0.2;
    EXPECT_EQ(loadFrom([](Connection& connection) { connection.waitForEnd(); })->code(), NSURLErrorTimedOut);
}

TEST_F(URLSessionFaultsTest, AServerThatSendsAByteNowAndThenHasTimeForAllButNoMore)
{
    const auto drip = [](Connection& connection) {
        connection.send(std::string(head) + "\r\n");
        while (connection.send("a"))
            std::this_thread::sleep_for(std::chrono::milliseconds(50)); // what this server is about
    };
    configuration.timeoutIntervalForResource = 1;
    const auto loaded = loadFrom(drip, 0.6);
    EXPECT_EQ(loaded->code(), NSURLErrorTimedOut);
    EXPECT_THAT(loaded->error->description, ::testing::HasSubstr("altogether"))
        << "each byte gave it time anew";
}

TEST_F(URLSessionFaultsTest, AHeadThatTricklesIn)
{
    const auto drip = [](Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\n");
        while (connection.send("X: 1\r\n"))
            std::this_thread::sleep_for(std::chrono::milliseconds(20)); // what this server is about
    };
    EXPECT_EQ(loadFrom(drip, 0.3)->code(), NSURLErrorTimedOut);
}

TEST_F(URLSessionFaultsTest, ABodyThatIsCutOff)
{
    const auto announced = loadFrom([](Connection& connection) {
        connection.send(std::string(head) + "Content-Length: 100\r\n\r\nhello");
    });
    EXPECT_EQ(announced->code(), NSURLErrorNetworkConnectionLost);
    const auto chunked = loadFrom([](Connection& connection) {
        connection.send(std::string(head) + "Transfer-Encoding: chunked\r\n\r\n50\r\nhello");
    });
    EXPECT_EQ(chunked->code(), NSURLErrorNetworkConnectionLost);
    const auto whole = loadFrom([](Connection& connection) {
        connection.send(std::string(head) + "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n");
    });
    EXPECT_EQ(whole->text, "hello");
}

TEST_F(URLSessionFaultsTest, AConnectionThatBreaks)
{
    const auto early = loadFrom([](Connection& connection) { connection.reset(); });
    EXPECT_EQ(early->code(), NSURLErrorNetworkConnectionLost);
    const auto late = loadFrom([](Connection& connection) {
        connection.send(std::string(head) + "Content-Length: 100\r\n\r\nhello");
        connection.reset();
    });
    EXPECT_EQ(late->code(), NSURLErrorNetworkConnectionLost);
    const auto silent = loadFrom([](Connection&) { });
    EXPECT_EQ(silent->code(), NSURLErrorNetworkConnectionLost);
}

TEST_F(URLSessionFaultsTest, WhatIsNoHTTP)
{
    const auto loaded =
        loadFrom([](Connection& connection) { connection.send("220 mail.example ESMTP\r\n\r\n"); });
    EXPECT_NE(loaded->error, std::nullopt);
}

TEST_F(URLSessionFaultsTest, AHeadWithoutEnd)
{
    const auto before = LumoKit::Test::peakMemory();
    const auto loaded = loadFrom([](Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\n");
        const std::string field = "X-Field: " + std::string(1000, 'a') + "\r\n";
        while (connection.send(field)) { }
    });
    EXPECT_NE(loaded->error, std::nullopt);
    EXPECT_LT(LumoKit::Test::peakMemory() - before, 100u << 20);
}

TEST_F(URLSessionFaultsTest, ABodyOfAGigabyte)
{
    const std::string megabyte(1 << 20, 'a');
    const auto before = LumoKit::Test::peakMemory();
    std::atomic<int> sent = 0;
    const auto endless = loadFrom([&](Connection& connection) {
        connection.send(std::string(head) + "\r\n");
        while (sent < 1024 && connection.send(megabyte))
            ++sent;
    });
    EXPECT_EQ(endless->code(), NSURLErrorDataLengthExceedsMaximum);
    EXPECT_LT(sent, 128);
    EXPECT_LT(LumoKit::Test::peakMemory() - before, LumoKit::Test::megabytes(300));

    sent = 0;
    const auto announced = loadFrom([&](Connection& connection) {
        connection.send(std::string(head) + "Content-Length: 1073741824\r\n\r\n");
        while (sent < 1024 && connection.send(megabyte))
            ++sent;
    });
    EXPECT_EQ(announced->code(), NSURLErrorDataLengthExceedsMaximum);
    EXPECT_LT(sent, 32) << "it said so beforehand";
}

TEST_F(URLSessionFaultsTest, ABodyOfTheMostAndOneByteMore)
{
    configuration.maximumBodyLength = 100'000;
    for (const std::size_t size : {100'000u, 100'001u})
        for (const bool announced : {false, true}) {
            const auto loaded = loadFrom([&](Connection& connection) {
                connection.send(std::string(head)
                    + (announced ? "Content-Length: " + std::to_string(size) + "\r\n" : "") + "\r\n"
                    + std::string(size, 'a'));
            });
            EXPECT_EQ(loaded->code(), size == 100'000 ? 0 : NSURLErrorDataLengthExceedsMaximum);
        }
}

TEST_F(URLSessionFaultsTest, ABodyThatUnpacksToAThousandTimesItsSize)
{
    const std::string bomb = zeros(200);
    ASSERT_LT(bomb.size(), 300'000u);
    configuration.maximumBodyLength = 1 << 20;
    const auto before = LumoKit::Test::peakMemory();
    const auto loaded = loadFrom([&](Connection& connection) {
        connection.send(std::string(head)
            + "Content-Encoding: gzip\r\nContent-Length: " + std::to_string(bomb.size()) + "\r\n\r\n");
        connection.send(bomb);
        connection.waitForEnd();
    });
    EXPECT_EQ(loaded->code(), NSURLErrorDataLengthExceedsMaximum);
    EXPECT_LT(LumoKit::Test::peakMemory() - before, 50u << 20);
}

TEST_F(URLSessionFaultsTest, AnEncodingThatIsDamaged)
{
    std::string damaged = zeros(60);
    for (std::size_t index = damaged.size() / 2; index < damaged.size(); ++index)
        damaged[index] = static_cast<char>(damaged[index] ^ 0x5A);
    const auto loaded = loadFrom([&](Connection& connection) {
        connection.send(std::string(head) + "Content-Encoding: gzip\r\n\r\n" + damaged);
    });
    EXPECT_EQ(loaded->code(), NSURLErrorCannotDecodeRawData) << loaded->text.value_or("").size();
}

TEST_F(URLSessionFaultsTest, HeaderFieldsOfAnyBytesAreTexts)
{
    const auto loaded = loadFrom([](Connection& connection) {
        connection.send(std::string(head) + "X-Latin: caf\xE9\r\nX-Both: a\r\nX-Both: b\r\n\r\nhello");
    });
    EXPECT_EQ(loaded->text, "hello");
    EXPECT_EQ(loaded->response->valueForHTTPHeaderField("X-Latin"), "caf\xEF\xBF\xBD");
    EXPECT_EQ(loaded->response->valueForHTTPHeaderField("X-Both"), "a, b");
}

TEST_F(URLSessionFaultsTest, OneServerThatHangsHoldsNoOtherBack)
{
    const SocketServer hanging([](Connection& connection) { connection.waitForEnd(); });
    LumoKit::Test::TestServer server;
    server.serve("/", {.body = "hello"});
    URLSession session(configuration);
    std::vector<std::shared_ptr<LumoKit::Test::Load>> stuck;
    for (int index = 0; index < 20; ++index)
        stuck.push_back(begin(session, *URL::parse(hanging.origin() + "/")));
    EXPECT_EQ(load(session, *URL::parse(server.origin() + "/"))->text, "hello");
    for (const auto& each : stuck)
        each->task->cancel();
    for (const auto& each : stuck) {
        ASSERT_TRUE(waitFor(*each));
        EXPECT_EQ(each->code(), NSURLErrorCancelled);
    }
}

TEST_F(URLSessionFaultsTest, ACancelledTaskLetsGoOfItsConnection)
{
    std::atomic<bool> ended = false;
    const SocketServer server([&](Connection& connection) {
        connection.receiveHead();
        connection.send(std::string(head) + "Content-Length: 100\r\n\r\nhello");
        connection.waitForEnd();
        ended = true;
        DispatchQueue::main()->async([] { });
    });
    URLSession session(configuration);
    const auto loading = begin(session, *URL::parse(server.origin() + "/"));
    ASSERT_TRUE(LumoKit::Test::waitUntil([&] {
        DispatchQueue::main()->async([] { });
        return server.connections() == 1;
    }));
    loading->task->cancel();
    ASSERT_TRUE(waitFor(*loading));
    EXPECT_TRUE(LumoKit::Test::waitUntil([&] { return ended.load(); }));
}

using URLSessionDeathTest = URLSessionFaultsTest;

TEST_F(URLSessionDeathTest, AProcessMayEndWhileALoadBegins)
{
    for (int attempt = 0; attempt < 5; ++attempt)
        EXPECT_EXIT(
            {
                const auto url = URL::parse(LumoKit::Test::refusedOrigin() + "/");
                URLSession::shared()->dataTask(URLRequest(*url), [](auto&&...) { })->resume();
                std::exit(0);
            },
            testing::ExitedWithCode(0), "");
}

TEST_F(URLSessionDeathTest, WhatIsAskedForWhileTheProcessEndsIsDone)
{
    EXPECT_EXIT(
        {
            // Runs after what the network has to do at the end: it is registered before.
            std::atexit([] {
                const auto count = HTTPCookieStorage::inMemory()->cookies().size();
                std::fprintf(stderr, "%zu cookies", count);
            });
            std::exit(HTTPCookieStorage::inMemory()->cookies().empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "0 cookies");
}

} // namespace
