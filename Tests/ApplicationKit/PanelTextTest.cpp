#include "ApplicationKit/PanelText.h"

#include <gtest/gtest.h>

#include <string>

using LumoKit::detail::panelText;

namespace {

TEST(PanelText, IsTheTextItself)
{
    for (const std::string text : {"", "Tea", "two\nlines", "T\u00E9a <b>&amp;</b> _milk_ \U0001F375"})
        EXPECT_EQ(panelText(text), text);
    const std::string longWord(200, 'x');
    EXPECT_EQ(panelText(longWord + " " + longWord), longWord + " " + longWord);
}

TEST(PanelText, HasReplacementsForWhatIsNoText)
{
    EXPECT_EQ(panelText("a\xff"
                        "b"),
        "a\uFFFDb");
    EXPECT_EQ(panelText(std::string("a\0b", 3)), "a\uFFFDb");
}

TEST(PanelText, IsCutWhereNobodyReadsOn)
{
    EXPECT_EQ(panelText("abcdef", 6), "abcdef");
    EXPECT_EQ(panelText("abcdefg", 6), "abcdef…");
    EXPECT_EQ(panelText("\U0001F375\U0001F375\U0001F375", 2), "\U0001F375\U0001F375…");
    std::string text;
    for (int line = 0; line < 299; ++line)
        text += "\n";
    EXPECT_EQ(panelText(text), text); // 300 lines
    EXPECT_EQ(panelText(text + "\nmore"), text + "…");
}

TEST(PanelText, MayBreakAWordThatIsNone)
{
    EXPECT_EQ(panelText(std::string(401, 'x')),
        std::string(200, 'x') + "\u200B" + std::string(200, 'x') + "\u200Bx");
}

} // namespace
