#include <LumoKit/Extensions/NSView.h>
#include <LumoKit/Platform/ApplicationKit/CALayer.h>
#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/View/BackgroundView.h>

#include <Support/Picture.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

std::shared_ptr<NSImage> redImage()
{
    return imageOf(pngFile(3, 3, [](int, int) { return red; }));
}

TEST(BackgroundViewTest, HasALayerAndNoImageAtFirst)
{
    const auto fromFrame = std::make_shared<BackgroundView>(CGRect{{1, 2}, {30, 40}});
    const auto fromFile =
        std::make_shared<BackgroundView>(NSCoder({{"frame", "{{1, 2}, {30, 40}}"}, {"identifier", "tiles"}}));
    EXPECT_EQ(fromFile->identifier(), "tiles");
    for (const auto& view : {fromFrame, fromFile}) {
        EXPECT_TRUE(view->wantsLayer());
        ASSERT_TRUE(view->layer());
        EXPECT_FALSE(view->layer()->backgroundColor()); // black only once it has been set to none
        EXPECT_EQ(view->backgroundImage(), nullptr);
        EXPECT_EQ(view->frame(), (CGRect{{1, 2}, {30, 40}}));
    }
}

TEST(BackgroundViewTest, RepeatsItsImageAndIsBlackWithoutOne)
{
    const auto view = std::make_shared<BackgroundView>(CGRect{{}, {40, 20}});
    EXPECT_EQ(Picture(view).at(20, 10), transparent);
    const auto image = redImage();
    view->setBackgroundImage(image);
    EXPECT_EQ(view->backgroundImage(), image);
    const Picture tiled(view);
    ASSERT_TRUE(tiled.isShown);
    for (const auto& [x, y] : {std::pair(0, 0), {39, 0}, {0, 19}, {39, 19}, {20, 10}})
        EXPECT_EQ(tiled.at(x, y), red);
    view->setBackgroundImage(nullptr);
    EXPECT_EQ(view->backgroundImage(), nullptr);
    EXPECT_EQ(backgroundColor(*view), (NSColor{0, 0, 0, 1}));
    EXPECT_EQ(Picture(view).at(20, 10), (Colour{0, 0, 0}));
}

TEST(BackgroundViewTest, DoesNothingWithoutALayer)
{
    const auto view = std::make_shared<BackgroundView>(CGRect{{}, {40, 20}});
    view->setWantsLayer(false);
    view->setBackgroundImage(redImage());
    view->setBackgroundImage(nullptr);
    EXPECT_FALSE(view->wantsLayer());
    EXPECT_EQ(Picture(view).at(20, 10), transparent);
}

TEST(BackgroundViewTest, IsDrawnAgainWithItsFrame)
{
    const auto window = NSWindow::create({{}, {200, 200}});
    const auto view = std::make_shared<BackgroundView>(CGRect{{10, 10}, {40, 20}});
    window->contentView()->addSubview(view);
    window->makeKeyAndOrderFront();
    const auto count = +[](GtkWidget*, cairo_t*, gpointer times) -> gboolean {
        ++*static_cast<int*>(times);
        return FALSE;
    };
    int draws = 0;
    g_signal_connect(gtkWidget(*view), "draw", G_CALLBACK(count), &draws);
    ASSERT_TRUE(waitUntil([&] { return draws > 0; }));
    const int before = draws;
    view->setFrame(view->frame()); // also the same one
    EXPECT_TRUE(waitUntil([&] { return draws > before; }));
    view->setFrame({{20, 30}, {50, 60}});
    EXPECT_EQ(view->frame(), (CGRect{{20, 30}, {50, 60}}));
    const int again = draws;
    EXPECT_TRUE(waitUntil([&] { return draws > again; }));
    window->close();
}

TEST(BackgroundViewTest, LetsGoOfItsImage)
{
    auto image = redImage();
    const std::weak_ptr<NSImage> weak = image;
    auto view = std::make_shared<BackgroundView>(CGRect{{}, {40, 20}});
    view->setBackgroundImage(image);
    static_cast<void>(Picture(view));
    image.reset();
    EXPECT_FALSE(weak.expired());
    view.reset();
    runPendingTurns();
    EXPECT_TRUE(weak.expired());
}

} // namespace
