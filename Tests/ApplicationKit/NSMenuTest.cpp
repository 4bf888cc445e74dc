#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSMenu.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/Panels.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace LumoKit;

namespace {

using Flags = NSEvent::ModifierFlags;

NSEvent press(const std::string& characters, Flags modifiers = Flags::command)
{
    return *NSEvent::keyEvent(
        NSEvent::EventType::keyDown, {}, modifiers, 0, 0, characters, characters, false, 0);
}

class NSMenuTest : public ::testing::Test {
protected:
    NSMenuTest()
    {
        const auto top = std::make_shared<NSMenuItem>("Conversation");
        top->setSubmenu(menu);
        bar->addItem(top);
    }
    ~NSMenuTest() override
    {
        NSApplication::shared().setMainMenu(nullptr);
        NSApplication::shared().setCommandKey(NSApplication::CommandKey::control);
    }

    std::shared_ptr<NSMenuItem> add(
        const std::string& title, const std::string& key = {}, Flags mask = Flags::command)
    {
        auto item = std::make_shared<NSMenuItem>(
            title, [this](NSMenuItem& sender) { chosen += sender.title() + " "; }, key);
        item->setKeyEquivalentModifierMask(mask);
        menu->addItem(item);
        return item;
    }

    /// The toolkit's items of the menu, in a window's bar.
    static std::vector<GtkWidget*> lines(const NSWindow& window)
    {
        std::vector<GtkWidget*> found;
        for (GtkWidget* widget : LumoKit::Test::widgetsIn(GTK_WIDGET(gtkWindow(window))))
            if (GTK_IS_MENU_BAR(widget))
                for (GList* top = gtk_container_get_children(GTK_CONTAINER(widget)); top;
                    top = g_list_delete_link(top, top)) {
                    GtkWidget* below = gtk_menu_item_get_submenu(GTK_MENU_ITEM(top->data));
                    for (GList* line = below ? gtk_container_get_children(GTK_CONTAINER(below)) : nullptr;
                        line; line = g_list_delete_link(line, line))
                        found.push_back(GTK_WIDGET(line->data));
                }
        return found;
    }
    static std::string shownKey(GtkWidget* line)
    {
        guint key = 0;
        GdkModifierType modifiers{};
        gtk_accel_label_get_accel(GTK_ACCEL_LABEL(gtk_bin_get_child(GTK_BIN(line))), &key, &modifiers);
        char* text = gtk_accelerator_name(key, modifiers);
        std::string name = text;
        g_free(text);
        return name;
    }

    std::shared_ptr<NSMenu> bar = std::make_shared<NSMenu>();
    std::shared_ptr<NSMenu> menu = std::make_shared<NSMenu>("Conversation");
    std::string chosen;
};

TEST_F(NSMenuTest, KeepsItsItemsInOrder)
{
    const auto first = add("First");
    const auto last = add("Last");
    const auto between = std::make_shared<NSMenuItem>("Between");
    menu->insertItem(between, 1);
    const auto end = std::make_shared<NSMenuItem>("End");
    menu->insertItem(end, 100);
    EXPECT_EQ(menu->items(), (std::vector{first, between, last, end}));
    EXPECT_EQ(menu->item("Last"), last);
    EXPECT_EQ(menu->item("Gone"), nullptr);
    EXPECT_EQ(between->menu(), menu);
    menu->removeItem(between);
    menu->removeItem(between);
    EXPECT_EQ(between->menu(), nullptr);
    menu->removeAllItems();
    EXPECT_TRUE(menu->items().empty());
    EXPECT_EQ(first->menu(), nullptr);
}

TEST_F(NSMenuTest, IsFoundByTheKeysOfItsItems)
{
    add("New", "n");
    add("New window", "N");
    add("Larger", "+");
    add("Reload", NSF5FunctionKey, {});
    add("Sleep", "s", Flags::command | Flags::option);
    EXPECT_TRUE(bar->performKeyEquivalent(press("n")));
    EXPECT_TRUE(bar->performKeyEquivalent(press("n", Flags::command | Flags::capsLock | Flags::numericPad)));
    EXPECT_TRUE(bar->performKeyEquivalent(press("N", Flags::command | Flags::shift)));
    EXPECT_TRUE(bar->performKeyEquivalent(press("+")));
    EXPECT_TRUE(bar->performKeyEquivalent(press("+", Flags::command | Flags::shift)));
    EXPECT_TRUE(bar->performKeyEquivalent(press(NSF5FunctionKey, Flags::function)));
    EXPECT_TRUE(bar->performKeyEquivalent(press("s", Flags::command | Flags::option)));
    EXPECT_EQ(chosen, "New New New window Larger Larger Reload Sleep ");
    EXPECT_FALSE(bar->performKeyEquivalent(press("n", {})));
    EXPECT_FALSE(bar->performKeyEquivalent(press("n", Flags::command | Flags::control)));
    EXPECT_FALSE(bar->performKeyEquivalent(press("s")));
    EXPECT_FALSE(bar->performKeyEquivalent(press("x")));
    EXPECT_FALSE(bar->performKeyEquivalent(press("")));
    NSEvent release = press("n");
    release.type = NSEvent::EventType::keyUp;
    EXPECT_FALSE(bar->performKeyEquivalent(release));
    EXPECT_EQ(chosen, "New New New window Larger Larger Reload Sleep ");
}

TEST_F(NSMenuTest, PassesOverItemsThatAreDisabledOrHidden)
{
    const auto first = add("First", "n");
    const auto second = add("Second", "n");
    first->setEnabled(false);
    EXPECT_TRUE(bar->performKeyEquivalent(press("n")));
    second->setHidden(true);
    EXPECT_FALSE(bar->performKeyEquivalent(press("n")));
    first->setEnabled(true);
    bar->items()[0]->setEnabled(false);
    EXPECT_FALSE(bar->performKeyEquivalent(press("n")));
    EXPECT_EQ(chosen, "Second ");
    first->setEnabled(false);
    first->performAction();
    EXPECT_EQ(chosen, "Second ");
}

TEST_F(NSMenuTest, MayBeChangedByAnAction)
{
    const auto item = add("Once", "n");
    item->setAction([this](NSMenuItem& sender) {
        chosen = "gone";
        sender.setAction({});
        menu->removeAllItems();
    });
    add("Other", "n");
    EXPECT_TRUE(bar->performKeyEquivalent(press("n")));
    EXPECT_EQ(chosen, "gone");
    EXPECT_FALSE(bar->performKeyEquivalent(press("n")));
}

TEST_F(NSMenuTest, IsShownByTheWindowsThatHaveATitleBar)
{
    add("New", "N");
    const auto before = NSWindow::create({{}, {200, 100}});
    const auto bare = NSWindow::create({{}, {200, 100}}, {.titled = false});
    NSApplication::shared().setMainMenu(bar);
    const auto after = NSWindow::create({{}, {200, 100}});
    EXPECT_EQ(lines(*before).size(), 1U);
    EXPECT_EQ(lines(*after).size(), 1U);
    EXPECT_EQ(lines(*bare).size(), 0U);
    bare->setShowsMenuBar(true);
    after->setShowsMenuBar(false);
    EXPECT_EQ(lines(*bare).size(), 1U);
    EXPECT_EQ(lines(*after).size(), 0U);
    NSApplication::shared().setMainMenu(nullptr);
    EXPECT_EQ(lines(*before).size(), 0U);
}

TEST_F(NSMenuTest, ShowsTitlesKeysAndMarks)
{
    const auto item = add("_New <b>", "N");
    menu->addItem(NSMenuItem::separator());
    add("Settings", ",");
    add("Reload", NSF5FunctionKey, {});
    NSApplication::shared().setMainMenu(bar);
    const auto window = NSWindow::create({{}, {200, 100}});
    auto shown = lines(*window);
    ASSERT_EQ(shown.size(), 4U);
    EXPECT_STREQ(gtk_menu_item_get_label(GTK_MENU_ITEM(shown[0])), "_New <b>");
    EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(gtk_bin_get_child(GTK_BIN(shown[0])))), "_New <b>");
    EXPECT_EQ(shownKey(shown[0]), "<Primary><Shift>n");
    EXPECT_TRUE(GTK_IS_SEPARATOR_MENU_ITEM(shown[1]));
    EXPECT_EQ(shownKey(shown[2]), "<Primary>comma");
    EXPECT_EQ(shownKey(shown[3]), "F5");
    NSApplication::shared().setCommandKey(NSApplication::CommandKey::super);
    EXPECT_EQ(shownKey(shown[2]), "<Super>comma");

    item->setTitle("Write");
    item->setEnabled(false);
    item->setKeyEquivalent("");
    EXPECT_STREQ(gtk_menu_item_get_label(GTK_MENU_ITEM(shown[0])), "Write");
    EXPECT_FALSE(gtk_widget_get_sensitive(shown[0]));
    EXPECT_EQ(shownKey(shown[0]), "");
    item->setHidden(true);
    EXPECT_FALSE(gtk_widget_get_visible(shown[0]));
    EXPECT_FALSE(GTK_IS_CHECK_MENU_ITEM(shown[0]));
    item->setState(NSMenuItem::State::on);
    shown = lines(*window);
    ASSERT_TRUE(GTK_IS_CHECK_MENU_ITEM(shown[0]));
    EXPECT_TRUE(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(shown[0])));
    item->setState(NSMenuItem::State::mixed);
    EXPECT_TRUE(gtk_check_menu_item_get_inconsistent(GTK_CHECK_MENU_ITEM(lines(*window)[0])));
    EXPECT_EQ(chosen, ""); // showing a mark is no click
}

TEST_F(NSMenuTest, DoesAnItemsActionOnAClick)
{
    const auto item = add("Sound");
    item->setState(NSMenuItem::State::on);
    NSApplication::shared().setMainMenu(bar);
    const auto window = NSWindow::create({{}, {200, 100}});
    gtk_menu_item_activate(GTK_MENU_ITEM(lines(*window)[0]));
    EXPECT_EQ(chosen, "Sound ");
    EXPECT_TRUE(
        gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(lines(*window)[0]))); // the item's own word
    item->setAction([](NSMenuItem& sender) {
        sender.setState(NSMenuItem::State::off);
        sender.menu()->removeAllItems();
    });
    gtk_menu_item_activate(GTK_MENU_ITEM(lines(*window)[0]));
    EXPECT_TRUE(lines(*window).empty());
}

TEST_F(NSMenuTest, FollowsItsItems)
{
    NSApplication::shared().setMainMenu(bar);
    const auto window = NSWindow::create({{}, {200, 100}});
    EXPECT_TRUE(lines(*window).empty());
    const auto item = add("New");
    EXPECT_EQ(lines(*window).size(), 1U);
    const auto below = std::make_shared<NSMenu>("Below");
    item->setSubmenu(below);
    EXPECT_NE(gtk_menu_item_get_submenu(GTK_MENU_ITEM(lines(*window)[0])), nullptr);
    menu->removeItem(item);
    EXPECT_TRUE(lines(*window).empty());
}

TEST_F(NSMenuTest, LeavesTheRestOfTheWindowToItsContent)
{
    const auto window = NSWindow::create({{}, {200, 100}});
    NSApplication::shared().setMainMenu(bar);
    window->makeKeyAndOrderFront();
    GtkWidget* content = gtkWidget(*window->contentView());
    while (gtk_widget_get_allocated_height(content) <= 1)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_LT(window->contentView()->frame().size.height, 100);
    EXPECT_GT(window->contentView()->frame().size.height, 40);
    window->close();
}

TEST_F(NSMenuTest, EndsWithEverythingThatShowedIt)
{
    std::weak_ptr<NSMenuItem> item = add("New");
    {
        NSApplication::shared().setMainMenu(bar);
        const auto window = NSWindow::create({{}, {200, 100}});
        NSApplication::shared().setMainMenu(nullptr);
    }
    bar.reset();
    menu.reset();
    EXPECT_TRUE(item.expired());
}

TEST(NSMenuDeathTest, IsInOnePlace)
{
    const auto menu = std::make_shared<NSMenu>();
    const auto item = std::make_shared<NSMenuItem>("Item");
    menu->addItem(item);
    EXPECT_DEATH(menu->addItem(item), "a menu item is in one menu at most");
    EXPECT_DEATH(menu->addItem(nullptr), "there is no menu item to add");
    EXPECT_DEATH(item->setSubmenu(menu), "a menu cannot be put into itself");
    const auto other = std::make_shared<NSMenuItem>("Other");
    other->setSubmenu(menu);
    EXPECT_DEATH(menu->addItem(other), "a menu cannot be put into itself");
}

} // namespace
