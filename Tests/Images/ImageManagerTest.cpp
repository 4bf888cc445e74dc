#include "Support/SocketServer.h"
#include "Support/TemporaryFolder.h"
#include "Support/TestImages.h"
#include "Support/TestServer.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/URLError.h>
#include <LumoKit/Platform/Images/ImageManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace fs = std::filesystem;

namespace {

class ImageManagerTest : public testing::Test {
protected:
    using Outcome = std::expected<RetrievedImage, Error>;

    ImageManagerTest()
    {
        auto configuration = manager.downloader().sessionConfiguration();
        configuration.urlCache = nullptr; // what is seen here is what these classes keep
        manager.downloader().setSessionConfiguration(configuration);
        server.serve("/a.jpg", {.type = "image/jpeg", .body = jpegFile(120, 120, photograph)});
    }

    [[nodiscard]] URL url(const std::string& path) const
    {
        return URL::parse(server.origin() + path).value();
    }
    [[nodiscard]] ImageResource resource(const std::string& path = "/a.jpg") const
    {
        return {url(path), server.origin() + path};
    }

    static Outcome retrieve(
        ImageManager& from, const ImageResource& resource, const ImageOptions& options = {})
    {
        std::vector<Outcome> outcomes;
        from.retrieveImage(
            resource, options, nullptr, [&](Outcome outcome) { outcomes.push_back(std::move(outcome)); });
        EXPECT_TRUE(outcomes.empty()) << "completed within the call";
        if (!waitUntil([&] { return !outcomes.empty(); }))
            return std::unexpected(Error{"test", 1, "it did not complete"});
        runPendingTurns();
        EXPECT_EQ(outcomes.size(), 1U);
        return std::move(outcomes.front());
    }
    Outcome retrieve(const ImageResource& resource, const ImageOptions& options = {})
    {
        return retrieve(manager, resource, options);
    }
    /// Forgets what is in memory, once what was asked for before is on disk.
    void forgetMemory()
    {
        static_cast<void>(
            retrieve({url("/none"), "none"}, {.onlyFromCache = true})); // comes after what was queued
        manager.clearMemoryCache();
    }
    [[nodiscard]] std::size_t files() const
    {
        return fs::exists(folder) ? static_cast<std::size_t>(std::distance(
                                        fs::directory_iterator(folder), fs::directory_iterator()))
                                  : 0;
    }
    static int codeOf(const Outcome& outcome) { return outcome ? 0 : outcome.error().code; }

    TemporaryFolder temporary;
    const fs::path folder = temporary / "Images";
    TestServer server;
    ImageManager manager{folder};
};

TEST_F(ImageManagerTest, TakesAnImageFromTheNetworkThenFromMemoryThenFromDisk)
{
    const auto first = retrieve(resource());
    ASSERT_TRUE(first);
    EXPECT_EQ(first->source, ImageSource::network);
    EXPECT_EQ(first->image->size(), (CGSize{120, 120}));
    const auto second = retrieve(resource());
    ASSERT_TRUE(second);
    EXPECT_EQ(second->source, ImageSource::memory);
    EXPECT_EQ(second->image, first->image);
    forgetMemory();
    const auto third = retrieve(resource());
    ASSERT_TRUE(third);
    EXPECT_EQ(third->source, ImageSource::disk);
    EXPECT_EQ(third->image->nativeImage().pixels(1)->data, first->image->nativeImage().pixels(1)->data);
    EXPECT_EQ(retrieve(resource())->source, ImageSource::memory);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(ImageManagerTest, OfALaterStartFindsWhatIsOnDisk)
{
    ASSERT_TRUE(retrieve(resource()));
    forgetMemory();
    ImageManager later(folder);
    EXPECT_EQ(retrieve(later, resource())->source, ImageSource::disk);
}

TEST_F(ImageManagerTest, DownloadsOnceForAllWhoAskMeanwhile)
{
    std::atomic<int> done = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            for (int count = 0; count < 25; ++count)
                manager.retrieveImage({url("/a.jpg"), "key" + std::to_string((number + count) % 3)}, {},
                    nullptr, [&](const Outcome& outcome) { done += outcome ? 1 : 1000; });
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(waitUntil([&] { return done >= 100; }));
    EXPECT_EQ(done, 100);
    EXPECT_EQ(server.requests().size(), 1U);
    forgetMemory();
    EXPECT_EQ(files(), 3U); // one for each key
}

TEST_F(ImageManagerTest, TellsAllWhoWaitOfAFailureAndTriesAgainLater)
{
    int failures = 0;
    for (int count = 0; count < 5; ++count)
        manager.retrieveImage(
            resource("/later.png"), {}, nullptr, [&](const Outcome& outcome) { failures += !outcome; });
    EXPECT_TRUE(waitUntil([&] { return failures == 5; }));
    server.serve("/later.png", {.type = "image/png", .body = pngFile(8, 8, photograph)});
    EXPECT_TRUE(retrieve(resource("/later.png")));
}

TEST_F(ImageManagerTest, CompletesOnTheMainQueueOrAnother)
{
    bool onMain = false;
    manager.retrieveImage(resource(), {}, nullptr, [&](const Outcome&) { onMain = isMainThread(); });
    EXPECT_TRUE(waitUntil([&] { return onMain; }));

    const auto queue = DispatchQueue::create("callbacks");
    bool elsewhere = false;
    DispatchSemaphore completed;
    manager.retrieveImage(resource(), {.callbackQueue = queue}, nullptr, [&](const Outcome&) {
        elsewhere = !isMainThread();
        completed.signal();
    });
    completed.wait();
    EXPECT_TRUE(elsewhere);
}

TEST_F(ImageManagerTest, TellsOfItsProgressBeforeItCompletes)
{
    std::vector<std::int64_t> told;
    bool completed = false;
    manager.retrieveImage(
        resource(), {},
        [&](std::int64_t received, std::int64_t all) {
            EXPECT_FALSE(completed);
            EXPECT_TRUE(isMainThread());
            told.insert(told.end(), {received, all});
        },
        [&](const Outcome&) { completed = true; });
    EXPECT_TRUE(waitUntil([&] { return completed; }));
    const auto length = static_cast<std::int64_t>(jpegFile(120, 120, photograph).size());
    EXPECT_EQ(told, (std::vector<std::int64_t>{length, length}));
}

TEST_F(ImageManagerTest, RefreshesAndLooksOnlyAtWhatIsKept)
{
    EXPECT_EQ(codeOf(retrieve(resource(), {.onlyFromCache = true})), static_cast<int>(ImageError::notCached));
    ASSERT_TRUE(retrieve(resource()));
    EXPECT_TRUE(retrieve(resource(), {.onlyFromCache = true}));
    server.serve("/a.jpg", {.type = "image/png", .body = pngFile(8, 8, photograph)});
    const auto refreshed = retrieve(resource(), {.forceRefresh = true});
    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->image->size(), (CGSize{8, 8}));
    EXPECT_EQ(retrieve(resource())->image, refreshed->image);
    forgetMemory();
    EXPECT_EQ(retrieve(resource())->image->size(), (CGSize{8, 8}));
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(ImageManagerTest, Forgets)
{
    ASSERT_TRUE(retrieve(resource()));
    manager.removeImage(resource().cacheKey);
    EXPECT_EQ(retrieve(resource())->source, ImageSource::network);
    manager.clearCache();
    EXPECT_EQ(retrieve(resource())->source, ImageSource::network);
}

TEST_F(ImageManagerTest, GivesNoImageForWhatIsNone)
{
    const std::string jpeg = jpegFile(200, 200, photograph);
    const std::string png = pngFile(200, 200, photograph);
    const std::map<std::string, TestServer::Answer> answers{
        {"/empty", {.type = "image/png"}},
        {"/page", {.body = "<html>Please log in</html>"}},
        {"/said-to-be-one", {.type = "image/png", .body = "this is no image"}},
        {"/half.jpg", {.type = "image/jpeg", .body = jpeg.substr(0, jpeg.size() / 2)}},
        {"/half.png", {.type = "image/png", .body = png.substr(0, png.size() / 2)}},
        {"/drawing.svg",
            {.type = "image/svg+xml",
                .body = R"(<svg xmlns="http://www.w3.org/2000/svg"><image href=")" + server.origin()
                    + R"(/fetched"/></svg>)"}},
    };
    for (const auto& [path, answer] : answers) {
        server.serve(path, answer);
        EXPECT_EQ(codeOf(retrieve(resource(path))), static_cast<int>(ImageError::notAnImage)) << path;
    }
    server.serve("/broken.jpg", {.status = 500, .type = "image/jpeg", .body = jpeg});
    EXPECT_EQ(codeOf(retrieve(resource("/broken.jpg"))), static_cast<int>(ImageError::badStatus));
    EXPECT_EQ(codeOf(retrieve(resource("/missing"))), static_cast<int>(ImageError::badStatus));
    forgetMemory();
    EXPECT_EQ(files(), 0U); // none is kept
    EXPECT_EQ(std::ranges::count(server.requests(), "/fetched"), 0);
}

TEST_F(ImageManagerTest, IsNotFooledByTheTypeThatIsSaid)
{
    server.serve("/typed", {.type = "text/plain", .body = pngFile(8, 8, photograph)});
    EXPECT_TRUE(retrieve(resource("/typed")));
}

TEST_F(ImageManagerTest, ReportsWhatGoesWrongOnTheWay)
{
    const auto from = [&](const std::string& origin) {
        return codeOf(retrieve({URL::parse(origin + "/").value(), origin}));
    };
    EXPECT_EQ(from(refusedOrigin()), NSURLErrorCannotConnectToHost);
    EXPECT_NE(from("file:///etc"), 0);
    const SocketServer resetting([](SocketServer::Connection& connection) {
        if (connection.receiveHead()
            && connection.send(
                "HTTP/1.1 200 OK\r\nContent-Type: image/jpeg\r\nContent-Length: 5000\r\n\r\nhalf"))
            connection.reset();
    });
    EXPECT_EQ(from(resetting.origin()), NSURLErrorNetworkConnectionLost);

    auto configuration = manager.downloader().sessionConfiguration();
    configuration.timeoutIntervalForRequest = 0.2;
    manager.downloader().setSessionConfiguration(configuration);
    EXPECT_EQ(manager.downloader().sessionConfiguration(), configuration);
    const SocketServer silent([](SocketServer::Connection& connection) { connection.waitForEnd(); });
    EXPECT_EQ(from(silent.origin()), NSURLErrorTimedOut);
}

TEST_F(ImageManagerTest, BoundsWhatItTakes)
{
    auto configuration = manager.downloader().sessionConfiguration();
    configuration.maximumBodyLength = 4 << 20;
    manager.downloader().setSessionConfiguration(configuration);
    const long before = peakMemory();
    const SocketServer endless([](SocketServer::Connection& connection) {
        const std::string much(1 << 20, 'x');
        if (connection.receiveHead() && connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n"))
            while (connection.send(much)) { }
    });
    EXPECT_EQ(codeOf(retrieve({URL::parse(endless.origin() + "/").value(), "endless"})),
        NSURLErrorDataLengthExceedsMaximum);
    EXPECT_LT(peakMemory() - before, 40);
}

TEST_F(ImageManagerTest, GetsAnImageAnewWhereItsFileIsDamaged)
{
    ASSERT_TRUE(retrieve(resource()));
    forgetMemory();
    ASSERT_EQ(files(), 1U);
    fs::resize_file(fs::directory_iterator(folder)->path(), 300);
    EXPECT_EQ(retrieve(resource())->source, ImageSource::network);
    forgetMemory();
    EXPECT_EQ(retrieve(resource())->source, ImageSource::disk);
}

TEST_F(ImageManagerTest, DeliversWhatItCannotKeep)
{
    writeInPlace(folder, "a file in the folder's place");
    testing::internal::CaptureStdout();
    EXPECT_EQ(retrieve(resource())->source, ImageSource::network);
    EXPECT_EQ(retrieve(resource())->source, ImageSource::memory);
    forgetMemory();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(printed.starts_with("[ImageManager] cannot keep an image: ")) << printed;
    EXPECT_EQ(std::ranges::count(printed, '\n'), 1);
}

TEST_F(ImageManagerTest, StaysWithinItsMemory)
{
    ImageManager small({}, {.memory = 20'000});
    for (int number = 0; number < 20; ++number) {
        const std::string path = "/" + std::to_string(number) + ".png";
        server.serve(
            path, {.type = "image/png", .body = pngFile(60, 60, photograph)}); // of seven thousand bytes
        ASSERT_TRUE(retrieve(small, resource(path)));
    }
    EXPECT_EQ(codeOf(retrieve(small, resource("/0.png"), {.onlyFromCache = true})),
        static_cast<int>(ImageError::notCached));
    EXPECT_TRUE(retrieve(small, resource("/19.png"), {.onlyFromCache = true}));
}

TEST_F(ImageManagerTest, MakesACopyOnceAndElsewhere)
{
    const auto image = retrieve(resource())->image;
    std::vector<std::shared_ptr<NSImage>> copies;
    const auto copy = [&](double radius, const CGSize& size) {
        const auto before = copies.size();
        manager.image(image, radius, size, RectCorner::all, std::nullopt, [&](std::shared_ptr<NSImage> made) {
            EXPECT_TRUE(isMainThread());
            copies.push_back(std::move(made));
        });
        EXPECT_EQ(copies.size(), before) << "completed within the call";
        EXPECT_TRUE(waitUntil([&] { return copies.size() > before; }));
        return copies.back();
    };
    const auto menu = copy(10, {20, 20});
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->size(), (CGSize{20, 20}));
    EXPECT_EQ(copy(10, {20, 20}), menu);
    const auto dashboard = copy(28, {56, 56});
    EXPECT_NE(dashboard, menu);
    EXPECT_NE(copy(11, {20, 20}), menu);
    manager.clearMemoryCache();
    EXPECT_NE(copy(10, {20, 20}), menu);

    const std::string file = jpegFile(200, 200, photograph);
    const auto damaged = NSImage::create(dataOf(file.substr(0, file.size() / 2)));
    bool called = false;
    manager.image(
        damaged, 10, {20, 20}, RectCorner::all, std::nullopt, [&](const std::shared_ptr<NSImage>& made) {
            called = true;
            EXPECT_EQ(made, nullptr);
        });
    EXPECT_TRUE(waitUntil([&] { return called; }));
}

TEST_F(ImageManagerTest, DeliversAfterItIsReleased)
{
    auto released = std::make_unique<ImageManager>(folder);
    bool delivered = false;
    released->retrieveImage(
        resource(), {}, nullptr, [&](const Outcome& outcome) { delivered = outcome.has_value(); });
    released.reset();
    EXPECT_TRUE(waitUntil([&] { return delivered; }));
}

} // namespace
