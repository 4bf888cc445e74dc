#include "ApplicationKit/ImageDecoder.h"
#include "ApplicationKit/PixelReducer.h"
#include "Support/TestImages.h"

#include <LumoKit/Platform/ApplicationKit/NSImage.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>
#include <thread>

using namespace LumoKit;
using namespace LumoKit::Test;
using detail::decodeImage;
using detail::imageSize;
using detail::PixelSize;

namespace {

Colour halves(int x, int)
{
    return x < 20 ? red : blue;
}

struct Format {
    const char* name;
    std::string file;
};

std::vector<Format> formats(int width, int height, const Paint& paint)
{
    return {{"png", pngFile(width, height, paint)},
        {"interlaced png", interlacedPNGFile(width, height, paint)}, {"jpeg", jpegFile(width, height, paint)},
        {"progressive jpeg", jpegFile(width, height, paint, true)}, {"webp", webpFile(width, height, paint)}};
}

/// A PNG file's head that says a size, and nothing that follows from it.
std::string headOfPNG(std::uint32_t width, std::uint32_t height)
{
    const auto number = [](std::uint32_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift & 0xFF);
        return bytes;
    };
    const auto chunk = [&](const std::string& content) {
        return number(static_cast<std::uint32_t>(content.size() - 4)) + content
            + number(static_cast<std::uint32_t>(
                crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()))));
    };
    return "\x89PNG\r\n\x1A\n"
        + chunk("IHDR" + number(width) + number(height) + std::string("\x08\x02\0\0\0", 5))
        + chunk(std::string("IDAT\x78\x9C\x63\0\0\0\x01\0\x01", 13)) + chunk("IEND");
}

/// A JPEG file whose head says another size.
std::string jpegThatSays(int width, int height)
{
    std::string file = jpegFile(16, 16, [](int, int) { return red; });
    const auto frame = file.find("\xFF\xC0");
    for (const auto& [at, value] : {std::pair{5, height}, std::pair{7, width}}) {
        file[frame + static_cast<std::size_t>(at)] = static_cast<char>(value >> 8);
        file[frame + static_cast<std::size_t>(at) + 1] = static_cast<char>(value & 0xFF);
    }
    return file;
}

TEST(NSImage, HasAPointForEachPixelOfItsFile)
{
    for (const auto& [name, file] : formats(40, 30, halves)) {
        const auto image = NSImage::create(dataOf(file));
        ASSERT_NE(image, nullptr) << name;
        EXPECT_EQ(image->size(), (CGSize{40, 30})) << name;
        const auto pixels = image->nativeImage().pixels(1);
        ASSERT_NE(pixels, nullptr) << name;
        EXPECT_EQ(pixels->size, (PixelSize{40, 30})) << name;
        EXPECT_TRUE(isNear(at(*pixels, 5, 15), red)) << name;
        EXPECT_TRUE(isNear(at(*pixels, 34, 15), blue)) << name;
    }
}

TEST(NSImage, IsDecodedAtTheSizeThatIsNeeded)
{
    for (const auto& [name, file] : formats(40, 30, halves)) {
        const auto image = NSImage::create(dataOf(file));
        const auto pixels = image->nativeImage().pixelsCovering({12, 5});
        ASSERT_NE(pixels, nullptr) << name;
        EXPECT_EQ(pixels->size, (PixelSize{12, 9})) << name; // covers in both directions
        EXPECT_TRUE(isNear(at(*pixels, 1, 4), red, 12)) << name;
        EXPECT_TRUE(isNear(at(*pixels, 10, 4), blue, 12)) << name;
        EXPECT_EQ(image->nativeImage().pixelsCovering({400, 300})->size, (PixelSize{40, 30})) << name;
    }
}

TEST(NSImage, SharesItsPixelsWithAllWhoShowThem)
{
    const auto image = NSImage::create(dataOf(pngFile(40, 30, halves)));
    const auto pixels = image->nativeImage().pixels(1);
    EXPECT_EQ(image->nativeImage().pixels(2), pixels);
}

TEST(NSImage, KeepsHowSeeThroughAPixelIs)
{
    const Colour half{200, 100, 0, 128};
    const auto paint = [&](int x, int) { return x < 10 ? half : transparent; };
    for (const std::string& file : {pngFile(20, 20, paint, true), webpFile(20, 20, paint)}) {
        const auto pixels = decodeImage(file, {20, 20});
        ASSERT_NE(pixels, nullptr);
        EXPECT_TRUE(isNear(at(*pixels, 4, 4), {100, 50, 0, 128}, 1)); // premultiplied
        EXPECT_EQ(at(*pixels, 14, 4), transparent);
    }
}

TEST(NSImage, DoesNotMixTheColourOfWhatIsSeeThroughIntoASmallerPicture)
{
    const auto paint = [](int x, int) { return x % 2 == 0 ? red : Colour{0, 255, 0, 0}; };
    const auto pixels = decodeImage(pngFile(40, 40, paint, true), {20, 20});
    EXPECT_TRUE(isNear(at(*pixels, 10, 10), {110, 20, 15, 128}, 1));
}

TEST(NSImage, IsTheFirstPictureOfAMovingOne)
{
    const auto image = NSImage::create(dataOf(gifFile(24, 16, 5)));
    ASSERT_NE(image, nullptr);
    const auto pixels = image->nativeImage().pixels(1);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels->size, (PixelSize{24, 16}));
    EXPECT_EQ(at(*pixels, 12, 8), red);
}

TEST(NSImage, IsDrawnAsLargeAsItsSize)
{
    const auto image = NSImage::create(dataOf(pngFile(40, 30, halves)));
    const auto surface = detail::drawableSurface(*image, 2);
    const detail::CairoSurface screen(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 100, 100));
    cairo_surface_set_device_scale(screen.get(), 2, 2);
    const detail::CairoContext context(cairo_create(screen.get()));
    cairo_set_source_surface(context.get(), surface.get(), 0, 0);
    cairo_paint(context.get());
    cairo_surface_flush(screen.get());
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        cairo_image_surface_get_data(screen.get()) + 10 * cairo_image_surface_get_stride(screen.get()));
    EXPECT_EQ(row[78] & 0xFFU, blue.blue);
    EXPECT_EQ(row[82], 0U);
}

TEST(NSImage, IsNotMadeOfAnythingElse)
{
    const std::string drawing = R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9">)"
                                R"(<image href="file:///etc/passwd" width="9" height="9"/></svg>)";
    for (const std::string& bytes : {std::string(), std::string("x"), std::string("<html>no image</html>"),
             drawing, std::string("BM") + std::string(60, '\0'), std::string("\xFF\xD8\xFF", 3),
             std::string("GIF89a"), std::string("\x89PNG\r\n\x1A\n"),
             std::string("RIFF\x10\0\0\0WEBPVP8 ", 16), std::string(5000, '\xFF')})
        EXPECT_EQ(NSImage::create(dataOf(bytes)), nullptr) << bytes.substr(0, 20);
}

TEST(NSImage, OfAFileThatIsCutOffDrawsNothing)
{
    const auto files = formats(200, 200, photograph);
    for (const auto& [name, file] : files)
        for (const double part : {0.02, 0.3, 0.5, 0.9, 0.98}) {
            const auto length = static_cast<std::size_t>(static_cast<double>(file.size()) * part);
            EXPECT_EQ(decodeImage(file.substr(0, length), {200, 200}), nullptr) << name << " " << part;
            EXPECT_EQ(decodeImage(file.substr(0, length), {1, 1}), nullptr) << name << " " << part;
        }
    const std::string moving = gifFile(60, 60, 2);
    for (std::size_t length = 0; length < moving.size() / 2 - 60; length += 97)
        EXPECT_EQ(decodeImage(moving.substr(0, length), {60, 60}), nullptr) << length;
}

TEST(NSImage, OfADamagedFileIsDrawnWithinItsSizeOrNotAtAll)
{
    for (const auto& [name, file] : formats(64, 64, photograph))
        for (std::size_t place = 0; place < file.size(); place += 1 + file.size() / 150) {
            std::string damaged = file;
            damaged[place] = static_cast<char>(damaged[place] ^ 0x55);
            const auto pixels = decodeImage(damaged, {32, 32});
            EXPECT_TRUE(!pixels || (pixels->size.width <= 32 && pixels->size.height <= 32)) << name << place;
        }
}

TEST(NSImage, IsNotMadeOfAHeadThatPromisesTooMuch)
{
    const long before = peakMemory();
    const auto began = std::chrono::steady_clock::now();
    std::string gif = gifFile(8, 8);
    for (std::size_t place = 6; place < 10; ++place)
        gif[place] = '\xC3';
    for (const std::string& file : {headOfPNG(50'000, 50'000), headOfPNG(0x7FFFFFFF, 0x7FFFFFFF),
             headOfPNG(1, 25'000'001), jpegThatSays(50'000, 50'000), jpegThatSays(0, 16), gif}) {
        EXPECT_EQ(NSImage::create(dataOf(file)), nullptr);
        EXPECT_EQ(decodeImage(file, {56, 56}), nullptr);
    }
    // One that is just within the bounds, and has nothing of what it promises.
    EXPECT_EQ(decodeImage(headOfPNG(5000, 5000), {56, 56}), nullptr);
    EXPECT_EQ(decodeImage(jpegThatSays(5000, 5000), {56, 56}), nullptr);
    EXPECT_LT(peakMemory() - before, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(10));
}

TEST(NSImage, OfALargeJPEGNeedsLittleMemory)
{
    const std::string file = jpegFile(4000, 4000, [](int x, int y) { return photograph(x / 8, y / 8); });
    const long before = peakMemory();
    ASSERT_NE(decodeImage(file, {112, 112}), nullptr);
    EXPECT_LT(peakMemory() - before, 30); // its pixels are 64 MB
}

TEST(NSImage, OfAJPEGThatRepeatsItselfEndsInTime)
{
    std::string file = jpegFile(1500, 1500, [](int, int) { return red; }, true);
    const auto lastScan = file.rfind("\xFF\xDA");
    const std::string scan = file.substr(lastScan, file.size() - 2 - lastScan);
    std::string repeated = file.substr(0, file.size() - 2);
    for (int count = 0; count < 3000; ++count)
        repeated += scan;
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(decodeImage(repeated + "\xFF\xD9", {56, 56}), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(20));
}

TEST(NSImage, IsReadFromManyThreads)
{
    const auto image = NSImage::create(dataOf(jpegFile(200, 200, photograph)));
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            for (int round = 0; round < 20; ++round)
                EXPECT_NE(image->nativeImage().pixelsCovering({20 + number + round, 20}), nullptr);
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(PixelReducer, MakesEachPixelTheMeanOfItsArea)
{
    detail::Pixels pixels({6, 4});
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 6; ++x)
            pixels.row(y)[x] = 0xFF000000U | static_cast<std::uint32_t>(10 * x + 40 * y);
    const auto same = detail::reduced(pixels, {6, 4});
    EXPECT_EQ(same->data, pixels.data);
    const auto half = detail::reduced(pixels, {3, 2});
    EXPECT_EQ(at(*half, 0, 0).blue, 25); // of 0, 10, 40, 50
    EXPECT_EQ(at(*half, 2, 1).blue, 145);
    EXPECT_EQ(at(*half, 2, 1).alpha, 255);
    const auto uneven = detail::reduced(pixels, {4, 3}); // each covers one and a half columns
    EXPECT_EQ(at(*uneven, 0, 0).blue, 13); // (0 + 10/2) / 1.5 and (0 + 40/3) / 1.33
    const auto one = detail::reduced(pixels, {1, 1});
    EXPECT_EQ(at(*one, 0, 0).blue, 85);
}

} // namespace
