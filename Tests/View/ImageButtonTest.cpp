#include <LumoKit/Platform/Foundation/NSCoder.h>
#include <LumoKit/View/ImageButton.h>

#include <Support/Picture.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

std::shared_ptr<NSImage> square(int side, const Colour& colour)
{
    return imageOf(pngFile(side, side, [&](int, int) { return colour; }));
}

TEST(ImageButtonTest, HasNoBorderAndShowsItsImageOnly)
{
    const auto fromFrame = std::make_shared<ImageButton>(CGRect{{1, 2}, {30, 40}});
    const auto fromFile =
        std::make_shared<ImageButton>(NSCoder({{"frame", "{{1, 2}, {30, 40}}"}, {"title", "Favourite"}}));
    EXPECT_EQ(fromFile->title(), "Favourite");
    for (const auto& button : {fromFrame, fromFile}) {
        EXPECT_FALSE(button->isBordered());
        EXPECT_EQ(button->imagePosition(), NSCellImagePosition::imageOnly);
        EXPECT_EQ(button->frame(), (CGRect{{1, 2}, {30, 40}}));
        EXPECT_EQ(button->image(), nullptr);
    }
}

TEST(ImageButtonTest, DrawsItsImageInTheMiddleAndNothingElse)
{
    const auto button = std::make_shared<ImageButton>(CGRect{{}, {20, 20}});
    button->setTitle("Favourite"); // is not shown
    EXPECT_EQ(Picture(button).at(10, 10), transparent);
    button->setImage(square(10, red));
    const Picture picture(button);
    ASSERT_TRUE(picture.isShown);
    for (int x = 0; x < 20; ++x)
        for (int y = 0; y < 20; ++y) {
            const bool inside = x >= 5 && x < 15 && y >= 5 && y < 15;
            ASSERT_EQ(picture.at(x, y), inside ? red : transparent) << x << ", " << y;
        }
    button->setImage(nullptr);
    EXPECT_EQ(Picture(button).at(10, 10), transparent);
}

TEST(ImageButtonTest, IsAsSmallAsItsImage)
{
    const auto button = std::make_shared<ImageButton>(CGRect{{}, {8, 8}});
    button->setImage(square(8, blue));
    const Picture picture(button);
    ASSERT_TRUE(picture.isShown);
    for (int place = 0; place < 8; ++place)
        EXPECT_EQ(picture.at(place, place), blue) << place;
}

TEST(ImageButtonTest, IsCalledByItsTitle)
{
    const auto button = std::make_shared<ImageButton>();
    button->setImage(square(8, blue));
    button->setTitle("Favourite");
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(gtkWidget(*button))), "Favourite");
    EXPECT_EQ(atk_object_get_role(gtk_widget_get_accessible(gtkWidget(*button))), ATK_ROLE_PUSH_BUTTON);
}

TEST(ImageButtonTest, DoesItsActionOnAClick)
{
    const auto button = std::make_shared<ImageButton>(CGRect{{}, {20, 20}});
    int clicks = 0;
    button->setAction([&](NSButton&) { ++clicks; });
    button->performClick();
    EXPECT_EQ(clicks, 1);
}

// ---- what every button can be

TEST(NSButtonImage, IsShownWhereItIsToBe)
{
    const auto button = std::make_shared<NSButton>("Brew", CGRect{{}, {120, 34}});
    EXPECT_TRUE(button->isBordered());
    EXPECT_EQ(button->imagePosition(), NSCellImagePosition::noImage);
    const auto image = square(12, red);
    button->setImage(image);
    EXPECT_EQ(button->image(), image);
    EXPECT_EQ(
        gtk_button_get_image(GTK_BUTTON(gtkWidget(*button))), nullptr); // not before there is a place for it
    for (const auto& [position, place] : {std::pair(NSCellImagePosition::imageLeft, GTK_POS_LEFT),
             {NSCellImagePosition::imageRight, GTK_POS_RIGHT},
             {NSCellImagePosition::imageBelow, GTK_POS_BOTTOM},
             {NSCellImagePosition::imageAbove, GTK_POS_TOP}}) {
        button->setImagePosition(position);
        EXPECT_EQ(button->imagePosition(), position);
        GtkButton* native = GTK_BUTTON(gtkWidget(*button));
        EXPECT_EQ(gtk_button_get_image_position(native), place);
        EXPECT_TRUE(gtk_button_get_always_show_image(native));
        EXPECT_STREQ(gtk_button_get_label(native), "Brew");
        EXPECT_TRUE(gtk_button_get_image(native));
    }
    button->setImagePosition(NSCellImagePosition::noImage);
    EXPECT_EQ(gtk_button_get_image(GTK_BUTTON(gtkWidget(*button))), nullptr);
    EXPECT_EQ(button->title(), "Brew");
}

TEST(NSButtonBorder, ComesAndGoes)
{
    const auto button = std::make_shared<NSButton>("", CGRect{{}, {40, 34}});
    EXPECT_NE(Picture(button).at(20, 10), transparent);
    button->setBordered(false);
    EXPECT_FALSE(button->isBordered());
    EXPECT_EQ(Picture(button).at(20, 10), transparent);
    button->setBordered(true);
    EXPECT_TRUE(button->isBordered());
    EXPECT_NE(Picture(button).at(20, 10), transparent);
}

} // namespace
