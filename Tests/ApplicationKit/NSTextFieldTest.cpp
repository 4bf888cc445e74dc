#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using LumoKit::Test::waitUntil;

namespace {

TEST(NSTextField, HoldsALine)
{
    NSTextField field({{1, 2}, {200, 24}});
    EXPECT_EQ(field.frame(), (CGRect{{1, 2}, {200, 24}}));
    EXPECT_EQ(field.stringValue(), "");
    field.setStringValue("T\u00E9a <b>&amp;</b> _milk_");
    EXPECT_EQ(field.stringValue(), "T\u00E9a <b>&amp;</b> _milk_");
    gtk_entry_set_text(GTK_ENTRY(gtkWidget(field)), "typed");
    EXPECT_EQ(field.stringValue(), "typed");
    field.setStringValue("");
    EXPECT_EQ(field.stringValue(), "");
}

TEST(NSTextField, TakesWhatIsNoText)
{
    NSTextField field;
    field.setStringValue(std::string("a\0b\xff", 4));
    EXPECT_EQ(field.stringValue(), "a\uFFFDb\uFFFD");
}

TEST(NSTextField, IsAsHighAsItsFrame)
{
    const auto window = NSWindow::create({{100, 100}, {300, 200}});
    const auto field = std::make_shared<NSTextField>(CGRect{{20, 20}, {200, 24}});
    window->contentView()->addSubview(field);
    window->makeKeyAndOrderFront();
    EXPECT_TRUE(waitUntil([&] { return gtk_widget_get_allocated_height(gtkWidget(*field)) == 24; }));
    int least = 0;
    gtk_widget_get_preferred_height(gtkWidget(*field), &least, nullptr);
    EXPECT_LE(least, 24); // or the toolkit would complain
    window->close();
}

} // namespace
