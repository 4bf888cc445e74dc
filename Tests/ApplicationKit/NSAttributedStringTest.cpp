#include <LumoKit/Platform/ApplicationKit/NSAttributedString.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;

namespace {

using Key = NSAttributedStringKey;
using Stretch = NSAttributedString::Run;

const NSAttributes bold{{Key::font, NSFont{"Sans", 12, true, false}}};
const NSAttributes red{{Key::foregroundColor, NSColor{1, 0, 0, 1}}};

TEST(NSAttributedString, IsEmptyAtFirst)
{
    const NSAttributedString text;
    EXPECT_EQ(text.string(), "");
    EXPECT_EQ(text.length(), 0u);
    EXPECT_TRUE(text.runs().empty());
    EXPECT_TRUE(text.attributes(0).empty());
    EXPECT_EQ(text, NSAttributedString("", bold)); // no text, no stretch
}

TEST(NSAttributedString, HasItsAttributesFromTheFirstToTheLastByte)
{
    const NSAttributedString text("t\u00E9a", bold);
    EXPECT_EQ(text.length(), 4u);
    EXPECT_EQ(text.runs(), (std::vector{Stretch{4, bold}}));
    EXPECT_EQ(text.attributes(0), bold);
    EXPECT_EQ(text.attributes(3), bold);
    EXPECT_TRUE(text.attributes(4).empty());
    EXPECT_TRUE(text.attributes(std::numeric_limits<std::size_t>::max()).empty());
}

TEST(NSMutableAttributedString, GrowsByStretchesWithTheirOwnAttributes)
{
    NSMutableAttributedString text("a", bold);
    text.append(NSAttributedString("bc", red));
    text.append(NSAttributedString("d"));
    EXPECT_EQ(text.string(), "abcd");
    EXPECT_EQ(text.runs(), (std::vector{Stretch{1, bold}, Stretch{2, red}, Stretch{1, {}}}));
    EXPECT_EQ(text.attributes(0), bold);
    EXPECT_EQ(text.attributes(1), red);
    EXPECT_EQ(text.attributes(2), red);
    EXPECT_TRUE(text.attributes(3).empty());
}

TEST(NSMutableAttributedString, JoinsNeighboursWithTheSameAttributes)
{
    NSMutableAttributedString text("a", bold);
    text.append(NSAttributedString("b", bold));
    EXPECT_EQ(text.runs(), (std::vector{Stretch{2, bold}}));
    EXPECT_EQ(text, NSAttributedString("ab", bold));
}

TEST(NSMutableAttributedString, StaysAsItIsWhenNothingIsAppended)
{
    NSMutableAttributedString text("a", bold);
    text.append(NSAttributedString());
    text.append(NSAttributedString("", red));
    EXPECT_EQ(text, NSAttributedString("a", bold));
}

TEST(NSMutableAttributedString, IsAppendedToItself)
{
    NSMutableAttributedString text("a", bold);
    text.append(NSAttributedString("b", red));
    text.append(text);
    EXPECT_EQ(text.string(), "abab");
    EXPECT_EQ(
        text.runs(), (std::vector{Stretch{1, bold}, Stretch{1, red}, Stretch{1, bold}, Stretch{1, red}}));
    NSMutableAttributedString plain("a");
    plain.append(plain);
    EXPECT_EQ(plain.runs(), (std::vector{Stretch{2, {}}}));
}

TEST(NSMutableAttributedString, LeavesCopiesAlone)
{
    NSMutableAttributedString text("a", bold);
    const NSAttributedString copy = text;
    text.append(NSAttributedString("b"));
    EXPECT_EQ(copy, NSAttributedString("a", bold));
}

TEST(NSAttributedString, ComparesTextAndAttributes)
{
    EXPECT_EQ(NSAttributedString("a", bold), NSAttributedString("a", bold));
    EXPECT_NE(NSAttributedString("a", bold), NSAttributedString("a", red));
    EXPECT_NE(NSAttributedString("a", bold), NSAttributedString("b", bold));
    EXPECT_NE(NSAttributedString("a", bold), NSAttributedString("a"));
}

TEST(NSParagraphStyle, StartsWithThePlatformsDefaults)
{
    const NSParagraphStyle style;
    EXPECT_EQ(style.alignment, NSTextAlignment::natural);
    EXPECT_EQ(style.lineBreakMode, NSLineBreakMode::byWordWrapping);
    EXPECT_EQ(style.lineSpacing, 0);
    EXPECT_EQ(style.paragraphSpacing, 0);
    EXPECT_EQ(style.firstLineHeadIndent, 0);
    EXPECT_EQ(style.headIndent, 0);
    EXPECT_EQ(style.tailIndent, 0);
}

TEST(NSParagraphStyle, IsComparedAsAnAttributeByWhatItSays)
{
    const auto make = [](double spacing) {
        auto style = std::make_shared<NSMutableParagraphStyle>();
        style->lineSpacing = spacing;
        return NSParagraphStyleAttribute{style};
    };
    EXPECT_EQ(make(2), make(2));
    EXPECT_NE(make(2), make(3));
    const NSParagraphStyleAttribute none;
    EXPECT_EQ(none, none);
    EXPECT_NE(none, make(0));
    EXPECT_NE(make(0), none);
}

} // namespace
