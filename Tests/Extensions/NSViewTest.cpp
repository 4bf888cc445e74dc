#include <LumoKit/Extensions/NSView.h>
#include <LumoKit/Platform/ApplicationKit/CALayer.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>

#include <Support/Picture.h>
#include <gtest/gtest.h>

#include <variant>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

constexpr NSColor clear{0, 0, 0, 0};
constexpr NSColor opaqueRed{1, 0, 0, 1};

TEST(BackgroundColor, IsClearWithoutALayerAndWithoutAColourInIt)
{
    const auto view = std::make_shared<NSView>();
    EXPECT_EQ(backgroundColor(*view), clear);
    EXPECT_FALSE(view->wantsLayer());
    view->setWantsLayer(true);
    EXPECT_EQ(backgroundColor(*view), clear);
}

TEST(BackgroundColor, IsThatOfTheLayer)
{
    const auto view = std::make_shared<NSView>();
    view->setWantsLayer(true);
    view->layer()->setBackgroundColor(opaqueRed);
    EXPECT_EQ(backgroundColor(*view), opaqueRed);
}

TEST(BackgroundColor, SettingItGivesTheViewALayerAndNoColour)
{
    for (const std::shared_ptr<NSView>& view : {std::make_shared<NSView>(CGRect{{}, {40, 20}}),
             std::shared_ptr<NSView>(std::make_shared<NSButton>("B"))}) {
        setBackgroundColor(*view, opaqueRed);
        ASSERT_TRUE(view->wantsLayer());
        EXPECT_EQ(backgroundColor(*view), clear);
        EXPECT_EQ(std::get<NSColor>(view->layer()->backgroundColor().value()), clear);
    }
    const auto view = std::make_shared<NSView>(CGRect{{}, {40, 20}});
    setBackgroundColor(*view, opaqueRed);
    EXPECT_EQ(Picture(view).at(20, 10), transparent);
}

TEST(BackgroundColor, SettingItLeavesTheColourThatIsThere)
{
    const auto view = std::make_shared<NSView>();
    view->setWantsLayer(true);
    const auto layer = view->layer();
    layer->setBackgroundColor(opaqueRed);
    setBackgroundColor(*view, {0, 0, 1, 1});
    EXPECT_EQ(view->layer(), layer);
    EXPECT_EQ(backgroundColor(*view), opaqueRed);
}

TEST(BackgroundColor, AnImageIsNoColourAndStays)
{
    const auto image = imageOf(pngFile(2, 2, [](int, int) { return red; }));
    const auto view = std::make_shared<NSView>();
    view->setWantsLayer(true);
    view->layer()->setBackgroundColor(std::shared_ptr<const NSImage>(image));
    EXPECT_EQ(backgroundColor(*view), clear);
    setBackgroundColor(*view, opaqueRed);
    EXPECT_EQ(std::get<1>(view->layer()->backgroundColor().value()), image);
}

} // namespace
