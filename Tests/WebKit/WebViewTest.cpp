#include <LumoKit/Platform/ApplicationKit/NSView.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Platform/WebKit/WebView.h>

#include <Support/Downloads.h>
#include <Support/TestServer.h>
#include <Support/Waiting.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

struct Finished : WebFrameLoadDelegate {
    void webView(const std::shared_ptr<WebView>& sender, const std::shared_ptr<WebFrame>& frame) override
    {
        EXPECT_FALSE(sender->isLoading());
        frames.push_back(frame);
    }
    std::vector<std::shared_ptr<WebFrame>> frames;
};

struct WebViewTest : ::testing::Test {
    WebViewTest() { view->setFrameLoadDelegate(delegate); }

    [[nodiscard]] bool load(const std::string& html, const std::optional<URL>& baseURL = {})
    {
        delegate->frames.clear();
        view->mainFrame()->loadHTMLString(html, baseURL);
        return waitUntil([&] { return !delegate->frames.empty(); });
    }

    [[nodiscard]] std::string evaluate(const std::string& script)
    {
        std::optional<std::string> given;
        bool ended = false;
        view->stringByEvaluatingJavaScript(script, [&](std::optional<std::string> result) {
            given = std::move(result);
            ended = true;
        });
        EXPECT_FALSE(ended);
        EXPECT_TRUE(waitUntil([&] { return ended; }));
        return given.value_or("(nothing)");
    }

    std::shared_ptr<WebView> view =
        std::make_shared<WebView>(CGRect{{}, {595.3, 841.9}}, "a frame", "a group");
    const std::shared_ptr<Finished> delegate = std::make_shared<Finished>();
};

TEST_F(WebViewTest, KnowsWhatItWasMadeWith)
{
    EXPECT_EQ(view->frame(), (CGRect{{}, {595.3, 841.9}}));
    EXPECT_EQ(view->mainFrame()->name(), "a frame");
    EXPECT_EQ(view->groupName(), "a group");
    EXPECT_EQ(view->frameLoadDelegate(), delegate);
    EXPECT_FALSE(view->isLoading());
    EXPECT_FALSE(view->mainFrame()->frameView()->documentView());
}

TEST_F(WebViewTest, DoesNotKeepItsDelegate)
{
    view->setFrameLoadDelegate(std::make_shared<Finished>());
    EXPECT_FALSE(view->frameLoadDelegate());
}

TEST_F(WebViewTest, TellsOnceThatADocumentHasLoaded)
{
    view->mainFrame()->loadHTMLString("<p>text", {});
    EXPECT_TRUE(view->isLoading());
    ASSERT_TRUE(waitUntil([&] { return !delegate->frames.empty(); }));
    EXPECT_EQ(evaluate("document.readyState"), "complete");
    EXPECT_EQ(delegate->frames, (std::vector{view->mainFrame()}));
    const auto document = view->mainFrame()->frameView()->documentView();
    ASSERT_TRUE(document);
    EXPECT_EQ(document->frame().size, (CGSize{595.3, 841.9}));
}

TEST_F(WebViewTest, LaysOutOffScreen)
{
    EXPECT_TRUE(view->shouldUpdateWhileOffscreen());
    ASSERT_TRUE(
        load("<body><script>requestAnimationFrame(() => document.body.textContent = 'drawn')</script>"));
    EXPECT_EQ(evaluate("innerWidth + ' ' + innerHeight"), "595 842");
    EXPECT_TRUE(waitUntil([&] { return evaluate("document.body.textContent") == "drawn"; }));
}

TEST_F(WebViewTest, DrawsNothingWhereItShouldNot)
{
    view->setShouldUpdateWhileOffscreen(false);
    EXPECT_FALSE(view->shouldUpdateWhileOffscreen());
    ASSERT_TRUE(load("<p>text"));
    EXPECT_EQ(evaluate("document.visibilityState"), "hidden");
    view->setShouldUpdateWhileOffscreen(true);
    EXPECT_TRUE(waitUntil([&] { return evaluate("document.visibilityState") == "visible"; }));
}

TEST_F(WebViewTest, GivesTextsOnly)
{
    ASSERT_TRUE(load("<p>text"));
    EXPECT_EQ(evaluate("'\\u00E9\\0\\u{1F600}'"), std::string("\u00E9\0\U0001F600", 7));
    EXPECT_EQ(evaluate("''"), "");
    EXPECT_EQ(evaluate("1"), "(nothing)");
    EXPECT_EQ(evaluate("undefined"), "(nothing)");
    EXPECT_EQ(evaluate("nobody.there"), "(nothing)");
    EXPECT_EQ(evaluate("syntax error"), "(nothing)");
}

TEST_F(WebViewTest, CannotBeLiedTo)
{
    ASSERT_TRUE(load("<script>Object.defineProperty(Document.prototype, 'readyState', {get: () => 'never'});"
                     "String.prototype.toString = () => 'lie'; globalThis.own = 1</script>"));
    EXPECT_EQ(evaluate("document.readyState"), "complete");
    EXPECT_EQ(evaluate("typeof own"), "undefined");
}

TEST_F(WebViewTest, ReachesNothingOfTheApplication)
{
    ASSERT_TRUE(load("<body><script>document.body.textContent = typeof webkit + ' ' + document.cookie + ' ' +"
                     "(window.open('about:blank') === null)</script>",
        URL::parse("https://page.example/")));
    EXPECT_EQ(evaluate("document.body.textContent"), "undefined  true");
}

TEST_F(WebViewTest, SharesNoDataWithOtherDocuments)
{
    TestServer server;
    ASSERT_TRUE(load(
        "<script>document.cookie = 'a=1'; localStorage.a = 1</script>", URL::parse(server.origin() + "/")));
    view = std::make_shared<WebView>(CGRect{{}, {100, 100}}, "", "");
    view->setFrameLoadDelegate(delegate);
    ASSERT_TRUE(load("<body><script>document.body.textContent = document.cookie + localStorage.a</script>",
        URL::parse(server.origin() + "/")));
    EXPECT_EQ(evaluate("document.body.textContent"), "undefined");
}

TEST_F(WebViewTest, AsksTheUserNothing)
{
    TestServer server;
    server.serve("/secret", {.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"r\""}}});
    ASSERT_TRUE(load("<body><script>alert('a'); const answer = [confirm('b'), prompt('c')]; print();"
                     "document.body.textContent = answer</script><iframe src=/secret></iframe>",
        URL::parse(server.origin() + "/")));
    EXPECT_EQ(evaluate("document.body.textContent"), "false,");
}

TEST_F(WebViewTest, SavesNoFiles)
{
    ASSERT_TRUE(load("<p>text"));
    const Downloads downloads(*view->mainFrame()->frameView()->documentView());
    TestServer server;
    server.serve("/file", {.type = "application/x-unknown", .body = "bytes"});
    view->mainFrame()->loadHTMLString("<a href=/file download=lumokit-test-download></a>"
                                      "<script>document.querySelector('a').click()</script>",
        URL::parse(server.origin() + "/"));
    ASSERT_TRUE(waitUntil([&] { return downloads.ended > 0; }));
    EXPECT_EQ(downloads.cancelled, downloads.ended);
    EXPECT_FALSE(Downloads::isThere("lumokit-test-download"));
}

TEST_F(WebViewTest, IsReleasedWhileItLoads)
{
    view->mainFrame()->loadHTMLString("<p>text", {});
    bool ended = false;
    view->stringByEvaluatingJavaScript("'text'", [&](std::optional<std::string> result) {
        EXPECT_FALSE(result);
        ended = true;
    });
    view.reset();
    EXPECT_TRUE(waitUntil([&] { return ended; }));
    EXPECT_TRUE(delegate->frames.empty());
}

TEST_F(WebViewTest, IsReleasedByItsDelegate)
{
    struct Releases : WebFrameLoadDelegate {
        void webView(const std::shared_ptr<WebView>&, const std::shared_ptr<WebFrame>&) override
        {
            holder->reset();
            called = true;
        }
        std::shared_ptr<WebView>* holder;
        bool called = false;
    };
    const auto releases = std::make_shared<Releases>();
    releases->holder = &view;
    view->setFrameLoadDelegate(releases);
    view->mainFrame()->loadHTMLString("<p>text", {});
    EXPECT_TRUE(waitUntil([&] { return releases->called; }));
    EXPECT_FALSE(view);
}

} // namespace
