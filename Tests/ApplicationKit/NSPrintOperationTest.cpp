#include "ApplicationKit/NSPrintInfoNative.h"

#include <LumoKit/Platform/ApplicationKit/NSPrintOperation.h>
#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/WebKit/WebView.h>

#include <Support/PrintedPages.h>
#include <Support/Printer.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct NSPrintOperationTest : ::testing::Test {
    NSPrintOperationTest()
    {
        printWithPanel();
        info->setPaperSize({595.276, 841.89});
        for (const auto set : {&NSPrintInfo::setTopMargin, &NSPrintInfo::setBottomMargin,
                 &NSPrintInfo::setLeftMargin, &NSPrintInfo::setRightMargin})
            ((*info).*set)(30);
        suggest(folder / "panel.pdf");
        window->makeKeyAndOrderFront();
        web->mainFrame()->loadHTMLString(
            "<body style='margin:0'><div style='height:3000px;background:#000'></div>the document", {});
        EXPECT_TRUE(waitUntil([&] { return !web->isLoading(); }));
    }
    ~NSPrintOperationTest() override
    {
        window->close();
        runPendingTurns();
        EXPECT_THAT(panels(), IsEmpty());
    }

    std::shared_ptr<NSPrintOperation> begin()
    {
        auto operation =
            std::make_shared<NSPrintOperation>(web->mainFrame()->frameView()->documentView(), info);
        operation->runModal(
            window, delegate,
            [this](NSPrintOperation&, bool success, const std::any& contextInfo) {
                outcomes.push_back(success);
                context = contextInfo;
            },
            std::string("context"));
        EXPECT_THAT(outcomes, IsEmpty());
        return operation;
    }

    [[nodiscard]] bool hasEnded() const
    {
        return waitUntil([this] { return !outcomes.empty(); });
    }

    const TemporaryFolder folder;
    const std::shared_ptr<NSPrintInfo> info = NSPrintInfo::shared();
    const std::shared_ptr<NSWindow> window = NSWindow::create({{300, 300}, {600, 400}});
    std::shared_ptr<WebView> web = std::make_shared<WebView>(CGRect{{}, info->paperSize()}, "", "");
    std::shared_ptr<NSObject> delegate = std::make_shared<NSObject>();
    std::vector<bool> outcomes;
    std::any context;
};

TEST_F(NSPrintOperationTest, AsksInASheet)
{
    const auto other = NSWindow::create({{}, {200, 200}});
    other->makeKeyAndOrderFront();
    begin();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    auto* dialog = GTK_WINDOW(panel);
    EXPECT_TRUE(gtk_window_get_modal(dialog));
    EXPECT_EQ(gtk_window_get_transient_for(dialog), gtkWindow(*window));
    EXPECT_EQ(gtk_window_get_group(dialog), gtk_window_get_group(gtkWindow(*window)));
    EXPECT_NE(gtk_window_get_group(dialog), gtk_window_get_group(gtkWindow(*other)));
    EXPECT_STREQ(gtk_window_get_title(dialog), "Print");
    press(panel, GTK_RESPONSE_CANCEL);
    ASSERT_TRUE(hasEnded());
    EXPECT_FALSE(panelOf(*window));
    other->close();
}

TEST_F(NSPrintOperationTest, PrintsIntoAFileByThePanel)
{
    begin();
    web.reset(); // the operation keeps what it prints
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    EXPECT_TRUE(gtk_printer_is_virtual(gtk_print_unix_dialog_get_selected_printer(panel)));
    press(panel, GTK_RESPONSE_OK);
    const PrintedPages pages(folder / "panel.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), HasSubstr("the document"));
    const auto from = pages.distances(1);
    EXPECT_NEAR(from.left, 30, 1);
    EXPECT_NEAR(from.top, 30, 1);
    EXPECT_NEAR(from.right, 30, 1);
    EXPECT_NEAR(from.bottom, 30, 1);
    ASSERT_TRUE(hasEnded());
    EXPECT_EQ(outcomes, std::vector{true});
    EXPECT_EQ(std::any_cast<std::string>(context), "context");
}

TEST_F(NSPrintOperationTest, LetsChooseWhereNoPrinterIsInstalled)
{
    gtk_print_settings_set_printer(info->nativeInfo().settings.get(), nullptr);
    begin();
    ASSERT_TRUE(waitUntil([&] { return panelOf(*window); }));
    auto* panel = GTK_PRINT_UNIX_DIALOG(panelOf(*window));
    auto* list = GTK_TREE_VIEW(find(GTK_DIALOG(panel), GTK_TYPE_TREE_VIEW));
    ASSERT_TRUE(waitUntil(
        [&] { return gtk_tree_model_iter_n_children(gtk_tree_view_get_model(list), nullptr) > 0; }));
    EXPECT_FALSE(gtk_print_unix_dialog_get_selected_printer(panel));
    GtkTreePath* first = gtk_tree_path_new_first();
    gtk_tree_selection_select_path(gtk_tree_view_get_selection(list), first);
    gtk_tree_path_free(first);
    ASSERT_TRUE(waitForPrintPanel(*window));
    press(panel, GTK_RESPONSE_OK);
    EXPECT_TRUE(PrintedPages(folder / "panel.pdf").isComplete);
    EXPECT_TRUE(gtk_print_settings_get_printer(info->nativeInfo().settings.get())); // for the next time
}

TEST_F(NSPrintOperationTest, MakesNothingButPDF)
{
    gtk_print_settings_set(info->nativeInfo().settings.get(), GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "ps");
    begin();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    for (GtkWidget* widget : widgetsIn(GTK_WIDGET(panel)))
        if (GTK_IS_RADIO_BUTTON(widget) && gtk_widget_get_mapped(widget)) {
            const char* label = gtk_button_get_label(GTK_BUTTON(widget));
            EXPECT_THAT(label ? label : "", testing::Not(testing::AnyOf("Postscript", "SVG")));
        }
    press(panel, GTK_RESPONSE_OK);
    EXPECT_TRUE(PrintedPages(folder / "panel.pdf").isComplete);
    ASSERT_TRUE(hasEnded());
    EXPECT_EQ(outcomes, std::vector{true});
}

TEST_F(NSPrintOperationTest, EndsWithTheProcessOfTheDocument)
{
    printInto(folder / "a.pdf");
    begin();
    ::testing::internal::CaptureStdout();
    webkit_web_view_terminate_web_process(
        WEBKIT_WEB_VIEW(gtkWidget(*web->mainFrame()->frameView()->documentView())));
    const bool ended = hasEnded();
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("[NSPrintOperation] cannot print: "));
    ASSERT_TRUE(ended);
    EXPECT_EQ(outcomes, std::vector{false});
}

TEST_F(NSPrintOperationTest, PrintsNothingWhenItIsCancelled)
{
    begin();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    press(panel, GTK_RESPONSE_CANCEL);
    ASSERT_TRUE(hasEnded());
    EXPECT_EQ(outcomes, std::vector{false});
    EXPECT_FALSE(std::filesystem::exists(folder / "panel.pdf"));
}

TEST_F(NSPrintOperationTest, IsCancelledWithItsWindow)
{
    begin();
    ASSERT_TRUE(waitForPrintPanel(*window));
    window->close();
    ASSERT_TRUE(hasEnded());
    EXPECT_EQ(outcomes, std::vector{false});
    EXPECT_FALSE(std::filesystem::exists(folder / "panel.pdf"));
}

TEST_F(NSPrintOperationTest, KeepsThePaperThatIsChosenAndTheMargins)
{
    begin();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    GtkPageSetup* letter = gtk_page_setup_new();
    GtkPaperSize* paper = gtk_paper_size_new(GTK_PAPER_NAME_LETTER);
    gtk_page_setup_set_paper_size_and_default_margins(letter, paper);
    gtk_paper_size_free(paper);
    gtk_print_unix_dialog_set_page_setup(panel, letter);
    g_object_unref(letter);
    press(panel, GTK_RESPONSE_OK);
    const PrintedPages pages(folder / "panel.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_NEAR(pages.width(), 612, 0.5);
    EXPECT_NEAR(pages.height(), 792, 0.5);
    EXPECT_NEAR(pages.distances(1).left, 30, 1);
    EXPECT_NEAR(pages.distances(1).bottom, 30, 1);
    EXPECT_NEAR(info->paperSize().width, 612, 0.5);
    EXPECT_NEAR(info->paperSize().height, 792, 0.5);
    EXPECT_NEAR(info->topMargin(), 30, 1e-6);
    EXPECT_NEAR(info->bottomMargin(), 30, 1e-6);
    EXPECT_NEAR(info->leftMargin(), 30, 1e-6);
    EXPECT_NEAR(info->rightMargin(), 30, 1e-6);
}

TEST_F(NSPrintOperationTest, KeepsThePrinterButNotThePages)
{
    begin();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    GtkPrintSettings* chosen = gtk_print_unix_dialog_get_settings(panel);
    gtk_print_settings_set_print_pages(chosen, GTK_PRINT_PAGES_RANGES);
    const GtkPageRange second{1, 1};
    gtk_print_settings_set_page_ranges(chosen, const_cast<GtkPageRange*>(&second), 1);
    gtk_print_settings_set_n_copies(chosen, 2);
    gtk_print_unix_dialog_set_settings(panel, chosen);
    g_object_unref(chosen);
    press(panel, GTK_RESPONSE_OK);
    const PrintedPages pages(folder / "panel.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_EQ(pages.count(), 2); // one page, twice
    GtkPrintSettings* kept = info->nativeInfo().settings.get();
    EXPECT_TRUE(gtk_print_settings_get_printer(kept));
    EXPECT_EQ(gtk_print_settings_get_n_copies(kept), 1);
    EXPECT_EQ(gtk_print_settings_get_print_pages(kept), GTK_PRINT_PAGES_ALL);
}

TEST_F(NSPrintOperationTest, SavesWithoutAPanel)
{
    printInto(folder / "a b%20\u00E9.pdf");
    EXPECT_FALSE(begin()->showsPrintPanel);
    EXPECT_FALSE(panelOf(*window));
    ASSERT_TRUE(hasEnded());
    EXPECT_EQ(outcomes, std::vector{true});
    const PrintedPages pages(folder / "a b%20\u00E9.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), HasSubstr("the document"));
}

TEST_F(NSPrintOperationTest, ReplacesTheFile)
{
    writeInPlace(folder / "there.pdf", "something else");
    printInto(folder / "there.pdf");
    begin();
    ASSERT_TRUE(hasEnded());
    EXPECT_TRUE(PrintedPages(folder / "there.pdf").isComplete);
}

TEST_F(NSPrintOperationTest, AsksUnlessNothingIsLeftToAsk)
{
    const auto document = web->mainFrame()->frameView()->documentView();
    EXPECT_TRUE(NSPrintOperation(document, info).showsPrintPanel);
    info->jobDisposition = NSPrintInfo::JobDisposition::save;
    EXPECT_TRUE(NSPrintOperation(document, info).showsPrintPanel);
    printInto(folder / "a.pdf");
    EXPECT_FALSE(NSPrintOperation(document, info).showsPrintPanel);
    info->jobDisposition = NSPrintInfo::JobDisposition::spool;
    EXPECT_TRUE(NSPrintOperation(document, info).showsPrintPanel);
}

TEST_F(NSPrintOperationTest, TellsOfAFailure)
{
    printInto(folder / "no such folder" / "a.pdf");
    ::testing::internal::CaptureStdout();
    begin();
    const bool ended = hasEnded();
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("[NSPrintOperation] cannot print: "));
    ASSERT_TRUE(ended);
    EXPECT_EQ(outcomes, std::vector{false});
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(NSPrintOperationTest, TellsTheUserWhoWasAskedOfAFailure)
{
    begin();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    std::filesystem::remove_all(folder.path);
    press(panel, GTK_RESPONSE_OK);
    ASSERT_TRUE(hasEnded());
    EXPECT_EQ(outcomes, std::vector{false});
    GtkDialog* alert = waitForPanel();
    ASSERT_TRUE(alert);
    EXPECT_EQ(panelOf(*window), alert);
    EXPECT_THAT(textsOf(alert), Contains("The document could not be printed."));
    gtk_button_clicked(GTK_BUTTON(button(alert, "OK")));
    EXPECT_TRUE(waitUntil([&] { return panels().empty(); }));
}

TEST_F(NSPrintOperationTest, TellsNobodyWhoIsGone)
{
    printInto(folder / "a.pdf");
    const std::weak_ptr<NSPrintOperation> operation = begin();
    delegate.reset();
    EXPECT_TRUE(waitUntil([&] { return operation.expired(); }));
    EXPECT_TRUE(PrintedPages(folder / "a.pdf").isComplete);
    EXPECT_THAT(outcomes, IsEmpty());
}

TEST_F(NSPrintOperationTest, RunsAgain)
{
    printInto(folder / "a.pdf");
    const auto operation = begin();
    ASSERT_TRUE(hasEnded());
    outcomes.clear();
    std::filesystem::remove(folder / "a.pdf");
    operation->runModal(
        window, delegate, [this](auto&, bool success, auto&) { outcomes.push_back(success); });
    ASSERT_TRUE(hasEnded());
    EXPECT_TRUE(PrintedPages(folder / "a.pdf").isComplete);
}

using NSPrintOperationDeathTest = NSPrintOperationTest;

TEST_F(NSPrintOperationDeathTest, RunsOnceAtATime)
{
    EXPECT_DEATH(begin()->runModal(window, delegate), "running already");
}

TEST_F(NSPrintOperationDeathTest, WantsSomethingToPrint)
{
    const auto view = std::make_shared<NSView>();
    EXPECT_DEATH(NSPrintOperation(view, info), "nothing can be printed of this view");
}

} // namespace
