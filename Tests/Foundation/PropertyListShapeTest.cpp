#include "Foundation/PropertyListShape.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using LumoKit::detail::isSoundXML;

std::string repeated(std::string_view text, int times)
{
    std::string all;
    for (int time = 0; time < times; ++time)
        all += text;
    return all;
}

TEST(PropertyListShape, OfXMLIsBoundedInDepth)
{
    EXPECT_TRUE(isSoundXML("<plist><dict><key>k</key><array/></dict></plist>"));
    EXPECT_TRUE(isSoundXML(repeated("<array>", 4096) + repeated("</array>", 4096)));
    EXPECT_FALSE(isSoundXML(repeated("<array>", 4097)));
    EXPECT_FALSE(isSoundXML(repeated("<dict><key>k</key>", 4097)));
}

TEST(PropertyListShape, OfXMLCountsOnlyWhatIsOpen)
{
    EXPECT_TRUE(isSoundXML("<array>" + repeated("<array></array><dict/>", 10'000) + "</array>"));
    EXPECT_TRUE(isSoundXML("<!-- " + repeated("<array>", 10'000) + " -->"));
    EXPECT_TRUE(isSoundXML("<string><![CDATA[" + repeated("<array>", 10'000) + "]]></string>"));
}

TEST(PropertyListShape, OfXMLIsNotHiddenBehindComments)
{
    EXPECT_FALSE(isSoundXML(repeated("<array><!-- </array> -->", 5000)));
    EXPECT_FALSE(isSoundXML(repeated("<array><![CDATA[</array>]]>", 5000)));
    EXPECT_FALSE(isSoundXML(repeated("<array></string>", 5000)));
}

TEST(PropertyListShape, OfXMLNeedsNoWholeText)
{
    for (const char* text : {"", "<", "<a", "<!--", "<!-- -", "<![CDATA[", "</", ">", "<>", "</>", "text"})
        EXPECT_TRUE(isSoundXML(text)) << text;
}

TEST(PropertyListShape, OfXMLHoldsNoNul)
{
    using namespace std::string_view_literals;
    for (const auto text :
        {"<key>a\0b</key>"sv, "<key>&#0;</key>"sv, "<key>&#x00;</key>"sv, "<string>&#X0;</string>"sv})
        EXPECT_FALSE(isSoundXML(text)) << text;
    for (const auto text :
        {"<key>&#10;</key>"sv, "<key>&#x0A;</key>"sv, "<key>&#</key>"sv, "<key>&#;</key>"sv, "&#0"sv})
        EXPECT_TRUE(isSoundXML(text)) << text;
}

} // namespace
