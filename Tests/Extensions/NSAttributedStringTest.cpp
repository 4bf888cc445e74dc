#include <LumoKit/Extensions/NSAttributedString.h>

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

using namespace LumoKit;

namespace {

using Key = NSAttributedStringKey;
using Stretch = NSAttributedString::Run;

const NSAttributes red{{Key::foregroundColor, NSColor{1, 0, 0, 1}}};
const NSAttributes linked{{Key::link, *URL::parse("https://example.com/")}, {Key::underlineStyle, 1}};

TEST(Styled, HasTheAttributesOverItsWholeLength)
{
    const NSAttributedString text = styled("\u00FCber", linked);
    EXPECT_EQ(text.string(), "\u00FCber");
    EXPECT_EQ(text.runs(), (std::vector{Stretch{5, linked}}));
    EXPECT_EQ(text.attributes(0), linked);
    EXPECT_EQ(text.attributes(4), linked);
}

TEST(Styled, MayHaveNoAttributes)
{
    EXPECT_EQ(styled("tea", {}), NSAttributedString("tea"));
}

TEST(Styled, MayBeEmpty)
{
    EXPECT_EQ(styled("", red), NSAttributedString());
}

TEST(Composed, IsEmptyForNone)
{
    EXPECT_EQ(composed({}), NSAttributedString());
    EXPECT_EQ(composed({}).length(), 0u);
}

TEST(Composed, PutsAllOneAfterTheOtherEachWithItsAttributes)
{
    const std::array parts{styled("red", red), NSAttributedString(" plain "), styled("link", linked)};
    const NSAttributedString whole = composed(parts);
    EXPECT_EQ(whole.string(), "red plain link");
    EXPECT_EQ(whole.runs(), (std::vector{Stretch{3, red}, Stretch{7, {}}, Stretch{4, linked}}));
    EXPECT_EQ(parts[0], styled("red", red)); // the parts stay as they are
}

TEST(Composed, SkipsEmptyParts)
{
    const std::array parts{NSAttributedString(), styled("a", red), styled("", linked), styled("b", red)};
    EXPECT_EQ(composed(parts), styled("ab", red));
}

TEST(Composed, MakesThreeBlanksOfASpaceAndADoubleSpace)
{
    const std::array parts{space(), doubleSpace()};
    EXPECT_EQ(composed(parts), NSAttributedString("   "));
}

TEST(Space, IsOneBlankWithoutAttributes)
{
    EXPECT_EQ(space().string(), " ");
    EXPECT_TRUE(space().attributes(0).empty());
}

TEST(DoubleSpace, IsTwoBlanksWithoutAttributes)
{
    EXPECT_EQ(doubleSpace().string(), "  ");
    EXPECT_TRUE(doubleSpace().attributes(1).empty());
}

TEST(AlignedParagraphStyle, ChangesNothingButTheAlignment)
{
    for (const auto& [make, alignment] : {std::pair{&leftAligned, NSTextAlignment::left},
             {&rightAligned, NSTextAlignment::right}, {&centerAligned, NSTextAlignment::center}}) {
        const auto style = make();
        EXPECT_EQ(style->alignment, alignment);
        style->alignment = NSTextAlignment::natural;
        EXPECT_EQ(static_cast<const NSParagraphStyle&>(*style), NSParagraphStyle());
    }
}

TEST(AlignedParagraphStyle, IsANewOneAtEachCall)
{
    for (const auto make : {&leftAligned, &rightAligned, &centerAligned}) {
        const auto first = make();
        first->lineSpacing = 5;
        EXPECT_NE(make(), first);
        EXPECT_EQ(make()->lineSpacing, 0);
    }
}

TEST(AlignedParagraphStyle, IsAnAttributeOfAText)
{
    const NSAttributes centred{{Key::paragraphStyle, NSParagraphStyleAttribute{centerAligned()}}};
    EXPECT_EQ(styled("tea", centred),
        styled("tea", {{Key::paragraphStyle, NSParagraphStyleAttribute{centerAligned()}}}));
    EXPECT_NE(styled("tea", centred),
        styled("tea", {{Key::paragraphStyle, NSParagraphStyleAttribute{leftAligned()}}}));
}

} // namespace
