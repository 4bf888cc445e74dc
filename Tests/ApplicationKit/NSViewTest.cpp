#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::waitUntil;

namespace {

using Views = std::vector<std::shared_ptr<NSView>>;

std::string described(const CGRect& rect)
{
    return "(" + std::to_string(rect.origin.x) + ", " + std::to_string(rect.origin.y) + ") "
        + std::to_string(rect.size.width) + " x " + std::to_string(rect.size.height);
}

// ---- autoresizing
// ---------------------------------------------------------------------------------------------------

TEST(Autoresized, SharesTheChangeAmongTheFlexibleParts)
{
    struct Case {
        const char* what;
        NSAutoresizing parts;
        CGRect grown; // the superview from 100 x 200 to 160 x 320
        CGRect shrunk; // and to 70 x 140
    };
    const CGRect frame{{10, 20}, {30, 60}};
    const Case cases[]{
        {"nothing", {}, {{10, 20}, {30, 60}}, {{10, 20}, {30, 60}}},
        {"width", {.width = true}, {{10, 20}, {90, 60}}, {{10, 20}, {0, 60}}},
        {"height", {.height = true}, {{10, 20}, {30, 180}}, {{10, 20}, {30, 0}}},
        {"both", NSAutoresizing::sizable(), {{10, 20}, {90, 180}}, {{10, 20}, {0, 0}}},
        {"left margin", {.minXMargin = true}, {{70, 20}, {30, 60}}, {{-20, 20}, {30, 60}}},
        {"right margin", {.maxXMargin = true}, {{10, 20}, {30, 60}}, {{10, 20}, {30, 60}}},
        {"bottom margin", {.minYMargin = true}, {{10, 140}, {30, 60}}, {{10, -40}, {30, 60}}},
        {"top margin", {.maxYMargin = true}, {{10, 20}, {30, 60}}, {{10, 20}, {30, 60}}},
        {"both margins", {.minXMargin = true, .maxXMargin = true}, {{40, 20}, {30, 60}},
            {{-5, 20}, {30, 60}}},
        {"left margin and width", {.minXMargin = true, .width = true}, {{40, 20}, {60, 60}},
            {{-5, 20}, {15, 60}}},
        {"width and right margin", {.width = true, .maxXMargin = true}, {{10, 20}, {60, 60}},
            {{10, 20}, {15, 60}}},
        {"all of one axis", {.minYMargin = true, .height = true, .maxYMargin = true}, {{10, 60}, {30, 100}},
            {{10, 0}, {30, 40}}},
        {"one of each axis", {.minXMargin = true, .height = true}, {{70, 20}, {30, 180}},
            {{-20, 20}, {30, 0}}},
    };
    for (const auto& [what, parts, grown, shrunk] : cases) {
        EXPECT_EQ(autoresized(frame, {100, 200}, {160, 320}, parts), grown) << what;
        EXPECT_EQ(autoresized(frame, {100, 200}, {70, 140}, parts), shrunk) << what;
        EXPECT_EQ(autoresized(frame, {100, 200}, {100, 200}, parts), frame) << what;
    }
}

TEST(Autoresized, KeepsAWidthFromBecomingNegative)
{
    const CGRect frame{{0, 0}, {30, 30}};
    EXPECT_EQ(autoresized(frame, {100, 100}, {10, 10}, NSAutoresizing::sizable()), (CGRect{{0, 0}, {0, 0}}));
}

TEST(Autoresizing, FillsTheSuperviewWhenSizable)
{
    EXPECT_EQ(NSAutoresizing::sizable(), (NSAutoresizing{.width = true, .height = true}));
}

// ---- the tree
// -------------------------------------------------------------------------------------------------------

class NSViewTest : public ::testing::Test {
protected:
    NSViewTest() { static_cast<void>(NSApplication::shared()); }

    static std::shared_ptr<NSView> view(const CGRect& frame = {}, const NSAutoresizing& parts = {})
    {
        auto made = std::make_shared<NSView>(frame);
        made->setAutoresizing(parts);
        return made;
    }
    /// The widgets in a view, from the bottom to the top.
    static std::vector<GtkWidget*> widgetsIn(const NSView& holder)
    {
        GList* children = gtk_container_get_children(GTK_CONTAINER(gtkWidget(holder)));
        std::vector<GtkWidget*> widgets;
        for (GList* child = children; child; child = child->next)
            widgets.push_back(GTK_WIDGET(child->data));
        g_list_free(children);
        return widgets;
    }
};

TEST(NSViewFirst, MayBeMadeBeforeTheApplication)
{
    EXPECT_TRUE(std::make_shared<NSView>()->subviews().empty());
}

TEST_F(NSViewTest, HasItsFrameAndBounds)
{
    const auto made = view({{1, 2}, {30, 40}});
    EXPECT_EQ(made->frame(), (CGRect{{1, 2}, {30, 40}}));
    EXPECT_EQ(made->bounds(), (CGRect{{0, 0}, {30, 40}}));
    made->setFrame({{5, 6}, {70, 80}});
    EXPECT_EQ(made->frame(), (CGRect{{5, 6}, {70, 80}}));
    EXPECT_EQ(made->bounds(), (CGRect{{0, 0}, {70, 80}}));
    EXPECT_EQ(made->autoresizing(), NSAutoresizing());
    EXPECT_EQ(made->superview(), nullptr);
    EXPECT_EQ(made->window(), nullptr);
}

TEST_F(NSViewTest, KeepsItsSubviewsFromBottomToTop)
{
    const auto holder = view();
    const auto first = view();
    const auto second = view();
    holder->addSubview(first);
    holder->addSubview(second);
    EXPECT_EQ(holder->subviews(), (Views{first, second}));
    EXPECT_EQ(widgetsIn(*holder), (std::vector{gtkWidget(*first), gtkWidget(*second)}));
    EXPECT_EQ(first->superview(), holder);
}

TEST_F(NSViewTest, KeepsItsSubviewsAlive)
{
    const auto holder = view();
    std::weak_ptr<NSView> watched;
    {
        const auto child = view();
        watched = child;
        holder->addSubview(child);
    }
    EXPECT_FALSE(watched.expired());
    holder->subviews().front()->removeFromSuperview();
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(holder->subviews().empty());
    EXPECT_TRUE(widgetsIn(*holder).empty());
}

TEST_F(NSViewTest, DoesNotKeepItsSuperview)
{
    const auto child = view();
    auto holder = view();
    const std::weak_ptr<NSView> watched(holder);
    holder->addSubview(child);
    holder.reset();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(child->superview(), nullptr);
}

TEST_F(NSViewTest, MovesFromOneSuperviewToAnother)
{
    const auto first = view();
    const auto second = view();
    const auto child = view();
    first->addSubview(child);
    second->addSubview(child);
    EXPECT_TRUE(first->subviews().empty());
    EXPECT_EQ(second->subviews(), Views{child});
    EXPECT_EQ(child->superview(), second);
    EXPECT_TRUE(widgetsIn(*first).empty());
    EXPECT_EQ(widgetsIn(*second), std::vector{gtkWidget(*child)});
}

TEST_F(NSViewTest, GoesToTheTopWhenItIsAddedAgain)
{
    const auto holder = view();
    const auto first = view();
    const auto second = view();
    holder->addSubview(first);
    holder->addSubview(second);
    holder->addSubview(first);
    EXPECT_EQ(holder->subviews(), (Views{second, first}));
    EXPECT_EQ(widgetsIn(*holder), (std::vector{gtkWidget(*second), gtkWidget(*first)}));
}

TEST_F(NSViewTest, IsAddedByAReferenceToTheListThatItLeaves)
{
    const auto holder = view();
    const auto first = view();
    const auto second = view();
    holder->addSubview(first);
    holder->addSubview(second);
    holder->addSubview(holder->subviews().front());
    EXPECT_EQ(holder->subviews(), (Views{second, first}));
    EXPECT_EQ(first->superview(), holder);
    EXPECT_EQ(second->superview(), holder);

    const auto other = view();
    other->addSubview(holder->subviews().back());
    EXPECT_EQ(other->subviews(), Views{first});
    EXPECT_EQ(holder->subviews(), Views{second});
}

TEST_F(NSViewTest, LeavesItsSuperviewOnceAndForAll)
{
    const auto holder = view();
    const auto child = view();
    child->removeFromSuperview(); // from none
    holder->addSubview(child);
    child->removeFromSuperview();
    child->removeFromSuperview();
    EXPECT_EQ(child->superview(), nullptr);
    holder->addSubview(child);
    EXPECT_EQ(holder->subviews(), Views{child});
}

TEST_F(NSViewTest, OutlivesItsSuperviewWhole)
{
    const auto button = std::make_shared<NSButton>("Brew", CGRect{{0, 0}, {80, 30}});
    bool destroyed = false;
    g_signal_connect(gtkWidget(*button), "destroy",
        G_CALLBACK(+[](GtkWidget*, gpointer flag) { *static_cast<bool*>(flag) = true; }), &destroyed);
    {
        const auto holder = view();
        holder->addSubview(button);
    }
    EXPECT_FALSE(destroyed);
    EXPECT_NE(gtk_bin_get_child(GTK_BIN(gtkWidget(*button))), nullptr); // its label
    g_signal_handlers_disconnect_by_data(gtkWidget(*button), &destroyed);

    const auto other = view();
    other->addSubview(button);
    EXPECT_EQ(widgetsIn(*other), std::vector{gtkWidget(*button)});
}

TEST_F(NSViewTest, OutlivesItsWindowWhole)
{
    auto window = NSWindow::create({{0, 0}, {100, 100}});
    const auto content = window->contentView();
    const auto button = std::make_shared<NSButton>("Brew", CGRect{{0, 0}, {80, 30}});
    content->addSubview(button);
    window.reset();
    EXPECT_EQ(content->window(), nullptr);
    EXPECT_EQ(button->window(), nullptr);
    EXPECT_EQ(button->superview(), content);
    EXPECT_EQ(widgetsIn(*content), std::vector{gtkWidget(*button)});

    const auto other = NSWindow::create({{0, 0}, {100, 100}});
    other->setContentView(content);
    EXPECT_EQ(button->window(), other);
    EXPECT_EQ(gtk_widget_get_toplevel(gtkWidget(*button)), GTK_WIDGET(gtkWindow(*other)));
}

TEST_F(NSViewTest, LeavesNoWidgetBehind)
{
    int gone = 0;
    const auto watch = [&](const NSView& watched) {
        g_object_weak_ref(
            G_OBJECT(gtkWidget(watched)), +[](gpointer count, GObject*) { ++*static_cast<int*>(count); },
            &gone);
    };
    {
        const auto holder = view();
        const auto child = view();
        const auto grandchild = view();
        holder->addSubview(child);
        child->addSubview(grandchild);
        watch(*holder);
        watch(*child);
        watch(*grandchild);
    }
    EXPECT_EQ(gone, 3);
}

TEST_F(NSViewTest, CannotBePutIntoItself)
{
    const auto holder = view();
    const auto child = view();
    const auto grandchild = view();
    holder->addSubview(child);
    child->addSubview(grandchild);
    EXPECT_DEATH(holder->addSubview(holder), "Fatal error: ");
    EXPECT_DEATH(child->addSubview(holder), "Fatal error: ");
    EXPECT_DEATH(grandchild->addSubview(holder), "Fatal error: ");
    holder->addSubview(grandchild); // upwards is no cycle
    EXPECT_EQ(grandchild->superview(), holder);
}

TEST_F(NSViewTest, KnowsItsWindow)
{
    const auto window = NSWindow::create({{0, 0}, {100, 100}});
    const auto child = view();
    const auto grandchild = view();
    child->addSubview(grandchild);
    EXPECT_EQ(grandchild->window(), nullptr);
    window->contentView()->addSubview(child);
    EXPECT_EQ(window->contentView()->window(), window);
    EXPECT_EQ(window->contentView()->superview(), nullptr);
    EXPECT_EQ(child->window(), window);
    EXPECT_EQ(grandchild->window(), window);
    child->removeFromSuperview();
    EXPECT_EQ(child->window(), nullptr);
    EXPECT_EQ(grandchild->window(), nullptr);
}

TEST_F(NSViewTest, LeavesItsWindowWithAnEmptyContentView)
{
    const auto window = NSWindow::create({{0, 0}, {100, 100}});
    const auto content = window->contentView();
    content->removeFromSuperview();
    EXPECT_EQ(content->window(), nullptr);
    ASSERT_NE(window->contentView(), nullptr);
    EXPECT_NE(window->contentView(), content);
    EXPECT_TRUE(window->contentView()->subviews().empty());
}

TEST_F(NSViewTest, HidesAndShows)
{
    const auto made = view();
    EXPECT_FALSE(made->isHidden());
    made->setHidden(true);
    EXPECT_TRUE(made->isHidden());
    EXPECT_FALSE(gtk_widget_get_visible(gtkWidget(*made)));
    made->setHidden(false);
    EXPECT_FALSE(made->isHidden());
    EXPECT_TRUE(gtk_widget_get_visible(gtkWidget(*made)));
}

// ---- on screen
// ------------------------------------------------------------------------------------------------------

/// A window of 200 x 100 on screen.
class NSViewOnScreen : public NSViewTest {
protected:
    NSViewOnScreen()
        : window(NSWindow::create({{50, 50}, {200, 100}}))
    {
        window->makeKeyAndOrderFront();
        EXPECT_TRUE(waitUntil([&] { return placeOf(*content()).size == CGSize{200, 100}; }));
    }
    ~NSViewOnScreen() override { window->close(); }

    [[nodiscard]] const std::shared_ptr<NSView>& content() const { return window->contentView(); }

    /// Where GTK has put a view, from the bottom left of the window's content.
    [[nodiscard]] CGRect placeOf(const NSView& placed) const
    {
        GtkAllocation whole;
        GtkAllocation own;
        gtk_widget_get_allocation(gtkWidget(*content()), &whole);
        gtk_widget_get_allocation(gtkWidget(placed), &own);
        return {{double(own.x - whole.x), double(whole.y + whole.height - own.y - own.height)},
            {double(own.width), double(own.height)}};
    }
    void expectPlace(const NSView& placed, const CGRect& expected)
    {
        EXPECT_TRUE(waitUntil([&] { return placeOf(placed) == expected; }))
            << described(placeOf(placed)) << " instead of " << described(expected);
    }
    void resize(double width, double height)
    {
        window->setFrame({{50, 50}, {width, height}});
        ASSERT_TRUE(waitUntil([&] { return placeOf(*content()).size == CGSize{width, height}; }));
    }

    const std::shared_ptr<NSWindow> window;
};

TEST_F(NSViewOnScreen, LiesWhereItsFrameSaysFromTheBottomLeft)
{
    const auto child = view({{10, 20}, {30, 40}});
    content()->addSubview(child);
    expectPlace(*child, {{10, 20}, {30, 40}});
    child->setFrame({{100, 0}, {50, 60}});
    expectPlace(*child, {{100, 0}, {50, 60}});
}

TEST_F(NSViewOnScreen, LiesWithinItsSuperview)
{
    const auto holder = view({{10, 20}, {100, 60}});
    const auto child = view({{5, 6}, {30, 20}});
    holder->addSubview(child);
    content()->addSubview(holder);
    expectPlace(*child, {{15, 26}, {30, 20}});
    holder->setFrame({{40, 30}, {100, 60}});
    expectPlace(*child, {{45, 36}, {30, 20}});
}

TEST_F(NSViewOnScreen, LiesTheSameWithANegativeSize)
{
    const auto button = std::make_shared<NSButton>("", CGRect{{100, 80}, {-60, -50}});
    content()->addSubview(button);
    expectPlace(*button, {{40, 30}, {60, 50}});
}

TEST_F(NSViewOnScreen, FollowsItsWindow)
{
    const auto filling = view({{0, 0}, {200, 100}}, NSAutoresizing::sizable());
    const auto topRight = view({{150, 70}, {40, 20}}, {.minXMargin = true, .minYMargin = true});
    const auto bottomLeft = view({{10, 10}, {40, 20}});
    content()->addSubview(filling);
    content()->addSubview(topRight);
    content()->addSubview(bottomLeft);
    expectPlace(*topRight, {{150, 70}, {40, 20}});
    resize(320, 180);
    expectPlace(*filling, {{0, 0}, {320, 180}});
    expectPlace(*topRight, {{270, 150}, {40, 20}});
    expectPlace(*bottomLeft, {{10, 10}, {40, 20}});
    EXPECT_EQ(filling->frame(), (CGRect{{0, 0}, {320, 180}}));
    EXPECT_EQ(topRight->frame(), (CGRect{{270, 150}, {40, 20}}));
    EXPECT_EQ(content()->frame().size, (CGSize{320, 180}));
}

TEST_F(NSViewOnScreen, FollowsItsWindowThroughEveryLevel)
{
    const auto holder = view({{0, 0}, {200, 100}}, NSAutoresizing::sizable());
    const auto inner = view({{10, 10}, {180, 80}}, NSAutoresizing::sizable());
    const auto corner = view({{150, 60}, {20, 10}}, {.minXMargin = true, .minYMargin = true});
    inner->addSubview(corner);
    holder->addSubview(inner);
    content()->addSubview(holder);
    expectPlace(*corner, {{160, 70}, {20, 10}});
    resize(300, 200);
    expectPlace(*holder, {{0, 0}, {300, 200}});
    expectPlace(*inner, {{10, 10}, {280, 180}});
    expectPlace(*corner, {{260, 170}, {20, 10}});
}

TEST_F(NSViewTest, PassesANewSizeOnThroughEveryLevel)
{
    const auto holder = view({{0, 0}, {200, 100}});
    const auto inner = view({{10, 10}, {180, 80}}, NSAutoresizing::sizable());
    const auto corner = view({{150, 60}, {20, 10}}, {.minXMargin = true, .minYMargin = true});
    inner->addSubview(corner);
    holder->addSubview(inner);
    holder->setFrame({{0, 0}, {300, 200}});
    EXPECT_EQ(inner->frame(), (CGRect{{10, 10}, {280, 180}}));
    EXPECT_EQ(corner->frame(), (CGRect{{250, 160}, {20, 10}}));
}

TEST_F(NSViewOnScreen, FollowsItsWindowWhileItIsHidden)
{
    const auto holder = view({{0, 0}, {200, 100}}, NSAutoresizing::sizable());
    const auto child = view({{20, 20}, {160, 60}}, NSAutoresizing::sizable());
    holder->addSubview(child);
    content()->addSubview(holder);
    expectPlace(*child, {{20, 20}, {160, 60}});
    holder->setHidden(true);
    resize(300, 200);
    holder->setHidden(false);
    expectPlace(*holder, {{0, 0}, {300, 200}});
    expectPlace(*child, {{20, 20}, {260, 160}});
}

TEST_F(NSViewOnScreen, KeepsTheFrameThatItWasGiven)
{
    const CGRect between{{10.5, 20.25}, {30.5, 40.25}};
    const CGRect empty{{10, 10}, {0, 0}};
    const auto fractional = view(between);
    const auto nothing = view(empty);
    const auto last = view({{1, 1}, {2, 2}});
    content()->addSubview(fractional);
    content()->addSubview(nothing);
    content()->addSubview(last);
    expectPlace(*last, {{1, 1}, {2, 2}}); // all of them are laid out
    EXPECT_EQ(fractional->frame(), between);
    EXPECT_EQ(nothing->frame(), empty);
}

TEST_F(NSViewOnScreen, ComesBackToWhereItWasAfterManySizes)
{
    const CGRect frame{{20, 20}, {61, 31}};
    const auto child = view(
        frame, {.minXMargin = true, .width = true, .maxXMargin = true, .height = true, .maxYMargin = true});
    content()->addSubview(child);
    expectPlace(*child, frame);
    for (const double step : {1, 2, 3, 4, 5, 4, 3, 2, 1, 0})
        resize(200 + step, 100 + step);
    EXPECT_NEAR(child->frame().origin.x, frame.origin.x, 0.01);
    EXPECT_NEAR(child->frame().origin.y, frame.origin.y, 0.01);
    EXPECT_NEAR(child->frame().size.width, frame.size.width, 0.01);
    EXPECT_NEAR(child->frame().size.height, frame.size.height, 0.01);
}

TEST_F(NSViewOnScreen, AppearsWhenItIsAddedLater)
{
    const auto button = std::make_shared<NSButton>("Brew", CGRect{{10, 10}, {90, 40}});
    content()->addSubview(button);
    EXPECT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(gtkWidget(*button)); }));
    expectPlace(*button, {{10, 10}, {90, 40}});
    button->removeFromSuperview();
    EXPECT_FALSE(gtk_widget_get_mapped(gtkWidget(*button)));
}

} // namespace
