#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/WebView/Attachments.h>

#include <Support/OpenPanels.h>
#include <Support/Panels.h>
#include <Support/TemporaryFolder.h>
#include <Support/UploadServer.h>
#include <Support/WebPage.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;
using testing::IsEmpty;
using Files = std::optional<std::vector<URL>>;

namespace {

// A page with file inputs. It posts the names of what was chosen, uploads each file under its name, and posts "sent".
constexpr const char* inputs = R"(<!doctype html>
<input type=file id=one><input type=file id=several multiple><input type=file id=folder webkitdirectory>
<script>
const post = what => webkit.messageHandlers.test.postMessage(what)
for (const input of document.querySelectorAll('input')) {
    input.onchange = async () => {
        const files = [...input.files]
        post(files.map(file => file.webkitRelativePath || file.name).sort().join())
        for (const file of files)
            await fetch('/up/' + file.name, {method: 'PUT', body: file}).catch(error => post('' + error))
        post('sent')
    }
    input.oncancel = () => post('cancel')
}
</script>)";

/// A host: answers with the open panel on its window, or as a test says.
class Host : public WKUIDelegate {
public:
    void runOpenPanel(
        WKWebView&, const WKOpenPanelParameters& parameters, OpenPanelCompletion completionHandler) override
    {
        asked.push_back(parameters);
        if (window)
            handleAttachmentUpload(window, parameters, std::move(completionHandler));
        else if (keeps)
            kept.push_back(std::move(completionHandler));
    }

    std::shared_ptr<NSWindow> window;
    bool keeps = true;
    std::vector<WKOpenPanelParameters> asked;
    std::vector<OpenPanelCompletion> kept;
};

class AttachmentsTest : public ::testing::Test {
protected:
    AttachmentsTest()
    {
        for (const char* name : {"a.txt", "b.bin", "c d.txt"})
            writeInPlace(folder / name, std::string("contents of \0 and \xff ", 20) + name);
        window->setContentView(page->view);
        window->makeKeyAndOrderFront();
        page->view->setUIDelegate(host);
        page->view->load(*URL::parse(server.origin() + "/"));
        EXPECT_TRUE(waitUntil([&] { return page->navigation->saw("finish"); }));
    }
    ~AttachmentsTest() override
    {
        window->close();
        runPendingTurns();
        EXPECT_THAT(panels(), IsEmpty());
    }

    /// Clicks on an input, and waits until the host has been asked.
    void click(const std::string& input)
    {
        const std::size_t before = host->asked.size();
        page->view->evaluateJavaScript("document.getElementById('" + input + "').click()");
        ASSERT_TRUE(waitUntil([&] { return host->asked.size() > before; }));
    }
    /// Clicks on an input and chooses in the open panel that comes.
    void attach(const std::string& input, const std::vector<std::filesystem::path>& files)
    {
        host->window = window;
        click(input);
        GtkDialog* panel = waitForPanel();
        ASSERT_NE(panel, nullptr);
        gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(panel), folder.path.c_str());
        ASSERT_TRUE(choose(panel, files));
        confirm(panel);
    }
    [[nodiscard]] bool posted(const std::string& text) const
    {
        return waitUntil([&] {
            return std::ranges::any_of(
                page->recorder->messages, [&](const auto& message) { return message.body == Value(text); });
        });
    }
    [[nodiscard]] std::vector<std::string> messages() const
    {
        std::vector<std::string> texts;
        for (const auto& message : page->recorder->messages)
            texts.push_back(message.body.description());
        return texts;
    }
    /// Whether the page still answers.
    [[nodiscard]] bool pageIsAlive() const { return page->evaluate("6 * 7").first == Value(42); }

    static UploadServer::Upload uploadOf(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        GChecksum* checksum = g_checksum_new(G_CHECKSUM_SHA256);
        std::size_t length = 0;
        for (std::vector<char> block(1 << 20);
            stream.read(block.data(), std::ssize(block)), stream.gcount() > 0;
            length += static_cast<std::size_t>(stream.gcount()))
            g_checksum_update(checksum, reinterpret_cast<const guchar*>(block.data()), stream.gcount());
        UploadServer::Upload upload{length, g_checksum_get_string(checksum)};
        g_checksum_free(checksum);
        return upload;
    }

    TemporaryFolder folder;
    UploadServer server{inputs};
    std::unique_ptr<WebPage> page = std::make_unique<WebPage>();
    const std::shared_ptr<Host> host = std::make_shared<Host>();
    const std::shared_ptr<NSWindow> window = NSWindow::create({{200, 200}, {700, 500}});
};

TEST_F(AttachmentsTest, OneFileArrivesByteForByte)
{
    attach("one", {folder / "b.bin"});
    ASSERT_TRUE(posted("sent"));
    EXPECT_FALSE(host->asked.front().allowsMultipleSelection);
    EXPECT_FALSE(host->asked.front().allowsDirectories);
    EXPECT_EQ(server.uploads().size(), 1u);
    EXPECT_EQ(server.uploads().at("/up/b.bin"), uploadOf(folder / "b.bin"));
}

TEST_F(AttachmentsTest, ThreeFilesArriveByteForByte)
{
    attach("several", {folder / "a.txt", folder / "b.bin", folder / "c d.txt"});
    ASSERT_TRUE(posted("sent"));
    EXPECT_TRUE(host->asked.front().allowsMultipleSelection);
    EXPECT_THAT(messages(), ElementsAre("a.txt,b.bin,c d.txt", "sent"));
    EXPECT_EQ(server.uploads().size(), 3u);
    for (const char* name : {"a.txt", "b.bin", "c d.txt"})
        EXPECT_EQ(server.uploads().at("/up/" + std::string(name)), uploadOf(folder / name));
}

TEST_F(AttachmentsTest, ThePanelIsASheetOfTheWindowThatAllowsWhatThePageAllows)
{
    for (const auto& [several, directories] :
        {std::pair(false, false), {true, false}, {false, true}, {true, true}}) {
        handleAttachmentUpload(window, {several, directories}, [](const Files&) { });
        GtkDialog* panel = waitForPanel();
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(panel)), gtkWindow(*window));
        auto* chooser = GTK_FILE_CHOOSER(panel);
        EXPECT_EQ(gtk_file_chooser_get_select_multiple(chooser), several);
        EXPECT_EQ(gtk_file_chooser_get_action(chooser), GTK_FILE_CHOOSER_ACTION_OPEN);
        gtk_dialog_response(panel, GTK_RESPONSE_CANCEL);
    }
    std::filesystem::create_directories(folder / "letters");
    Files answer;
    handleAttachmentUpload(window, {.allowsDirectories = true}, [&](const Files& files) { answer = files; });
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(panel), folder.path.c_str());
    ASSERT_TRUE(choose(panel, {folder / "letters"}));
    confirm(panel);
    EXPECT_EQ(answer, std::vector{URL::fileURL((folder / "letters").string())});
}

TEST_F(AttachmentsTest, ACancelledPanelGivesNothing)
{
    std::vector<Files> answers;
    handleAttachmentUpload(window, {}, [&](const Files& files) { answers.push_back(files); });
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    gtk_dialog_response(panel, GTK_RESPONSE_CANCEL);
    EXPECT_THAT(answers, ElementsAre(std::nullopt)); // not an empty list
}

TEST_F(AttachmentsTest, ThePageHearsOfACancelledPanelAndMayAskAgain)
{
    host->window = window;
    click("one");
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    gtk_dialog_response(panel, GTK_RESPONSE_CANCEL);
    ASSERT_TRUE(posted("cancel"));
    EXPECT_THAT(server.uploads(), IsEmpty());
    attach("one", {folder / "a.txt"});
    ASSERT_TRUE(posted("sent"));
}

TEST_F(AttachmentsTest, AFolderIsUploadedWithEverythingInIt)
{
    std::filesystem::create_directories(folder / "letters" / "old");
    writeInPlace(folder / "letters" / "ada.txt", "Dear Ada");
    writeInPlace(folder / "letters" / "old" / "byron.txt", "Dear Byron");
    click("folder");
    host->kept.back()(std::vector{URL::fileURL((folder / "letters").string())});
    ASSERT_TRUE(posted("sent"));
    EXPECT_THAT(messages(), ElementsAre("letters/ada.txt,letters/old/byron.txt", "sent"));
    EXPECT_EQ(server.uploads().at("/up/byron.txt"), uploadOf(folder / "letters" / "old" / "byron.txt"));
}

TEST_F(AttachmentsTest, ALargeFileDoesNotPassThroughTheHost)
{
    constexpr std::size_t size = 200u << 20;
    {
        std::ofstream stream(folder / "large.bin", std::ios::binary);
        std::vector<std::uint32_t> block(1 << 18);
        for (std::uint32_t number = 0; number < size / (block.size() * 4); ++number) {
            for (std::uint32_t index = 0; index < block.size(); ++index)
                block[index] = (number << 18 | index) * 2654435761u;
            stream.write(reinterpret_cast<const char*>(block.data()), std::ssize(block) * 4);
        }
    }
    const auto kilobytes = [](const std::string& field) { // of this process, from the kernel
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with(field))
                return std::stoul(line.substr(field.size()));
        return 0ul;
    };
    std::ofstream("/proc/self/clear_refs") << 5; // the peak counts from here
    const auto before = kilobytes("VmRSS:");
    click("one");
    host->kept.back()(std::vector{URL::fileURL((folder / "large.bin").string())});
    ASSERT_TRUE(posted("sent"));
    const auto peak = kilobytes("VmHWM:");
    EXPECT_EQ(server.uploads().at("/up/large.bin"), uploadOf(folder / "large.bin"));
    EXPECT_GT(before, 0u);
#ifndef SANITIZED // which holds back what was freed, and with it what the server has read
    EXPECT_LT(peak, before + 50 * 1024);
#else
    static_cast<void>(peak);
#endif
}

// ---- answers that come when they like

TEST_F(AttachmentsTest, AnAnswerCountsOnce)
{
    click("one");
    const auto answer = host->kept.back();
    answer(std::vector{URL::fileURL((folder / "a.txt").string())});
    answer(std::vector{URL::fileURL((folder / "b.bin").string())});
    answer(std::nullopt);
    ASSERT_TRUE(posted("sent"));
    EXPECT_THAT(messages(), ElementsAre("a.txt", "sent"));
    click("one");
    host->kept.back()(std::nullopt);
    host->kept.back()(std::vector{URL::fileURL((folder / "b.bin").string())});
    ASSERT_TRUE(posted("cancel"));
    EXPECT_TRUE(pageIsAlive());
    EXPECT_THAT(messages(), ElementsAre("a.txt", "sent", "cancel"));
}

TEST_F(AttachmentsTest, AnAnswerThatIsDroppedTakesItBack)
{
    host->keeps = false;
    click("one");
    EXPECT_TRUE(posted("cancel"));
}

TEST_F(AttachmentsTest, ADelegateThatDoesNotAnswerForFilesTakesItBack)
{
    class Silent : public WKUIDelegate { };
    const auto silent = std::make_shared<Silent>();
    page->view->setUIDelegate(silent);
    EXPECT_EQ(page->view->uiDelegate(), silent);
    page->view->evaluateJavaScript("document.getElementById('one').click()");
    EXPECT_TRUE(posted("cancel"));
}

TEST_F(AttachmentsTest, AnAnswerMayComeWhenThePageIsGone)
{
    click("one");
    page->navigation->events.clear();
    page->view->load(*URL::parse(server.origin() + "/other"));
    ASSERT_TRUE(waitUntil([&] { return page->navigation->saw("finish"); }));
    host->kept.back()(std::vector{URL::fileURL((folder / "a.txt").string())});
    EXPECT_TRUE(pageIsAlive());
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(AttachmentsTest, AnAnswerMayComeWhenTheViewIsGone)
{
    for (const bool chosen : {true, false}) {
        WebPage other;
        other.view->setUIDelegate(host);
        ASSERT_TRUE(other.show(inputs));
        other.view->evaluateJavaScript("document.getElementById('one').click()");
        const std::size_t before = host->kept.size();
        ASSERT_TRUE(waitUntil([&] { return host->kept.size() > before; }));
        const std::weak_ptr<WKWebView> gone = other.view;
        other.view.reset();
        EXPECT_TRUE(gone.expired());
        host->kept.back()(chosen ? Files({URL::fileURL((folder / "a.txt").string())}) : std::nullopt);
    }
    EXPECT_TRUE(pageIsAlive());
}

TEST_F(AttachmentsTest, AnAnswerMayNeverCome)
{
    click("one");
    EXPECT_TRUE(pageIsAlive());
    page->view->evaluateJavaScript("document.getElementById('several').click()");
    EXPECT_TRUE(pageIsAlive());
    EXPECT_EQ(host->asked.size(), 1u); // one question at a time
    host->kept.back()(std::nullopt);
    ASSERT_TRUE(posted("cancel"));
    click("several");
    page.reset(); // with one that was never answered
    host->kept.clear();
    runPendingTurns();
}

TEST_F(AttachmentsTest, WhatIsNoFileIsLeftOut)
{
    click("several");
    host->kept.back()(std::vector{*URL::parse("https://lumo.example/etc/passwd"),
        URL::fileURL((folder / "a.txt").string()), *URL::parse("file:///etc/pass%00wd")});
    ASSERT_TRUE(posted("sent"));
    EXPECT_THAT(messages(), ElementsAre("a.txt", "sent"));
}

TEST_F(AttachmentsTest, AnEmptyListChoosesNothing)
{
    click("one");
    host->kept.back()(std::vector<URL>());
    EXPECT_TRUE(pageIsAlive());
    EXPECT_THAT(server.uploads(), IsEmpty());
}

} // namespace
