#include <LumoKit/Extensions/CGRect.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

TEST(CGRectCenter, IsHalfTheWidthAndZero)
{
    struct Case {
        CGRect rect;
        CGPoint center;
    };
    static constexpr Case cases[]{
        {{{10, 20}, {100, 50}}, {50, 0}},
        {{{0, 0}, {100, 50}}, {50, 0}},
        {{{-300, -400}, {7, 9}}, {3.5, 0}},
        {{{10, 20}, {0, 0}}, {0, 0}},
        {{{10, 20}, {-100, -50}}, {50, 0}}, // the rectangle that it covers is as wide
        {{{0.5, 0.25}, {1.5, 0.75}}, {0.75, 0}},
        {{}, {0, 0}},
    };
    for (const auto& [rect, expected] : cases) {
        EXPECT_EQ(center(rect).x, expected.x) << rect.origin.x << ' ' << rect.size.width;
        EXPECT_EQ(center(rect).y, expected.y) << rect.origin.y << ' ' << rect.size.height;
    }
}

TEST(CGRectCenter, DoesNotDependOnTheOrigin)
{
    for (const double origin : {0.0, 0.1, -17.3, 1e6}) {
        const CGPoint point = center({{origin, origin}, {0.2, 0.3}});
        EXPECT_NEAR(point.x, 0.1, 1e-9) << origin;
        EXPECT_NEAR(point.y, 0, 1e-9) << origin;
    }
}

TEST(CGRect, CoversTheSameGroundWithANegativeSize)
{
    constexpr CGRect rect{{10, 20}, {-4, -6}};
    EXPECT_EQ(rect.minX(), 6);
    EXPECT_EQ(rect.maxX(), 10);
    EXPECT_EQ(rect.minY(), 14);
    EXPECT_EQ(rect.maxY(), 20);
    EXPECT_EQ(rect.width(), 4);
    EXPECT_EQ(rect.height(), 6);
}

TEST(CGRect, HasItsEdges)
{
    constexpr CGRect rect{{10, 20}, {4, 6}};
    EXPECT_EQ(rect.minX(), 10);
    EXPECT_EQ(rect.maxX(), 14);
    EXPECT_EQ(rect.minY(), 20);
    EXPECT_EQ(rect.maxY(), 26);
    EXPECT_EQ(rect.width(), 4);
    EXPECT_EQ(rect.height(), 6);
    EXPECT_EQ(rect, (CGRect{{10, 20}, {4, 6}}));
    EXPECT_NE(rect, (CGRect{{10, 20}, {4, 7}}));
    EXPECT_NE(rect, (CGRect{{11, 20}, {4, 6}}));
}

} // namespace
