#include "Help/AttributedHtml.h"

#include <LumoKit/Extensions/NSAttributedString.h>

#include <gtest/gtest.h>

#include <array>

using namespace LumoKit;
using LumoSuite::cssOf;
using LumoSuite::htmlOf;
using Key = NSAttributedStringKey;

namespace {

const std::string begin = "<span style=\"display:block;text-align:start\">";

TEST(AttributedHtml, IsNothingButTextWithoutAttributes)
{
    EXPECT_EQ(htmlOf(NSAttributedString()), begin + "</span>");
    EXPECT_EQ(htmlOf(NSAttributedString("a")), begin + "<span style=\"\">a</span></span>");
}

TEST(AttributedHtml, EscapesTextsAndLinks)
{
    EXPECT_EQ(htmlOf(NSAttributedString("<b> & \"x\"")),
        begin + "<span style=\"\">&lt;b&gt; &amp; &quot;x&quot;</span></span>");
    EXPECT_EQ(htmlOf(styled("x", {{Key::link, *URL::parse("mailto:a@example.com?subject=b&body=c")}})),
        begin + "<a href=\"mailto:a@example.com?subject=b&amp;body=c\" style=\"\">x</a></span>");
}

TEST(AttributedHtml, GivesEachStretchItsOwnStyle)
{
    const auto text =
        composed(std::array{styled("é", {{Key::font, NSFont{.bold = true, .italic = true}}}), doubleSpace(),
            styled("b", {{Key::foregroundColor, NSColor{1, 0.5, 0, 1}}, {Key::underlineStyle, 1}})});
    EXPECT_EQ(htmlOf(text),
        begin + "<span style=\"font-weight:600;font-style:italic;\">é</span><span style=\"\">  </span>"
            + "<span style=\"color:rgba(255,128,0,1.000000);text-decoration:underline;\">b</span></span>");
}

TEST(AttributedHtml, IsAlignedAsItsFirstStretch)
{
    const auto text =
        composed(std::array{styled("a", {{Key::paragraphStyle, NSParagraphStyleAttribute{centerAligned()}}}),
            styled("b", {{Key::paragraphStyle, NSParagraphStyleAttribute{rightAligned()}}})});
    EXPECT_TRUE(htmlOf(text).starts_with("<span style=\"display:block;text-align:center\">"));
}

TEST(AttributedHtml, WritesColours)
{
    EXPECT_EQ(cssOf({0, 1, 0.25, 0.5}), "rgba(0,255,64,0.500000)");
}

} // namespace
