#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSTextField.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/Panels.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;

namespace {

class NSAlertTest : public ::testing::Test {
protected:
    NSAlertTest() { static_cast<void>(NSApplication::shared()); }
    ~NSAlertTest() override
    {
        for (const auto& window : NSApplication::shared().windows())
            window->close();
        runPendingTurns();
        EXPECT_TRUE(panels().empty());
    }

    static std::shared_ptr<NSWindow> shown(const CGRect& rect = {{100, 300}, {400, 300}})
    {
        auto window = NSWindow::create(rect);
        window->makeKeyAndOrderFront();
        EXPECT_TRUE(waitUntil([&] { return gtk_widget_get_mapped(GTK_WIDGET(gtkWindow(*window))); }));
        return window;
    }

    static std::shared_ptr<NSAlert> alert(const std::vector<std::string>& titles)
    {
        auto made = std::make_shared<NSAlert>();
        made->messageText = "Tea?";
        made->informativeText = "The kettle is hot.";
        for (const auto& title : titles)
            made->addButton(title);
        return made;
    }
};

// ---- modal

TEST_F(NSAlertTest, AnswersWithTheNumberOfTheButton)
{
    const auto asked = alert({"Yes", "Later", "No"});
    for (std::size_t index = 0; index < 3; ++index) {
        whenPanelComes([&](GtkDialog*) { asked->buttons()[index]->performClick(); });
        EXPECT_EQ(asked->runModal(), NSAlertFirstButtonReturn + NSModalResponse(index));
        EXPECT_TRUE(panels().empty());
    }
}

TEST_F(NSAlertTest, AnswersToAResponseOfItsDialog)
{
    const auto asked = alert({"Yes", "Later", "No"});
    whenPanelComes([&](GtkDialog* panel) { gtk_dialog_response(panel, 1001); });
    EXPECT_EQ(asked->runModal(), NSAlertSecondButtonReturn);
}

TEST_F(NSAlertTest, ShowsItsTextsAsTheyAre)
{
    const auto asked = std::make_shared<NSAlert>();
    asked->messageText = "<b>Tea</b> &amp; _milk_";
    asked->informativeText = "100 % <span size='9'>hot</span>";
    asked->addButton("_Yes <i>");
    std::vector<std::string> texts;
    whenPanelComes([&](GtkDialog* panel) {
        texts = textsOf(panel);
        asked->buttons().front()->performClick();
    });
    asked->runModal();
    EXPECT_THAT(texts, ElementsAre("<b>Tea</b> &amp; _milk_", "100 % <span size='9'>hot</span>", "_Yes <i>"));
}

TEST_F(NSAlertTest, ShowsNothingForTextsThatItHasNot)
{
    const auto asked = std::make_shared<NSAlert>();
    asked->informativeText = "Only this.";
    std::vector<std::string> texts;
    whenPanelComes([&](GtkDialog* panel) {
        texts = textsOf(panel);
        gtk_dialog_response(panel, 1000);
    });
    asked->runModal();
    EXPECT_THAT(texts, ElementsAre("Only this.", "OK"));
}

TEST_F(NSAlertTest, HasABoundForItsTexts)
{
    std::string lines;
    for (int line = 0; line < 100'000; ++line)
        lines += "\n";
    const std::vector<std::pair<std::string, std::string>> hostile{
        {std::string(5'000'000, 'x'), "after it"},
        {"before it", std::string(5'000'000, '\xff')},
        {"lines", lines},
        {std::string("a\0b", 3), std::string("\xed\xa0\x80", 3)},
    };
    for (const auto& [message, informative] : hostile) {
        const auto asked = std::make_shared<NSAlert>();
        asked->messageText = message;
        asked->informativeText = informative;
        asked->addButton(std::string(100'000, 'y'));
        int width = 0;
        int height = 0;
        whenPanelComes([&](GtkDialog* panel) {
            gtk_window_get_size(GTK_WINDOW(panel), &width, &height);
            asked->buttons().front()->performClick();
        });
        asked->runModal();
        EXPECT_LT(width, 800);
        EXPECT_LT(height, 600);
    }
}

TEST_F(NSAlertTest, ScrollsALongText)
{
    const auto asked = alert({"OK"});
    for (int line = 0; line < 100; ++line)
        asked->informativeText += "Line " + std::to_string(line) + "\n";
    bool scrolls = false;
    whenPanelComes([&](GtkDialog* panel) {
        if (GtkWidget* frame = find(panel, GTK_TYPE_SCROLLED_WINDOW)) {
            const auto* range = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(frame));
            auto* adjustment = const_cast<GtkAdjustment*>(range);
            scrolls = gtk_adjustment_get_upper(adjustment) > gtk_adjustment_get_page_size(adjustment);
        }
        gtk_dialog_response(panel, 1000);
    });
    asked->runModal();
    EXPECT_TRUE(scrolls);
}

TEST_F(NSAlertTest, HasTheFirstButtonAtTheRightAndAsTheDefault)
{
    const auto asked = alert({"Yes", "Later", "No"});
    std::vector<int> places;
    GtkWidget* preset = nullptr;
    whenPanelComes([&](GtkDialog* panel) {
        preset = gtk_window_get_default_widget(GTK_WINDOW(panel));
        for (const auto& button : asked->buttons()) {
            GtkAllocation area;
            gtk_widget_get_allocation(gtkWidget(*button), &area);
            places.push_back(area.x);
        }
        gtk_dialog_response(panel, 1000);
    });
    asked->runModal();
    ASSERT_EQ(places.size(), 3u);
    EXPECT_GT(places[0], places[1]);
    EXPECT_GT(places[1], places[2]);
    EXPECT_EQ(preset, gtkWidget(*asked->buttons()[0]));
}

TEST_F(NSAlertTest, StacksButtonsThatAreTooWideForARow)
{
    const auto asked = alert({"Send the message to everybody at once", "Send the message tomorrow morning"});
    std::vector<int> places;
    whenPanelComes([&](GtkDialog* panel) {
        for (const auto& button : asked->buttons()) {
            GtkAllocation area;
            gtk_widget_get_allocation(gtkWidget(*button), &area);
            places.push_back(area.y);
        }
        gtk_dialog_response(panel, 1000);
    });
    asked->runModal();
    ASSERT_EQ(places.size(), 2u);
    EXPECT_LT(places[0], places[1]); // the first at the top
}

TEST_F(NSAlertTest, HasAButtonWhereNoneWasAdded)
{
    const auto told = std::make_shared<NSAlert>();
    whenPanelComes([&](GtkDialog*) { told->buttons().front()->performClick(); });
    EXPECT_EQ(told->runModal(), NSAlertFirstButtonReturn);
    EXPECT_EQ(told->buttons().front()->title(), "OK");
}

TEST_F(NSAlertTest, ShowsASignForAWarning)
{
    for (const auto& [style, icon] : {std::pair(NSAlert::Style::warning, "dialog-warning"),
             std::pair(NSAlert::Style::critical, "dialog-error"),
             std::pair(NSAlert::Style::informational, "")}) {
        const auto told = alert({"OK"});
        told->alertStyle = style;
        std::string shown;
        whenPanelComes([&](GtkDialog* panel) {
            for (GtkWidget* widget : widgetsIn(GTK_WIDGET(panel)))
                if (GTK_IS_IMAGE(widget) && gtk_widget_get_mapped(widget)) {
                    const char* name = nullptr;
                    gtk_image_get_icon_name(GTK_IMAGE(widget), &name, nullptr);
                    shown = name ? name : "";
                }
            gtk_dialog_response(panel, 1000);
        });
        told->runModal();
        EXPECT_EQ(shown, icon);
    }
    EXPECT_EQ(std::make_shared<NSAlert>()->alertStyle, NSAlert::Style::informational);
}

TEST_F(NSAlertTest, TellsOfAnError)
{
    const auto told = std::make_shared<NSAlert>(Error{"Kettle", 5, "The water boils."});
    EXPECT_EQ(told->messageText, "The water boils.");
    EXPECT_EQ(told->informativeText, "");
    ASSERT_EQ(told->buttons().size(), 1u);
    EXPECT_EQ(told->buttons().front()->title(), "OK");
    EXPECT_EQ(std::make_shared<NSAlert>(Error{"Kettle", 5, ""})->messageText,
        "The operation couldn’t be completed. (Kettle error 5.)");
}

TEST_F(NSAlertTest, HasACheckBoxIfItIsToHaveOne)
{
    const auto asked = alert({"Yes", "No"});
    EXPECT_EQ(asked->suppressionButton()->state(), NSControlStateValue::off);
    for (const bool shows : {false, true}) {
        asked->showsSuppressionButton = shows;
        asked->suppressionButton()->setTitle("Never <again>");
        bool shown = false;
        whenPanelComes([&](GtkDialog* panel) {
            if (GtkWidget* box = button(panel, "Never <again>"); box && gtk_widget_get_mapped(box)) {
                shown = true;
                gtk_button_clicked(GTK_BUTTON(box));
            }
            gtk_dialog_response(panel, 1001);
        });
        asked->runModal();
        EXPECT_EQ(shown, shows);
    }
    EXPECT_EQ(
        asked->suppressionButton()->state(), NSControlStateValue::on); // readable when the alert has gone
}

TEST_F(NSAlertTest, GivesAnAccessoryViewItsSizeAndLetsGoOfIt)
{
    const auto asked = alert({"Yes"});
    const auto field = std::make_shared<NSTextField>(CGRect{{7, 9}, {200, 24}});
    asked->accessoryView = field;
    for (int time = 0; time < 2; ++time) {
        GtkAllocation area{};
        GtkWidget* focus = nullptr;
        whenPanelComes([&](GtkDialog* panel) {
            gtk_widget_get_allocation(gtkWidget(*field), &area);
            focus = gtk_window_get_focus(GTK_WINDOW(panel));
            field->setStringValue("green");
            gtk_dialog_response(panel, 1000);
        });
        asked->runModal();
        EXPECT_EQ(area.width, 200);
        EXPECT_EQ(area.height, 24);
        EXPECT_EQ(focus, gtkWidget(*field));
        EXPECT_EQ(field->stringValue(), "green");
        EXPECT_EQ(field->superview(), nullptr);
    }
}

TEST_F(NSAlertTest, AModalOneIsAbortedWhenTheApplicationEnds)
{
    std::optional<NSModalResponse> response;
    DispatchQueue::main()->async([&] {
        response = alert({"Yes"})->runModal();
        // Nothing that waits for the user begins from now on.
        EXPECT_EQ(alert({"Yes"})->runModal(), NSModalResponseAbort);
    });
    whenPanelComes([](GtkDialog*) { NSApplication::shared().terminate(); });
    NSApplication::shared().run();
    EXPECT_EQ(response, NSModalResponseAbort);
}

TEST_F(NSAlertTest, AModalOneCanBeRunAfterTheApplicationHasEnded)
{
    DispatchQueue::main()->async([] { NSApplication::shared().terminate(); });
    NSApplication::shared().run();
    whenPanelComes([](GtkDialog* panel) { gtk_dialog_response(panel, 1000); });
    EXPECT_EQ(alert({"Yes"})->runModal(), NSAlertFirstButtonReturn);
}

TEST_F(NSAlertTest, AModalOneEndsWhenItsSessionIsStopped)
{
    whenPanelComes([](GtkDialog*) { NSApplication::shared().stopModal(42); });
    EXPECT_EQ(alert({"Yes"})->runModal(), 42);
    whenPanelComes([](GtkDialog*) { NSApplication::shared().abortModal(); });
    EXPECT_EQ(alert({"Yes"})->runModal(), NSModalResponseAbort);
    NSApplication::shared().stopModal(); // nothing without a session
}

TEST_F(NSAlertTest, ModalOnesNest)
{
    const auto outer = alert({"Outer"});
    const auto inner = alert({"Inner"});
    std::vector<std::string> ended;
    whenPanelComes([&](GtkDialog*) {
        // Both are answered, the outer one first; it returns when the inner one has.
        DispatchQueue::main()->async([&] {
            outer->buttons().front()->performClick();
            inner->buttons().front()->performClick();
        });
        inner->runModal();
        ended.emplace_back("inner");
    });
    EXPECT_EQ(outer->runModal(), NSAlertFirstButtonReturn);
    ended.emplace_back("outer");
    EXPECT_THAT(ended, ElementsAre("inner", "outer"));
}

// ---- sheets

TEST_F(NSAlertTest, ASheetReturnsAtOnceAndAnswersOnceItHasGone)
{
    const auto window = shown();
    const auto asked = alert({"Yes", "No"});
    std::vector<NSModalResponse> responses;
    asked->beginSheetModal(window, [&](NSModalResponse response) {
        EXPECT_TRUE(panels().empty());
        responses.push_back(response);
    });
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(responses.empty());
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(panel)), gtkWindow(*window));
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(panel)));
    gtk_dialog_response(panel, 1001);
    EXPECT_THAT(responses, ElementsAre(NSAlertSecondButtonReturn));
}

TEST_F(NSAlertTest, ASheetWithoutAHandlerIsShownAndGoes)
{
    const auto window = shown();
    alert({"Yes"})->beginSheetModal(window, {});
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    gtk_dialog_response(panel, 1000);
    EXPECT_TRUE(panels().empty());
}

TEST_F(NSAlertTest, ASheetStandsOverTheMiddleOfItsWindow)
{
    const auto window = shown({{200, 200}, {600, 500}});
    alert({"Yes"})->beginSheetModal(window, {});
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    const auto middleOf = [](GtkWindow* of) {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        gtk_window_get_position(of, &x, &y);
        gtk_window_get_size(of, &width, &height);
        return std::pair(x + width / 2, y + height / 2);
    };
    const auto [x, y] = middleOf(gtkWindow(*window));
    const auto [panelX, panelY] = middleOf(GTK_WINDOW(panel));
    EXPECT_NEAR(panelX, x, 2);
    EXPECT_NEAR(panelY, y, 2);
}

TEST_F(NSAlertTest, SheetsOfTwoWindowsAreUpAtOnce)
{
    const auto left = shown({{50, 300}, {400, 300}});
    const auto right = shown({{600, 300}, {400, 300}});
    std::vector<std::string> ended;
    alert({"Left"})->beginSheetModal(left, [&](auto) { ended.emplace_back("left"); });
    alert({"Right"})->beginSheetModal(right, [&](auto) { ended.emplace_back("right"); });
    ASSERT_TRUE(waitUntil([] { return panels().size() == 2; }));
    // Each blocks its window's group of windows, and they are two.
    EXPECT_NE(gtk_window_get_group(gtkWindow(*left)), gtk_window_get_group(gtkWindow(*right)));
    gtk_dialog_response(panelOf(*right), 1000);
    EXPECT_THAT(ended, ElementsAre("right"));
    gtk_dialog_response(panelOf(*left), 1000);
    EXPECT_THAT(ended, ElementsAre("right", "left"));
}

TEST_F(NSAlertTest, SheetsOfOneWindowComeOneAfterTheOther)
{
    const auto window = shown();
    std::vector<std::string> ended;
    for (const std::string name : {"first", "second"}) {
        const auto asked = alert({"OK"});
        asked->messageText = name;
        asked->beginSheetModal(window, [&, name](auto) { ended.push_back(name); });
    }
    for (const std::string name : {"first", "second"}) {
        GtkDialog* panel = waitForPanel();
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(textsOf(panel).front(), name);
        gtk_dialog_response(panel, 1000);
        EXPECT_EQ(ended.back(), name);
    }
    EXPECT_TRUE(panels().empty());
}

TEST_F(NSAlertTest, AHandlerMayPutTheNextSheetUp)
{
    const auto window = shown();
    const auto asked = alert({"OK"});
    int answers = 0;
    asked->beginSheetModal(window, [&](auto) {
        ++answers;
        asked->beginSheetModal(window, [&](auto) { ++answers; }); // the same alert again
    });
    for (int expected = 1; expected <= 2; ++expected) {
        GtkDialog* panel = waitForPanel();
        ASSERT_NE(panel, nullptr);
        gtk_dialog_response(panel, 1000);
        EXPECT_EQ(answers, expected);
    }
}

TEST_F(NSAlertTest, ASheetShowsItsWindow)
{
    const auto window = NSWindow::create({{100, 100}, {300, 200}});
    alert({"OK"})->beginSheetModal(window, {});
    ASSERT_NE(waitForPanel(), nullptr);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(NSAlertTest, ASheetHidesAndComesBackWithItsWindow)
{
    const auto window = shown();
    int answers = 0;
    alert({"OK"})->beginSheetModal(window, [&](auto) { ++answers; });
    ASSERT_NE(waitForPanel(), nullptr);
    window->orderOut();
    EXPECT_TRUE(panels().empty());
    window->makeKeyAndOrderFront();
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(answers, 0);
    gtk_dialog_response(panel, 1000);
    EXPECT_EQ(answers, 1);
}

TEST_F(NSAlertTest, SheetsAreCancelledWhenTheirWindowIsClosed)
{
    const auto window = shown();
    std::vector<NSModalResponse> responses;
    for (int time = 0; time < 2; ++time)
        alert({"OK"})->beginSheetModal(
            window, [&](NSModalResponse response) { responses.push_back(response); });
    ASSERT_NE(waitForPanel(), nullptr);
    window->close();
    EXPECT_TRUE(panels().empty());
    EXPECT_TRUE(responses.empty()); // not within the window's own work
    EXPECT_TRUE(waitUntil([&] { return responses.size() == 2; }));
    EXPECT_THAT(responses, ElementsAre(NSModalResponseCancel, NSModalResponseCancel));
}

TEST_F(NSAlertTest, SheetsAreCancelledWhenTheirWindowIsDestroyed)
{
    auto window = shown();
    std::vector<NSModalResponse> responses;
    alert({"OK"})->beginSheetModal(window, [&](NSModalResponse response) { responses.push_back(response); });
    ASSERT_NE(waitForPanel(), nullptr);
    window->orderOut();
    const std::weak_ptr<NSWindow> gone = window;
    window.reset();
    EXPECT_TRUE(gone.expired()); // a sheet does not keep its window
    EXPECT_TRUE(waitUntil([&] { return !responses.empty(); }));
    EXPECT_THAT(responses, ElementsAre(NSModalResponseCancel));
}

TEST_F(NSAlertTest, AHandlerMayCloseTheWindow)
{
    const auto window = shown();
    std::vector<NSModalResponse> responses;
    alert({"Discard"})->beginSheetModal(window, [&](NSModalResponse response) {
        responses.push_back(response);
        window->close();
    });
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    gtk_dialog_response(panel, 1000);
    runPendingTurns();
    EXPECT_THAT(responses, ElementsAre(NSAlertFirstButtonReturn));
    EXPECT_FALSE(window->isVisible());
}

TEST_F(NSAlertTest, IsFreedWithItsDialogOnceItHasBeenAnswered)
{
    const auto window = shown();
    auto asked = alert({"Yes", "No"});
    asked->showsSuppressionButton = true;
    asked->accessoryView = std::make_shared<NSTextField>(CGRect{{}, {200, 24}});
    const std::weak_ptr<NSAlert> alertGone = asked;
    asked->beginSheetModal(window, {});
    asked.reset();
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_FALSE(alertGone.expired()); // it keeps itself
    bool finalized = false;
    g_object_weak_ref(
        G_OBJECT(panel), +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; }, &finalized);
    gtk_dialog_response(panel, 1000);
    EXPECT_TRUE(alertGone.expired());
    EXPECT_TRUE(waitUntil([&] { return finalized; }));
}

TEST(NSAlertDeathTest, IsUpOnceAtATime)
{
    EXPECT_DEATH(
        {
            const auto window = NSWindow::create({{}, {200, 200}});
            const auto told = std::make_shared<NSAlert>();
            told->beginSheetModal(window, {});
            told->beginSheetModal(window, {});
        },
        "the alert is up already");
}

// ---- Escape

TEST(CancelButton, IsTheHarmlessOne)
{
    using Titles = std::vector<std::string>;
    EXPECT_EQ(cancelButton(Titles{}), std::nullopt);
    EXPECT_EQ(cancelButton(Titles{"OK"}), 0u);
    EXPECT_EQ(cancelButton(Titles{"Delete", "Keep"}), 1u);
    EXPECT_EQ(cancelButton(Titles{"Cancel", "Go on"}), 0u);
    EXPECT_EQ(cancelButton(Titles{"Save", "Cancel", "Discard"}), 1u);
    EXPECT_EQ(cancelButton(Titles{"Red", "Green", "Blue"}), std::nullopt);
}

} // namespace
