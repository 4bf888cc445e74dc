#include "Support/TestImages.h"
#include "Support/TestServer.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Images/ImageManager.h>
#include <LumoKit/Utility/AccountImageDownload.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using AccountImageDownloader::fetchProfileImageForAccountMenu;
using AccountImageDownloader::fetchProfileImageForDashboard;

namespace {

class AccountImageDownloadTest : public testing::Test {
protected:
    AccountImageDownloadTest()
    {
        server.serve("/ada.jpg",
            {.type = "image/jpeg",
                .body = jpegFile(512, 512, [](int, int) { return red; }),
                .headers = {{"Cache-Control", "no-store"}}});
    }

    [[nodiscard]] URL url(const std::string& path = "/ada.jpg") const
    {
        return URL::parse(server.origin() + path).value();
    }

    template <class Fetch> std::shared_ptr<NSImage> fetch(Fetch fetchImage, const URL& url)
    {
        std::vector<std::shared_ptr<NSImage>> fetched;
        fetchImage(url, [&](std::shared_ptr<NSImage> image) {
            EXPECT_TRUE(isMainThread());
            fetched.push_back(std::move(image));
        });
        EXPECT_TRUE(fetched.empty()) << "called within the call";
        EXPECT_TRUE(waitUntil([&] { return !fetched.empty(); }));
        runPendingTurns();
        EXPECT_EQ(fetched.size(), 1U);
        return fetched.empty() ? nullptr : fetched.front();
    }

    static bool isKept(const std::string& key)
    {
        std::optional<bool> kept;
        ImageManager::shared().retrieveImage({URL::parse("http://nobody.example/").value(), key},
            {.onlyFromCache = true}, nullptr, [&](const auto& outcome) { kept = outcome.has_value(); });
        EXPECT_TRUE(waitUntil([&] { return kept.has_value(); }));
        return kept.value_or(false);
    }

    TestServer server;
};

TEST_F(AccountImageDownloadTest, GivesASmallRoundPictureForTheAccountMenu)
{
    const auto image = fetch(fetchProfileImageForAccountMenu, url());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (CGSize{20, 20}));
    const auto pixels = image->nativeImage().pixels(2);
    EXPECT_EQ(at(*pixels, 0, 0), transparent);
    EXPECT_TRUE(isNear(at(*pixels, 20, 20), red));
    EXPECT_GT(at(*pixels, 6, 6).alpha, 230); // the radius is 10
    EXPECT_EQ(at(*pixels, 3, 3).alpha, 0);
}

TEST_F(AccountImageDownloadTest, GivesACircleForTheDashboard)
{
    const auto image = fetch(fetchProfileImageForDashboard, url());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (CGSize{56, 56}));
    for (const int scale : {1, 2}) {
        const auto pixels = image->nativeImage().pixels(scale);
        for (const auto& [x, y] : {std::pair{0, 0}, {55, 0}, {0, 55}, {55, 55}})
            EXPECT_EQ(at(*pixels, scale * x, scale * y), transparent);
        EXPECT_TRUE(isNear(at(*pixels, 28 * scale, 28 * scale), red));
        EXPECT_GT(at(*pixels, 28 * scale, 0).alpha, 200);
        EXPECT_EQ(at(*pixels, 7 * scale, 7 * scale).alpha, 0);
    }
}

TEST_F(AccountImageDownloadTest, KeepsThePictureForEachPlaceApart)
{
    ASSERT_NE(fetch(fetchProfileImageForAccountMenu, url()), nullptr);
    EXPECT_TRUE(isKept(url().absoluteString() + "account_menu"));
    EXPECT_FALSE(isKept(url().absoluteString() + "dashboard"));
    ASSERT_NE(fetch(fetchProfileImageForDashboard, url()), nullptr);
    EXPECT_TRUE(isKept(url().absoluteString() + "dashboard"));
    EXPECT_EQ(server.requests().size(), 2U);
    const auto again = fetch(fetchProfileImageForDashboard, url());
    EXPECT_EQ(again, fetch(fetchProfileImageForDashboard, url()));
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(AccountImageDownloadTest, DownloadsOnceForBothPlacesAtTheSameTime)
{
    int fetched = 0;
    const auto count = [&](const std::shared_ptr<NSImage>& image) { fetched += image ? 1 : 100; };
    for (int round = 0; round < 5; ++round) {
        fetchProfileImageForAccountMenu(url(), count);
        fetchProfileImageForDashboard(url(), count);
    }
    EXPECT_TRUE(waitUntil([&] { return fetched >= 10; }));
    EXPECT_EQ(fetched, 10);
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_TRUE(isKept(url().absoluteString() + "account_menu"));
    EXPECT_TRUE(isKept(url().absoluteString() + "dashboard"));
}

TEST_F(AccountImageDownloadTest, GivesNoneWhereThereIsNone)
{
    server.serve("/text", {.body = "no image"});
    for (const URL& address : {url("/missing"), url("/text"), URL::parse(refusedOrigin() + "/").value(),
             URL::parse("file:///etc/passwd").value(), URL::parse("relative").value()}) {
        EXPECT_EQ(fetch(fetchProfileImageForAccountMenu, address), nullptr) << address.absoluteString();
        EXPECT_EQ(fetch(fetchProfileImageForDashboard, address), nullptr) << address.absoluteString();
    }
}

TEST_F(AccountImageDownloadTest, UsesTheDefaultConfigurationOfSessions)
{
    auto& downloader = ImageManager::shared().downloader();
    auto other = URLSessionConfiguration::defaultConfiguration();
    other.httpAdditionalHeaders.insert_or_assign("X-Other", "yes");
    downloader.setSessionConfiguration(other);
    ASSERT_NE(fetch(fetchProfileImageForDashboard, url()), nullptr);
    EXPECT_EQ(downloader.sessionConfiguration(), URLSessionConfiguration::defaultConfiguration());
    EXPECT_EQ(server.received("x-other", "/ada.jpg"), std::nullopt);
}

TEST_F(AccountImageDownloadTest, MayBeAskedOnAnyThread)
{
    bool fetched = false;
    DispatchQueue::create("asking")->async([&] {
        fetchProfileImageForDashboard(url(), [&](const std::shared_ptr<NSImage>& image) {
            EXPECT_TRUE(isMainThread());
            fetched = image != nullptr;
        });
    });
    EXPECT_TRUE(waitUntil([&] { return fetched; }));
}

} // namespace
