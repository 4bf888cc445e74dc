#include <LumoKit/Platform/ApplicationKit/NSPrintInfo.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

using Orientation = NSPrintInfo::Orientation;

TEST(NSPrintInfoTest, IsOneForTheApplication)
{
    EXPECT_EQ(NSPrintInfo::shared(), NSPrintInfo::shared());
    NSPrintInfo::shared()->setTopMargin(11);
    EXPECT_NEAR(NSPrintInfo::shared()->topMargin(), 11, 0.001);
}

TEST(NSPrintInfoTest, BeginsWithAUsualPaper)
{
    const NSPrintInfo info;
    EXPECT_GT(info.paperSize().width, 400);
    EXPECT_GT(info.paperSize().height, info.paperSize().width);
    EXPECT_EQ(info.orientation(), Orientation::portrait);
    EXPECT_EQ(info.jobDisposition, NSPrintInfo::JobDisposition::spool);
    EXPECT_FALSE(info.jobSavingURL);
}

TEST(NSPrintInfoTest, KeepsMarginsApart)
{
    NSPrintInfo info;
    info.setTopMargin(10);
    info.setBottomMargin(20);
    info.setLeftMargin(30);
    info.setRightMargin(40.5);
    EXPECT_NEAR(info.topMargin(), 10, 0.001);
    EXPECT_NEAR(info.bottomMargin(), 20, 0.001);
    EXPECT_NEAR(info.leftMargin(), 30, 0.001);
    EXPECT_NEAR(info.rightMargin(), 40.5, 0.001);
}

TEST(NSPrintInfoTest, KeepsMarginsWhenThePaperChanges)
{
    NSPrintInfo info;
    info.setLeftMargin(17);
    info.setPaperSize({612, 792});
    info.setOrientation(Orientation::landscape);
    EXPECT_NEAR(info.leftMargin(), 17, 0.001);
}

TEST(NSPrintInfoTest, TurnsThePaper)
{
    NSPrintInfo info;
    info.setPaperSize({300, 500});
    EXPECT_NEAR(info.paperSize().width, 300, 0.01);
    EXPECT_NEAR(info.paperSize().height, 500, 0.01);
    info.setOrientation(Orientation::landscape);
    EXPECT_EQ(info.orientation(), Orientation::landscape);
    EXPECT_NEAR(info.paperSize().width, 500, 0.01);
    EXPECT_NEAR(info.paperSize().height, 300, 0.01);
    info.setPaperSize({600, 200});
    EXPECT_NEAR(info.paperSize().width, 600, 0.01);
    EXPECT_NEAR(info.paperSize().height, 200, 0.01);
}

} // namespace
