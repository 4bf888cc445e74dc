#include "ApplicationKit/NSPrintInfoNative.h"

#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/WebPrinter.h>

#include <Support/PrintedPages.h>
#include <Support/Printer.h>
#include <Support/SocketServer.h>
#include <Support/TemporaryFolder.h>
#include <Support/TestServer.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr std::array<int, 3> red{255, 0, 0};
constexpr const char* redImage = "<svg xmlns='http://www.w3.org/2000/svg' width='120' height='80'>"
                                 "<rect width='120' height='80' fill='#f00'/></svg>";

struct WebPrinterTest : ::testing::Test {
    WebPrinterTest()
    {
        printWithPanel();
        NSPrintInfo::shared()->setPaperSize({595.276, 841.89});
        window->makeKeyAndOrderFront();
    }
    ~WebPrinterTest() override
    {
        window->close();
        EXPECT_TRUE(
            waitForOthers([] { return panels().empty(); })); // one that was answered goes a turn later
    }

    /// What follows in the queue of whatever came before: another document, until it would be printed.
    void letAnotherDocumentBePrinted()
    {
        printWithPanel();
        const auto other = NSWindow::create({{}, {200, 200}});
        const auto printer = std::make_shared<WebPrinter>(other);
        printer->printHtml("<p>another", {});
        auto* panel = waitForPrintPanel(*other);
        ASSERT_TRUE(panel);
        press(panel, GTK_RESPONSE_CANCEL);
        runPendingTurns();
        other->close();
    }

    const TemporaryFolder folder;
    const std::shared_ptr<NSWindow> window = NSWindow::create({{300, 300}, {600, 400}});
    std::shared_ptr<WebPrinter> printer = std::make_shared<WebPrinter>(window);
};

TEST_F(WebPrinterTest, SetsTheMarginsOfTheWholeApplication)
{
    const auto info = NSPrintInfo::shared();
    info->setTopMargin(1);
    info->setBottomMargin(2);
    info->setLeftMargin(3);
    info->setRightMargin(4);
    WebPrinter another(window);
    EXPECT_NEAR(info->topMargin(), 30, 1e-6);
    EXPECT_NEAR(info->bottomMargin(), 30, 1e-6);
    EXPECT_NEAR(info->leftMargin(), 30, 1e-6);
    EXPECT_NEAR(info->rightMargin(), 30, 1e-6);
    EXPECT_FALSE(another.view());
}

TEST_F(WebPrinterTest, PrintsPagesWithThoseMargins)
{
    printInto(folder / "pages.pdf");
    printer->printHtml(
        "<body style='margin:0'><style>div { height: 100vh; background: #000; break-after: page }"
        "div:last-child { break-after: auto }</style>"
        "<div style='height:6000px'></div>",
        {});
    const PrintedPages pages(folder / "pages.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_NEAR(pages.width(), 595.276, 0.5);
    EXPECT_NEAR(pages.height(), 841.89, 0.5);
    ASSERT_GE(pages.count(), 5);
    for (int page : {1, 2, pages.count() - 1}) {
        const auto from = pages.distances(page);
        EXPECT_NEAR(from.left, 30, 1) << page;
        EXPECT_NEAR(from.top, 30, 1) << page;
        EXPECT_NEAR(from.right, 30, 1) << page;
        EXPECT_NEAR(from.bottom, 30, 1) << page;
    }
}

TEST_F(WebPrinterTest, BeginsAPageWhereTheDocumentSaysSo)
{
    printInto(folder / "three.pdf");
    printer->printHtml("<style>p { break-before: page }</style>one<p>two<p>three", {});
    const PrintedPages pages(folder / "three.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_EQ(pages.count(), 3);
    EXPECT_THAT(pages.text(), AllOf(HasSubstr("one"), HasSubstr("two"), HasSubstr("three")));
}

TEST_F(WebPrinterTest, LaysOutForThePaper)
{
    NSPrintInfo::shared()->setPaperSize({400, 300});
    printInto(folder / "paper.pdf");
    printer->printHtml("<body><script>document.write(innerWidth + 'x' + innerHeight)</script>", {});
    const PrintedPages pages(folder / "paper.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_NEAR(pages.width(), 400, 0.5);
    EXPECT_NEAR(pages.height(), 300, 0.5);
    EXPECT_THAT(pages.text(), HasSubstr("400x300"));
    EXPECT_EQ(printer->view()->frame(), (CGRect{{}, NSPrintInfo::shared()->paperSize()}));
    EXPECT_EQ(printer->view()->mainFrame()->name(), "printFrame");
    EXPECT_EQ(printer->view()->groupName(), "printGroup");
    EXPECT_TRUE(printer->view()->shouldUpdateWhileOffscreen());
}

TEST_F(WebPrinterTest, PrintsAcrossAPaperThatIsTurned)
{
    NSPrintInfo::shared()->setOrientation(NSPrintInfo::Orientation::landscape);
    printInto(folder / "turned.pdf");
    printer->printHtml("<body style='margin:0'><div style='height:9000px;background:#000'>", {});
    const PrintedPages pages(folder / "turned.pdf");
    NSPrintInfo::shared()->setOrientation(NSPrintInfo::Orientation::portrait);
    ASSERT_TRUE(pages.isComplete);
    EXPECT_NEAR(pages.width(), 841.89, 0.5);
    EXPECT_NEAR(pages.height(), 595.276, 0.5);
    const auto from = pages.distances(1);
    EXPECT_NEAR(from.left, 30, 1);
    EXPECT_NEAR(from.top, 30, 1);
    EXPECT_NEAR(from.right, 30, 1);
    EXPECT_NEAR(from.bottom, 30, 1);
}

TEST_F(WebPrinterTest, FindsImagesByTheBaseAddress)
{
    TestServer server;
    server.serve("/letters/red.svg", {.type = "image/svg+xml", .body = redImage});
    printInto(folder / "image.pdf");
    printer->printHtml("<img src='red.svg'>", URL::parse(server.origin() + "/letters/one"));
    const PrintedPages pages(folder / "image.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_GT(pages.area(1, red), 3000);
}

TEST_F(WebPrinterTest, FindsImagesBesideAFile)
{
    writeInPlace(folder / "red.svg", redImage);
    printInto(folder / "image.pdf");
    printer->printHtml("<img src='red.svg'>", URL::fileURL((folder / "letter.html").string()));
    const PrintedPages pages(folder / "image.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_GT(pages.area(1, red), 3000);
}

TEST_F(WebPrinterTest, PrintsWithoutABaseAddress)
{
    printInto(folder / "image.pdf");
    printer->printHtml("<img src='red.svg'>caf\u00E9", {});
    const PrintedPages pages(folder / "image.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_EQ(pages.area(1, red), 0);
    EXPECT_THAT(pages.text(), HasSubstr("caf\u00E9"));
}

TEST_F(WebPrinterTest, PrintsOnceWhenTheLastFrameHasLoaded)
{
    std::promise<void> lastMayCome;
    const auto mayCome = lastMayCome.get_future().share();
    std::atomic<int> asked = 0;
    SocketServer server([&](SocketServer::Connection& connection) {
        while (connection.receiveHead()) {
            const std::string head = connection.head();
            ++asked;
            if (head.starts_with("GET /3"))
                mayCome.wait();
            const std::string body = "<p>frame " + head.substr(5, 1);
            connection.send("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: "
                + std::to_string(body.size()) + "\r\n\r\n" + body);
        }
    });
    printer->printHtml("<iframe src=1></iframe><iframe src=2></iframe><iframe src=3></iframe>",
        URL::parse(server.origin() + "/"));
    EXPECT_TRUE(waitForOthers([&] { return asked >= 3; }));
    printer->webView(printer->view(), printer->view()->mainFrame()); // as for a frame that has loaded
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(panelOf(*window));

    suggest(folder / "frames.pdf");
    lastMayCome.set_value();
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    EXPECT_FALSE(printer->view()->frameLoadDelegate());
    printer->webView(printer->view(), printer->view()->mainFrame());
    press(panel, GTK_RESPONSE_OK);
    const PrintedPages pages(folder / "frames.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), AllOf(HasSubstr("frame 1"), HasSubstr("frame 2"), HasSubstr("frame 3")));
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, PrintsOnceWhenItIsToldTwice)
{
    printer->printHtml("<p>text", {});
    ASSERT_TRUE(waitUntil([&] { return !printer->view()->isLoading(); }));
    printer->webView(printer->view(), printer->view()->mainFrame());
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    press(panel, GTK_RESPONSE_CANCEL);
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, PrintsTheSecondOfTwoQuickCalls)
{
    printInto(folder / "quick.pdf");
    printer->printHtml("<p>older", {});
    const std::weak_ptr<WebView> first = printer->view();
    printer->printHtml("<p>newer", {});
    EXPECT_TRUE(first.expired());
    const PrintedPages pages(folder / "quick.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), AllOf(HasSubstr("newer"), Not(HasSubstr("older"))));
    std::filesystem::remove(folder / "quick.pdf");
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(std::filesystem::exists(folder / "quick.pdf"));
}

TEST_F(WebPrinterTest, DropsADocumentThatHasLoadedButIsNotPrinted)
{
    printer->printHtml("<p>older", {});
    ASSERT_TRUE(waitUntil([&] { return !printer->view()->isLoading(); }));
    printInto(folder / "next.pdf");
    printer->printHtml("<p>newer", {});
    const PrintedPages pages(folder / "next.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), HasSubstr("newer"));
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, PrintsADocumentThatIsReplacedWhileItsPanelIsUp)
{
    suggest(folder / "first.pdf");
    printer->printHtml("<p>older", {});
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    printer->printHtml("<p>newer", {});
    press(panel, GTK_RESPONSE_OK);
    const PrintedPages pages(folder / "first.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), HasSubstr("older"));
    auto* next = waitForPrintPanel(*window);
    ASSERT_TRUE(next);
    press(next, GTK_RESPONSE_CANCEL);
}

TEST_F(WebPrinterTest, NeverPrintsWhatNeverCompletes)
{
    SocketServer silent([](SocketServer::Connection& connection) { connection.waitForEnd(); });
    printer->printHtml("<p>text<img src=/never>", URL::parse(silent.origin() + "/"));
    EXPECT_TRUE(waitForOthers([&] { return silent.connections() > 0; }));
    letAnotherDocumentBePrinted();
    EXPECT_TRUE(printer->view()->isLoading());
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, NeverPrintsWhatIsOpenedAnew)
{
    printer->printHtml("<p>text<script>onload = () => document.open()</script>", {});
    ASSERT_TRUE(waitUntil([&] { return !printer->view()->isLoading(); }));
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, IsNotHeldUpByAScriptWithoutAnEnd)
{
    printer->printHtml("<p>text<script>for (;;);</script>", {});
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, PrintsWhateverTheDocumentSaysOfItself)
{
    printInto(folder / "liar.pdf");
    printer->printHtml(
        "<p>text<script>Object.defineProperty(document, 'readyState', {value: 'loading'})</script>", {});
    EXPECT_TRUE(PrintedPages(folder / "liar.pdf").isComplete);
}

TEST_F(WebPrinterTest, PrintsNothingOnceItIsReleased)
{
    printer->printHtml("<p>text", {});
    const std::weak_ptr<WebView> view = printer->view();
    printer.reset();
    EXPECT_TRUE(view.expired());
    letAnotherDocumentBePrinted();
    EXPECT_FALSE(panelOf(*window));
}

TEST_F(WebPrinterTest, PrintsWhatWasConfirmedAfterItIsReleased)
{
    suggest(folder / "late.pdf");
    printer->printHtml("<p>late", {});
    auto* panel = waitForPrintPanel(*window);
    ASSERT_TRUE(panel);
    EXPECT_TRUE(printer->view());
    printer.reset();
    press(panel, GTK_RESPONSE_OK);
    const PrintedPages pages(folder / "late.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), HasSubstr("late"));
}

TEST_F(WebPrinterTest, KeepsTheViewUntilTheNextJob)
{
    printInto(folder / "kept.pdf");
    printer->printHtml("<p>kept", {});
    ASSERT_TRUE(PrintedPages(folder / "kept.pdf").isComplete);
    const std::weak_ptr<WebView> view = printer->view();
    runPendingTurns();
    EXPECT_FALSE(view.expired());
    printer.reset();
    EXPECT_TRUE(waitUntil([&] { return view.expired(); }));
}

TEST_F(WebPrinterTest, PrintsASecondDocumentAfterTheFirst)
{
    printInto(folder / "one.pdf");
    printer->printHtml("<p>one", {});
    ASSERT_TRUE(PrintedPages(folder / "one.pdf").isComplete);
    printInto(folder / "two.pdf");
    printer->printHtml("<p>two", {});
    const PrintedPages pages(folder / "two.pdf");
    ASSERT_TRUE(pages.isComplete);
    EXPECT_THAT(pages.text(), HasSubstr("two"));
}

using WebPrinterDeathTest = WebPrinterTest;

TEST_F(WebPrinterDeathTest, WantsAViewAFrameAndADocument)
{
    const auto view = std::make_shared<WebView>(CGRect{{}, {100, 100}}, "", "");
    EXPECT_DEATH(printer->webView(nullptr, view->mainFrame()), "no web view to print");
    EXPECT_DEATH(printer->webView(view, nullptr), "no web view to print");
    EXPECT_DEATH(
        {
            view->setFrameLoadDelegate(printer);
            printer->webView(view, view->mainFrame());
            static_cast<void>(waitUntil([] { return false; }));
        },
        "no document to print");
}

} // namespace
