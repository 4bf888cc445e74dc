#include "Support/WebPage.h"

#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/WebView/WebViewJavascriptExecutor.h>

#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;

class WebViewJavascriptExecutorTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(page.show("<p>page</p>")); }

    /// What is printed while the scripts run, and everything before a last evaluation ends.
    std::string printed(const std::vector<std::string>& scripts)
    {
        testing::internal::CaptureStdout();
        for (const auto& script : scripts)
            executor.execute(script);
        EXPECT_EQ(page.evaluate("'last'").first, Value("last")); // evaluations end in their order
        return testing::internal::GetCapturedStdout();
    }

    WebPage page;
    WebViewJavascriptExecutor executor{page.view};
};

TEST_F(WebViewJavascriptExecutorTest, PrintsAResult)
{
    EXPECT_EQ(printed({"6 * 7"}), "Result of evaluating 6 * 7: 42\n");
    EXPECT_EQ(printed({"'text'"}), "Result of evaluating 'text': text\n");
    EXPECT_EQ(printed({"null"}), "Result of evaluating null: null\n");
    EXPECT_EQ(printed({"[1.5, {a: true}]"}), "Result of evaluating [1.5, {a: true}]: [1.5, {\"a\": true}]\n");
}

TEST_F(WebViewJavascriptExecutorTest, PrintsAnErrorAlone)
{
    const std::string script = "throw new Error('broken')";
    const std::string line = printed({script});
    EXPECT_TRUE(line.starts_with("Error while evaluating " + script + ": ")) << line;
    EXPECT_NE(line.find("broken"), line.npos);
    EXPECT_EQ(std::ranges::count(line, '\n'), 1);
}

TEST_F(WebViewJavascriptExecutorTest, PrintsASyntaxErrorAlone)
{
    const std::string line = printed({"1 +"});
    EXPECT_TRUE(line.starts_with("Error while evaluating 1 +: ")) << line;
    EXPECT_EQ(line.find("Result"), line.npos);
}

TEST_F(WebViewJavascriptExecutorTest, PrintsNothingForUndefined)
{
    EXPECT_EQ(printed({"undefined", "void 0", "var quiet = 1"}), "");
}

TEST_F(WebViewJavascriptExecutorTest, PrintsInTheOrderOfCompletion)
{
    EXPECT_EQ(printed({"1", "2", "3"}),
        "Result of evaluating 1: 1\nResult of evaluating 2: 2\nResult of evaluating 3: 3\n");
}

TEST_F(WebViewJavascriptExecutorTest, PrintsTheWholeScript)
{
    const std::string script = "/*" + std::string(200'000, 'x') + "*/ 1";
    EXPECT_EQ(printed({script}), "Result of evaluating " + script + ": 1\n");
}

TEST_F(WebViewJavascriptExecutorTest, ReallyRunsTheScript)
{
    EXPECT_EQ(printed({"document.title = 'set'; undefined"}), "");
    EXPECT_EQ(page.evaluate("document.title").first, Value("set"));
}

TEST_F(WebViewJavascriptExecutorTest, RefusesAScriptThatTheEngineWouldCutOff)
{
    const std::string script("1\0 + 1", 6);
    EXPECT_EQ(printed({script}), "Error while evaluating " + script + ": The script holds a NUL character\n");
}

TEST_F(WebViewJavascriptExecutorTest, DoesNothingOnceTheViewIsGone)
{
    page.view.reset();
    EXPECT_TRUE(executor.webview.expired());
    testing::internal::CaptureStdout();
    executor.execute("1");
    LumoKit::Test::runPendingTurns();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(WebViewJavascriptExecutorTest, DoesNotKeepTheView)
{
    executor.execute("new Promise(() => {})");
    const std::weak_ptr<WKWebView> weak = page.view;
    page.view.reset();
    EXPECT_TRUE(weak.expired());
}

TEST(WebViewJavascriptExecutor, AcceptsNoView)
{
    WebViewJavascriptExecutor executor(nullptr);
    executor.execute("1");
}

TEST(WebViewJavascriptExecutor, LetsASubclassReplaceIt)
{
    struct Counting : WebViewJavascriptExecutor {
        using WebViewJavascriptExecutor::WebViewJavascriptExecutor;
        void execute(const std::string&) override { ++calls; }
        int calls = 0;
    };
    Counting counting(nullptr);
    WebViewJavascriptExecutor& executor = counting;
    executor.execute("1");
    EXPECT_EQ(counting.calls, 1);
}

} // namespace
