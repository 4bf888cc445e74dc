#include <LumoKit/Platform/ApplicationKit/CALayer.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>

#include <Support/Picture.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

constexpr NSColor opaqueRed{1, 0, 0, 1};

TEST(CALayerTest, IsThereForViewsThatWantOne)
{
    const auto view = std::make_shared<NSView>();
    EXPECT_FALSE(view->wantsLayer());
    EXPECT_EQ(view->layer(), nullptr);
    view->setWantsLayer(true);
    EXPECT_TRUE(view->wantsLayer());
    const auto layer = view->layer();
    ASSERT_TRUE(layer);
    EXPECT_FALSE(layer->backgroundColor());
    view->setWantsLayer(true);
    EXPECT_EQ(view->layer(), layer); // the same
    view->setWantsLayer(false);
    EXPECT_EQ(view->layer(), nullptr);
    layer->setBackgroundColor(opaqueRed); // nobody's
}

TEST(CALayerTest, MayOutliveItsView)
{
    auto view = std::make_shared<NSView>();
    view->setWantsLayer(true);
    const auto layer = view->layer();
    view.reset();
    layer->setBackgroundColor(opaqueRed);
    EXPECT_TRUE(layer->backgroundColor());
}

TEST(CALayerTest, IsPaintedBehindWhatIsInTheView)
{
    const auto view = std::make_shared<NSView>(CGRect{{}, {40, 20}});
    view->setWantsLayer(true);
    view->layer()->setBackgroundColor(opaqueRed);
    const auto inner = std::make_shared<NSView>(CGRect{{0, 10}, {10, 10}}); // at the top left
    inner->setWantsLayer(true);
    inner->layer()->setBackgroundColor(NSColor{0, 0, 1, 1});
    view->addSubview(inner);
    const Picture picture(view);
    ASSERT_TRUE(picture.isShown);
    EXPECT_EQ(picture.at(5, 5), (Colour{0, 0, 255}));
    EXPECT_EQ(picture.at(5, 15), (Colour{255, 0, 0}));
    EXPECT_EQ(picture.at(39, 0), (Colour{255, 0, 0}));
}

TEST(CALayerTest, PaintsNothingWithoutAColour)
{
    const auto view = std::make_shared<NSView>(CGRect{{}, {40, 20}});
    view->setWantsLayer(true);
    EXPECT_EQ(Picture(view).at(20, 10), transparent);
    view->layer()->setBackgroundColor(opaqueRed);
    EXPECT_EQ(Picture(view).at(20, 10), (Colour{255, 0, 0}));
    view->layer()->setBackgroundColor(std::nullopt);
    EXPECT_EQ(Picture(view).at(20, 10), transparent);
    view->layer()->setBackgroundColor(opaqueRed);
    view->setWantsLayer(false);
    EXPECT_EQ(Picture(view).at(20, 10), transparent);
}

TEST(CALayerTest, RepeatsAnImageFromTheBottomLeft)
{
    // Red above blue, 4 points each way.
    const auto image = imageOf(pngFile(4, 4, [](int, int y) { return y < 2 ? red : blue; }));
    ASSERT_TRUE(image);
    const auto view = std::make_shared<NSView>(CGRect{{}, {30, 22}}); // five and a half images high
    view->setWantsLayer(true);
    view->layer()->setBackgroundColor(std::shared_ptr<const NSImage>(image));
    const Picture picture(view);
    ASSERT_TRUE(picture.isShown);
    for (int x : {0, 13, 29})
        for (int y = 0; y < 22; ++y) {
            const int fromBottom = 21 - y;
            EXPECT_EQ(picture.at(x, y), fromBottom % 4 < 2 ? blue : red) << x << ", " << y;
        }
}

TEST(CALayerTest, PaintsNothingOfAnImageThatCannotBeDecoded)
{
    std::string file = pngFile(64, 64, &photograph);
    file.resize(file.size() / 2);
    const auto image = imageOf(file);
    ASSERT_TRUE(image);
    const auto view = std::make_shared<NSView>(CGRect{{}, {30, 20}});
    view->setWantsLayer(true);
    view->layer()->setBackgroundColor(std::shared_ptr<const NSImage>(image));
    EXPECT_EQ(Picture(view).at(10, 10), transparent);
}

TEST(CALayerTest, EndsWithItsView)
{
    auto view = std::make_shared<NSView>();
    view->setWantsLayer(true);
    const std::weak_ptr<CALayer> layer = view->layer();
    view.reset();
    EXPECT_TRUE(layer.expired());
}

} // namespace
