#include "Support/Printing.h"
#include "Support/PrivateData.h"
#include "Support/TemporaryFolder.h"

#include <LumoKit/Platform/Foundation/URLCache.h>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <span>
#include <thread>

using namespace LumoKit;
using Test::TemporaryFolder;
using Test::writeInPlace;

namespace {

Data dataOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

URLRequest request(const std::string& path = "/")
{
    return URLRequest(*URL::parse("http://mail.example" + path));
}

CachedURLResponse answer(std::string_view body, HTTPHeaderFields fields = {}, int status = 200)
{
    return {std::make_shared<HTTPURLResponse>(
                *URL::parse("http://mail.example/final"), status, std::move(fields)),
        dataOf(body)};
}

class URLCacheTest : public ::testing::Test {
protected:
    /// The bytes that are kept for a request.
    std::optional<Data> kept(const URLRequest& request)
    {
        const auto found = cache.cachedResponse(request);
        return found ? std::optional(found->data) : std::nullopt;
    }

    std::vector<std::filesystem::path> files()
    {
        std::vector<std::filesystem::path> all;
        if (std::filesystem::exists(folder / "cache"))
            for (const auto& item : std::filesystem::directory_iterator(folder / "cache"))
                all.push_back(item.path());
        return all;
    }

    TemporaryFolder folder;
    URLCache cache{200'000, folder / "cache"};
};

TEST_F(URLCacheTest, KeepsAnAnswer)
{
    EXPECT_EQ(kept(request()), std::nullopt);
    const std::string everyByte = "\0\xFF\r\n text";
    cache.storeCachedResponse(
        answer(everyByte, {{"Content-Type", "Text/Plain; charset=UTF-8"}, {"ETag", "\"1\""}}), request());
    const auto found = cache.cachedResponse(request("/#fragment"));
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->data, dataOf(everyByte));
    EXPECT_EQ(found->response->url().absoluteString(), "http://mail.example/final");
    EXPECT_EQ(found->response->statusCode(), 200);
    EXPECT_EQ(found->response->valueForHTTPHeaderField("etag"), "\"1\"");
    EXPECT_EQ(found->response->mimeType(), "text/plain");
    EXPECT_EQ(found->response->textEncodingName(), "utf-8");
    EXPECT_EQ(kept(request("/other")), std::nullopt);
}

TEST_F(URLCacheTest, IsReadByAnother)
{
    cache.storeCachedResponse(answer("hello"), request());
    const URLCache later(200'000, folder / "cache");
    ASSERT_TRUE(later.cachedResponse(request()).has_value());
    EXPECT_EQ(later.cachedResponse(request())->data, dataOf("hello"));
    EXPECT_GT(later.currentDiskUsage(), 5u);
    EXPECT_EQ(later.currentDiskUsage(), cache.currentDiskUsage());
}

TEST_F(URLCacheTest, RemovesAll)
{
    cache.storeCachedResponse(answer("hello"), request("/1"));
    cache.storeCachedResponse(answer("hello"), request("/2"));
    cache.removeCachedResponse(request("/1"));
    EXPECT_EQ(kept(request("/1")), std::nullopt);
    EXPECT_NE(kept(request("/2")), std::nullopt);
    cache.removeAllCachedResponses();
    EXPECT_EQ(kept(request("/2")), std::nullopt);
    EXPECT_EQ(cache.currentDiskUsage(), 0u);
    EXPECT_TRUE(files().empty());
}

TEST_F(URLCacheTest, LeavesOtherFilesAlone)
{
    std::filesystem::create_directory(folder / "cache");
    writeInPlace(folder / "cache" / "mine", "text");
    cache.storeCachedResponse(answer("hello"), request());
    cache.removeAllCachedResponses();
    ASSERT_EQ(files().size(), 1u);
    EXPECT_EQ(files()[0].filename(), "mine");
}

TEST_F(URLCacheTest, IsForTheUserAlone)
{
    cache.storeCachedResponse(answer("hello"), request());
    struct stat status{};
    ASSERT_EQ(files().size(), 1u);
    ASSERT_EQ(::stat(files()[0].c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat((folder / "cache").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(URLCacheTest, KeepsOnlyWhatACacheMay)
{
    const auto isKept = [&](const CachedURLResponse& answer, URLRequest asked = request()) {
        cache.removeAllCachedResponses();
        cache.storeCachedResponse(answer, asked);
        return kept(asked).has_value();
    };
    EXPECT_TRUE(isKept(answer("a")));
    EXPECT_TRUE(isKept(answer("a", {{"Cache-Control", "private, max-age=5"}})));
    EXPECT_FALSE(isKept(answer("a", {{"cache-control", "max-age=5, No-Store"}})));
    EXPECT_FALSE(isKept(answer("a", {}, 404)));
    EXPECT_FALSE(isKept(answer("a", {}, 206)));
    EXPECT_FALSE(isKept(answer("a", {{"Vary", "*"}})));
    EXPECT_FALSE(isKept(answer("a", {{"Vary", "Accept, cookie"}})));
    EXPECT_TRUE(isKept(answer("a", {{"Vary", "Accept-Encoding"}})));
    URLRequest asked = request();
    asked.httpMethod = "POST";
    EXPECT_FALSE(isKept(answer("a"), asked));
    for (const auto& [name, value] : HTTPHeaderFields{
             {"Authorization", "Basic abc"}, {"Range", "bytes=0-1"}, {"Cache-Control", "no-store"}}) {
        asked = request();
        asked.setValue(value, name);
        EXPECT_FALSE(isKept(answer("a"), asked)) << name;
    }
}

TEST_F(URLCacheTest, GivesAnAnswerOnlyToRequestsLikeThatItIsFor)
{
    URLRequest german = request();
    german.setValue("de", "accept-language");
    cache.storeCachedResponse(answer("Hallo", {{"Vary", "Accept-Language"}}), german);
    EXPECT_EQ(kept(german), dataOf("Hallo"));
    EXPECT_EQ(kept(request()), std::nullopt);
    german.setValue("more", "X-Other");
    EXPECT_EQ(kept(german), dataOf("Hallo"));
}

TEST_F(URLCacheTest, StaysWithinItsCapacity)
{
    cache.storeCachedResponse(answer(std::string(10'001, 'a')), request("/large"));
    EXPECT_EQ(kept(request("/large")), std::nullopt) << "a twentieth is the most of one";
    for (int index = 0; index < 100; ++index)
        cache.storeCachedResponse(answer(std::string(5'000, 'a')), request("/" + std::to_string(index)));
    EXPECT_LE(cache.currentDiskUsage(), 200'000u);
    EXPECT_GE(cache.currentDiskUsage(), 100'000u);
    EXPECT_EQ(kept(request("/0")), std::nullopt);
    EXPECT_NE(kept(request("/99")), std::nullopt);
    EXPECT_EQ(URLCache(200'000, folder / "cache").currentDiskUsage(), cache.currentDiskUsage());
}

TEST_F(URLCacheTest, WhatIsDamagedCountsAsAbsent)
{
    cache.storeCachedResponse(answer("hello"), request());
    const auto file = files().at(0);
    for (const std::string& bytes : {std::string(), std::string("nonsense"), std::string(300'000, '\xFF')}) {
        writeInPlace(file, bytes);
        EXPECT_EQ(kept(request()), std::nullopt);
    }
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(kept(request()), std::nullopt);
    cache.storeCachedResponse(answer("hello"), request());
    EXPECT_EQ(kept(request()), std::nullopt) << "there is no way to write it";
}

TEST_F(URLCacheTest, AnotherAddressUnderTheSameNameIsAbsent)
{
    cache.storeCachedResponse(answer("hello"), request("/1"));
    const auto first = files().at(0);
    cache.storeCachedResponse(answer("other"), request("/2"));
    for (const auto& file : files())
        if (file != first)
            std::filesystem::copy_file(first, file, std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(kept(request("/2")), std::nullopt);
}

TEST_F(URLCacheTest, MakesItsFolderAnew)
{
    cache.storeCachedResponse(answer("hello"), request());
    std::filesystem::remove_all(folder / "cache");
    EXPECT_EQ(kept(request()), std::nullopt);
    cache.removeAllCachedResponses();
    cache.storeCachedResponse(answer("hello"), request());
    EXPECT_EQ(kept(request()), dataOf("hello"));
}

TEST_F(URLCacheTest, WhereNothingCanBeWrittenNothingIsKept)
{
    writeInPlace(folder / "file", "");
    URLCache nowhere(200'000, folder / "file" / "cache");
    nowhere.storeCachedResponse(answer("hello"), request());
    EXPECT_FALSE(nowhere.cachedResponse(request()).has_value());
    URLCache none(200'000, {});
    none.storeCachedResponse(answer("hello"), request());
    EXPECT_FALSE(none.cachedResponse(request()).has_value());
    none.removeAllCachedResponses();
    EXPECT_EQ(none.currentDiskUsage(), 0u);
}

TEST_F(URLCacheTest, IsUsedByManyThreads)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 50; ++turn) {
                cache.storeCachedResponse(answer("hello"), request("/" + std::to_string(turn % 3)));
                EXPECT_EQ(kept(request("/0")).value_or(dataOf("hello")), dataOf("hello"));
                if (turn % 10 == 0)
                    cache.removeAllCachedResponses();
            }
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(SharedURLCache, IsInTheApplicationsCacheFolder)
{
    const LumoKit::Test::PrivateData data;
    URLCache::shared()->storeCachedResponse(answer("hello"), request());
    EXPECT_TRUE(URLCache::shared()->cachedResponse(request()).has_value());
    const std::filesystem::path folder = std::getenv("XDG_CACHE_HOME");
    EXPECT_TRUE(std::filesystem::is_directory(folder / program_invocation_short_name / "Network"));
    URLCache::shared()->removeAllCachedResponses();
    EXPECT_FALSE(URLCache::shared()->cachedResponse(request()).has_value());
}

} // namespace
