// The program of these tests lies in a bundle, which has a shipped script.

#include "Support/Loading.h"
#include "Support/PrivateData.h"
#include "Support/SocketServer.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestServer.h"

#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Utility/FileSystem.h>
#include <LumoKit/WebView/InjectDownloader.h>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>

using namespace LumoKit;
using namespace std::string_literals;
using LumoKit::Test::peakMemory;
using LumoKit::Test::SocketServer;
using LumoKit::Test::TemporaryFolder;
using LumoKit::Test::TestServer;
using LumoKit::Test::waitUntil;
using LumoKit::Test::writeInPlace;
namespace fs = std::filesystem;

namespace {

constexpr const char* shipped = "console.log(\"shipped\");\n";

/// A host's container of dependencies.
class Dependencies : public InjectDownloaderConfigurationProvider {
public:
    explicit Dependencies(URL url)
        : url(std::move(url))
    {
    }

    std::shared_ptr<InjectDownloader> injectDownloader() const override { return downloader.lock(); }
    URL injectURL() const override { return url; }
    Value injectUserInfo() const override { return "mine"; }

    URL url;
    std::weak_ptr<InjectDownloader> downloader;
};

std::shared_ptr<InjectDownloader> downloaderOf(const std::string& url)
{
    const auto dependencies = std::make_shared<Dependencies>(*URL::parse(url));
    auto downloader = std::make_shared<InjectDownloader>(dependencies);
    dependencies->downloader = downloader;
    return downloader;
}

/// The scripts that were delivered.
struct Deliveries {
    std::vector<std::string> scripts;
    bool areOnMain = true;
};

class InjectDownloaderTest : public ::testing::Test {
protected:
    static fs::path cachedFile() { return FileSystemUtils::applicationDataDirectoryURL().path() + "/inject"; }
    static std::string cached() { return readFile(cachedFile()).value_or("(nothing)"); }

    /// Downloads and gives what was delivered.
    std::string download(InjectDownloader& downloader)
    {
        auto deliveries = std::make_shared<Deliveries>();
        downloader.downloadInject([deliveries, main = std::this_thread::get_id()](const std::string& script) {
            deliveries->scripts.push_back(script);
            deliveries->areOnMain = deliveries->areOnMain && std::this_thread::get_id() == main;
        });
        EXPECT_TRUE(deliveries->scripts.empty()) << "never within the call";
        if (!waitUntil([&] { return !deliveries->scripts.empty(); }))
            return "(not delivered)";
        LumoKit::Test::runPendingTurns();
        EXPECT_EQ(deliveries->scripts.size(), 1u);
        EXPECT_TRUE(deliveries->areOnMain);
        return deliveries->scripts.front();
    }
    std::string download(const std::string& url) { return download(*downloaderOf(url)); }
    std::string script() { return server.origin() + "/inject.js"; }

    /// What a server that does this with its connection leads to.
    std::string downloadFrom(std::function<void(SocketServer::Connection&)> serve)
    {
        const SocketServer hostile([serve = std::move(serve)](auto& connection) {
            if (connection.receiveHead())
                serve(connection);
        });
        return download(hostile.origin() + "/");
    }

    const LumoKit::Test::PrivateData data;
    TestServer server;
};

TEST_F(InjectDownloaderTest, DeliversAndKeepsTheDownload)
{
    server.serve("/inject.js", {.body = "first \xC3\xA9\r\n"});
    EXPECT_EQ(download(script()), "first \xC3\xA9\r\n");
    EXPECT_EQ(cached(), "first \xC3\xA9\r\n");
    server.serve("/inject.js", {.body = "second"});
    EXPECT_EQ(download(script()), "second");
    EXPECT_EQ(cached(), "second");
    struct stat status{};
    ASSERT_EQ(::stat(cachedFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(InjectDownloaderTest, AFirstStartWithoutNetworkDeliversTheShippedCopy)
{
    EXPECT_EQ(download(LumoKit::Test::refusedOrigin() + "/"), shipped);
    EXPECT_FALSE(fs::exists(cachedFile()));
}

TEST_F(InjectDownloaderTest, ALaterStartWithoutNetworkDeliversTheLastDownload)
{
    server.serve("/inject.js", {.body = "downloaded"});
    EXPECT_EQ(download(script()), "downloaded");
    EXPECT_EQ(download(LumoKit::Test::refusedOrigin() + "/"), "downloaded");
}

TEST_F(InjectDownloaderTest, AnyStatusIsAsGoodAsAnother)
{
    server.serve("/inject.js", {.status = 500, .body = "<h1>sorry</h1>"});
    EXPECT_EQ(download(script()), "<h1>sorry</h1>");
    EXPECT_EQ(cached(), "<h1>sorry</h1>");
}

TEST_F(InjectDownloaderTest, AnswersFromTheCacheOfSessionsDoNotCount)
{
    server.serve("/inject.js", {.body = "first", .headers = {{"Cache-Control", "max-age=1000"}}});
    EXPECT_EQ(download(script()), "first");
    server.serve("/inject.js", {.body = "second", .headers = {{"Cache-Control", "max-age=1000"}}});
    EXPECT_EQ(download(script()), "second");
    URLCache::shared()->removeAllCachedResponses();
}

TEST_F(InjectDownloaderTest, AnEmptyAnswerIsNoScript)
{
    server.serve("/inject.js", {.body = ""});
    EXPECT_EQ(download(script()), shipped);
    EXPECT_FALSE(fs::exists(cachedFile()));
    writeInPlace(cachedFile(), "kept");
    EXPECT_EQ(download(script()), "kept");
    server.serve("/inject.js", {.status = 204});
    EXPECT_EQ(download(script()), "kept");
    EXPECT_EQ(cached(), "kept");
}

TEST_F(InjectDownloaderTest, WhatIsNoUTF8IsNoScript)
{
    writeInPlace(cachedFile(), "kept");
    for (const std::string& body : {"caf\xE9"s,
             "\xFF\xFE"
             "a\0"s,
             "cut off \xC3"s}) {
        server.serve("/inject.js", {.body = body});
        EXPECT_EQ(download(script()), "kept");
    }
    EXPECT_EQ(cached(), "kept");
}

TEST_F(InjectDownloaderTest, WhateverAServerDoesThereIsOneScript)
{
    writeInPlace(cachedFile(), "kept");
    const std::string head = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
    EXPECT_EQ(downloadFrom([](auto& connection) { connection.reset(); }), "kept");
    EXPECT_EQ(downloadFrom([&](auto& connection) {
        connection.send(head + "Content-Length: 100\r\n\r\nalert(1)");
        connection.reset();
    }),
        "kept");
    EXPECT_EQ(downloadFrom(
                  [&](auto& connection) { connection.send(head + "Content-Length: 100\r\n\r\nalert(1)"); }),
        "kept");
    EXPECT_EQ(downloadFrom([&](auto& connection) { connection.send("nonsense\r\n\r\n"); }), "kept");
    server.redirect("/inject.js", "/inject.js");
    EXPECT_EQ(download(script()), "kept");
    EXPECT_EQ(download("file:///etc/hostname"), "kept");
    EXPECT_EQ(download("https://nobody.invalid/"), "kept");
    EXPECT_EQ(cached(), "kept");
}

TEST_F(InjectDownloaderTest, AnEndlessScriptIsNone)
{
    const auto before = peakMemory();
    const std::string megabyte(1 << 20, ' ');
    EXPECT_EQ(downloadFrom([&](auto& connection) {
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        for (int sent = 0; sent < 1024 && connection.send(megabyte); ++sent) { }
    }),
        shipped);
    EXPECT_LT(peakMemory() - before, LumoKit::Test::megabytes(300));
}

TEST_F(InjectDownloaderTest, ASilentServerHasSixtySeconds)
{
    const SocketServer silent([](auto& connection) { connection.waitForEnd(); });
    const auto started = std::chrono::steady_clock::now();
    std::optional<std::string> delivered;
    const auto downloader = downloaderOf(silent.origin() + "/");
    downloader->downloadInject([&](const std::string& script) { delivered = script; });
    for (int wait = 0; wait < 4 && !delivered; ++wait) // of twenty seconds each
        static_cast<void>(waitUntil([&] { return delivered.has_value(); }));
    EXPECT_EQ(delivered, shipped);
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::seconds(60)) << "no sooner either";
}

TEST_F(InjectDownloaderTest, IsNotDeliveredOnceTheDownloaderIsReleased)
{
    std::atomic<bool> released = false;
    const SocketServer waiting([&](auto& connection) {
        connection.receiveHead();
        released.wait(false);
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nlate!");
        connection.waitForEnd();
    });
    auto downloader = downloaderOf(waiting.origin() + "/");
    const auto held = std::make_shared<int>();
    bool delivered = false;
    downloader->downloadInject([&delivered, held](const std::string&) { delivered = true; });
    ASSERT_TRUE(waitUntil([&] {
        DispatchQueue::main()->async([] { });
        return waiting.connections() == 1;
    }));
    downloader.reset();
    released = true;
    released.notify_all();
    // The completion goes when the download has ended.
    ASSERT_TRUE(waitUntil([&] {
        DispatchQueue::main()->async([] { });
        return held.use_count() == 1;
    }));
    LumoKit::Test::runPendingTurns();
    EXPECT_FALSE(delivered);
    EXPECT_FALSE(fs::exists(cachedFile()));
}

TEST_F(InjectDownloaderTest, ADownloadDoesNotKeepTheDownloader)
{
    const SocketServer silent([](auto& connection) { connection.waitForEnd(); });
    auto downloader = downloaderOf(silent.origin() + "/");
    const std::weak_ptr<InjectDownloader> weak = downloader;
    downloader->downloadInject([](const std::string&) { });
    downloader.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(InjectDownloaderTest, TheCopyThatIsNotThereIsTheShippedOne)
{
    const auto downloader = downloaderOf(script());
    EXPECT_EQ(downloader->loadBundledInject(), shipped);
    EXPECT_EQ(downloader->loadCachedInject(), shipped);
    writeInPlace(cachedFile(), "kept");
    EXPECT_EQ(downloader->loadCachedInject(), "kept");
    EXPECT_EQ(downloader->loadBundledInject(), shipped);
    writeInPlace(cachedFile(), "");
    EXPECT_EQ(downloader->loadCachedInject(), "");
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(InjectDownloaderTest, ReadsACopyInTheEncodingThatItsMarkSays)
{
    const auto downloader = downloaderOf(script());
    writeInPlace(cachedFile(),
        "\xEF\xBB\xBF"
        "caf\xC3\xA9");
    EXPECT_EQ(downloader->loadCachedInject(), "caf\xC3\xA9");
    writeInPlace(cachedFile(),
        "\xFF\xFE"
        "a\0\xE9\0"s);
    EXPECT_EQ(downloader->loadCachedInject(), "a\xC3\xA9");
}

TEST_F(InjectDownloaderTest, ACopyThatCannotBeReadIsNothingAndTheShippedOneIsDelivered)
{
    const auto downloader = downloaderOf(LumoKit::Test::refusedOrigin() + "/");
    writeInPlace(cachedFile(), "caf\xE9");
    EXPECT_EQ(downloader->loadCachedInject(), std::nullopt);
    EXPECT_EQ(download(*downloader), shipped);
    fs::remove(cachedFile());
    fs::create_directory(cachedFile());
    EXPECT_EQ(downloader->loadCachedInject(), std::nullopt);
    EXPECT_EQ(download(*downloader), shipped);
}

TEST_F(InjectDownloaderTest, ADownloadThatCannotBeKeptIsPrintedAndDelivered)
{
    server.serve("/inject.js", {.body = "downloaded"});
    fs::create_directories(cachedFile() / "in the way");
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(download(script()), "downloaded");
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
        ::testing::AllOf(::testing::StartsWith("Error while saving cached inject: " + cachedFile().string()),
            ::testing::EndsWith("\n")));
}

TEST_F(InjectDownloaderTest, AFullDiskKeepsTheLastDownload)
{
    writeInPlace(cachedFile(), "kept");
    server.serve("/inject.js", {.body = std::string(100'000, ' ')});
    // No file may become longer than this, as if the disk had no room.
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit full{20'000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(download(script()).size(), 100'000u);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
        ::testing::StartsWith("Error while saving cached inject: "));
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(cached(), "kept");
    for (const auto& item : fs::directory_iterator(cachedFile().parent_path()))
        EXPECT_THAT(item.path().filename(), ::testing::AnyOf("inject", "Network"))
            << "nothing is left behind";
}

TEST_F(InjectDownloaderTest, TheDataFolderThatIsGoneIsMadeAnew)
{
    server.serve("/inject.js", {.body = "downloaded"});
    fs::remove_all(cachedFile().parent_path());
    EXPECT_EQ(download(script()), "downloaded");
    EXPECT_EQ(cached(), "downloaded");
}

TEST_F(InjectDownloaderTest, ItsOperationsMayBeOverridden)
{
    class Mine : public InjectDownloader {
    public:
        using InjectDownloader::InjectDownloader;
        std::optional<std::string> loadCachedInject() override { return std::nullopt; }
        std::string loadBundledInject() override { return "mine"; }
    };
    const auto mine = std::make_shared<Mine>(
        std::make_shared<Dependencies>(*URL::parse(LumoKit::Test::refusedOrigin() + "/")));
    EXPECT_EQ(download(*mine), "mine");
}

// ---- bundles that are not whole: a copy of this program lies in one

TEST(InjectInABundle, LoadsItsShippedCopy)
{
    std::printf("script <%s>\n", downloaderOf("http://127.0.0.1/")->loadBundledInject().c_str());
}

TEST(InjectInABundle, StopsWithoutAShippedCopyThatCanBeRead)
{
    const TemporaryFolder folder;
    const fs::path contents = folder / "Tea.app" / "Contents";
    fs::create_directories(contents / "Linux");
    fs::create_directories(contents / "Resources");
    fs::copy_file("/proc/self/exe", contents / "Linux" / "Tea");
    const auto told = [&] {
        const std::string command = "'" + (contents / "Linux" / "Tea").string()
            + "' --gtest_filter=InjectInABundle.LoadsItsShippedCopy 2>&1";
        std::FILE* output = ::popen(command.c_str(), "r");
        std::string text;
        for (int character = 0; (character = std::fgetc(output)) != EOF;)
            text += static_cast<char>(character);
        ::pclose(output);
        return text;
    };
    writeInPlace(contents / "Info.plist",
        "<plist "
        "version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example.tea</string></dict></plist>");
    EXPECT_THAT(told(), ::testing::HasSubstr("Fatal error: There is no inject fallback in the bundle!"));
    writeInPlace(contents / "Resources" / "inject_fallback.js", "caf\xE9");
    EXPECT_THAT(
        told(), ::testing::HasSubstr("Fatal error: The inject fallback in the bundle cannot be read"));
    writeInPlace(contents / "Resources" / "inject_fallback.js", "alert(1)");
    EXPECT_THAT(told(), ::testing::HasSubstr("script <alert(1)>"));
}

} // namespace
