#include "Support/TestImages.h"

#include <LumoKit/Platform/Images/RoundedImage.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace LumoKit;
using namespace LumoKit::Test;
using detail::PixelSize;

namespace {

std::shared_ptr<NSImage> pictureOf(int width, int height, const Paint& paint)
{
    return NSImage::create(dataOf(pngFile(width, height, paint, true)));
}

Colour plain(int, int)
{
    return red;
}

/// How much of a pixel lies in a circle.
double coverage(int x, int y, double radius)
{
    constexpr int steps = 32;
    int within = 0;
    for (int row = 0; row < steps; ++row)
        for (int column = 0; column < steps; ++column)
            within +=
                std::hypot(x + (column + 0.5) / steps - radius, y + (row + 0.5) / steps - radius) <= radius;
    return within / double{steps * steps};
}

TEST(RoundedImage, IsACircleWhereTheRadiusIsHalfTheSize)
{
    for (const double scale : {1.0, 1.5, 2.0, 3.0}) {
        const auto rounded = image(*pictureOf(512, 512, plain), 28, {56, 56});
        ASSERT_NE(rounded, nullptr);
        EXPECT_EQ(rounded->size(), (CGSize{56, 56}));
        const auto pixels = rounded->nativeImage().pixels(scale);
        const int side = static_cast<int>(56 * scale);
        ASSERT_EQ(pixels->size, (PixelSize{side, side}));
        int partly = 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                const double expected = coverage(x, y, side / 2.0);
                const Colour pixel = at(*pixels, x, y);
                EXPECT_NEAR(pixel.alpha / 255.0, expected, 0.07) << x << " " << y << " at " << scale;
                // Premultiplied with exactly its alpha: neither a dark nor a bright rim.
                EXPECT_NEAR(pixel.red, red.red * pixel.alpha / 255.0, 1.5);
                EXPECT_NEAR(pixel.blue, red.blue * pixel.alpha / 255.0, 1.5);
                partly += pixel.alpha > 0 && pixel.alpha < 255;
            }
        EXPECT_GT(partly, 2 * side); // an edge that is smooth all round
    }
}

TEST(RoundedImage, CutsItsCornersAndLeavesTheRest)
{
    const auto from = pictureOf(80, 80, photograph);
    const auto rounded = image(*from, 10, {40, 40});
    for (const double scale : {1.0, 2.0}) {
        const auto pixels = rounded->nativeImage().pixels(scale);
        const int last = pixels->size.width - 1;
        for (const auto& [x, y] : {std::pair{0, 0}, {last, 0}, {0, last}, {last, last}})
            EXPECT_EQ(at(*pixels, x, y), transparent);
        EXPECT_EQ(at(*pixels, last / 2, 0).alpha, 255);
        EXPECT_EQ(at(*pixels, 0, last / 2).alpha, 255);
    }
    // At its own size, pixel by pixel.
    const auto own = from->nativeImage().pixels(1);
    const auto pixels = rounded->nativeImage().pixels(2);
    for (int y = 20; y < 60; ++y)
        for (int x = 0; x < 80; ++x)
            EXPECT_EQ(at(*pixels, x, y), at(*own, x, y)) << x << " " << y;
}

TEST(RoundedImage, RoundsTheCornersThatAreAskedFor)
{
    const auto rounded =
        image(*pictureOf(80, 80, plain), 10, {40, 40}, {.topLeft = true, .bottomRight = true});
    const auto pixels = rounded->nativeImage().pixels(1);
    EXPECT_EQ(at(*pixels, 0, 0), transparent);
    EXPECT_EQ(at(*pixels, 39, 0), red);
    EXPECT_EQ(at(*pixels, 0, 39), red);
    EXPECT_EQ(at(*pixels, 39, 39), transparent);
    const auto square = image(*pictureOf(80, 80, plain), 10, {40, 40}, {});
    EXPECT_EQ(at(*square->nativeImage().pixels(1), 0, 0), red);
    EXPECT_EQ(RectCorner::all, (RectCorner{true, true, true, true}));
}

TEST(RoundedImage, ShowsItsBackgroundWhereNothingElseIs)
{
    const auto paint = [](int x, int) { return x < 40 ? red : transparent; };
    const auto rounded = image(*pictureOf(80, 80, paint), 10, {40, 40}, RectCorner::all, NSColor{0, 0, 1, 1});
    const auto pixels = rounded->nativeImage().pixels(1);
    EXPECT_EQ(at(*pixels, 0, 0), (Colour{0, 0, 255}));
    EXPECT_EQ(at(*pixels, 30, 20), (Colour{0, 0, 255}));
    EXPECT_EQ(at(*pixels, 10, 20), red);
    for (const std::uint32_t pixel : pixels->data)
        EXPECT_EQ(pixel >> 24, 255U); // also along the edge
}

TEST(RoundedImage, IsFilledByTheMiddleOfAPictureOfAnotherShape)
{
    const auto wide = pictureOf(300, 100, [](int x, int) { return x < 100 || x >= 200 ? blue : red; });
    const auto high = pictureOf(100, 300, [](int, int y) { return y < 100 || y >= 200 ? blue : red; });
    for (const auto& from : {wide, high}) {
        const auto pixels = image(*from, 0, {20, 20})->nativeImage().pixels(1);
        ASSERT_EQ(pixels->size, (PixelSize{20, 20}));
        for (int place = 0; place < 20; ++place) {
            EXPECT_TRUE(isNear(at(*pixels, place, 10), red, 8)) << place;
            EXPECT_TRUE(isNear(at(*pixels, 10, place), red, 8)) << place;
        }
    }
}

TEST(RoundedImage, IsEnlargedWithoutASeeThroughEdge)
{
    const auto pixels = image(*pictureOf(10, 10, plain), 0, {56, 56})->nativeImage().pixels(2);
    ASSERT_EQ(pixels->size, (PixelSize{112, 112}));
    for (int place = 0; place < 112; ++place)
        EXPECT_EQ(at(*pixels, place, 0), red);
}

TEST(RoundedImage, KeepsTwicePointsOfALargePictureAndNoMore)
{
    const auto rounded = image(*pictureOf(1000, 800, photograph), 28, {56, 56});
    EXPECT_EQ(rounded->nativeImage().cost(), 2 * 112U * 112 * 4); // the picture, and what is drawn of it
}

TEST(RoundedImage, IsDrawnByWhoeverMakesItUnlessItIsLarge)
{
    const auto small = image(*pictureOf(1000, 800, photograph), 28, {56, 56});
    EXPECT_EQ(small->nativeImage().pixels(2), small->nativeImage().pixels(2)); // not drawn anew
    EXPECT_NE(small->nativeImage().pixels(1), small->nativeImage().pixels(1));
    const auto large = image(*pictureOf(20, 20, plain), 28, {4000, 4000});
    EXPECT_LE(large->nativeImage().cost(), 20U * 20 * 4);
}

TEST(RoundedImage, HasNoRadiusBeyondHalfItsSize)
{
    const auto circle = image(*pictureOf(80, 80, plain), 20, {40, 40})->nativeImage().pixels(1);
    for (const double radius : {100.0, std::numeric_limits<double>::infinity()})
        EXPECT_EQ(
            image(*pictureOf(80, 80, plain), radius, {40, 40})->nativeImage().pixels(1)->data, circle->data);
    for (const double radius : {0.0, -5.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(
            at(*image(*pictureOf(80, 80, plain), radius, {40, 40})->nativeImage().pixels(1), 0, 0), red);
}

TEST(RoundedImage, IsNotMadeForASizeThatIsNone)
{
    for (const CGSize& size :
        {CGSize{0, 20}, {20, -1}, {std::numeric_limits<double>::quiet_NaN(), 20}, {1e9, 1e9}})
        EXPECT_EQ(image(*pictureOf(8, 8, plain), 2, size), nullptr);
}

TEST(RoundedImage, IsNotMadeOfADamagedPicture)
{
    const std::string file = jpegFile(200, 200, photograph);
    const auto damaged = NSImage::create(dataOf(file.substr(0, file.size() / 2)));
    ASSERT_NE(damaged, nullptr);
    EXPECT_EQ(image(*damaged, 10, {20, 20}), nullptr);
}

TEST(RoundedImage, CanBeMadeOfARoundedOne)
{
    const auto first = image(*pictureOf(200, 200, plain), 28, {56, 56});
    const auto second = image(*first, 10, {20, 20});
    ASSERT_NE(second, nullptr);
    const auto pixels = second->nativeImage().pixels(1);
    EXPECT_EQ(at(*pixels, 0, 0), transparent);
    EXPECT_TRUE(isNear(at(*pixels, 10, 10), red, 1));
}

} // namespace
