#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSButton.h>
#include <LumoKit/Platform/ApplicationKit/NSOpenPanel.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Native/Gtk.h>
#include <LumoKit/Utility/Alerts.h>

#include <Support/Panels.h>
#include <Support/TemporaryFolder.h>
#include <Support/TestPortal.h>
#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// What assistive software reads and does, through the accessibility bus of the test's session.
class PanelAccessibilityTest : public ::testing::Test {
protected:
    PanelAccessibilityTest()
    {
        static_cast<void>(NSApplication::shared());
        window->makeKeyAndOrderFront();
    }
    ~PanelAccessibilityTest() override { window->close(); }

    /// Runs the other process, and this one's main loop until it has ended; what it printed, or nothing if it failed.
    static std::optional<std::string> read(const std::vector<std::string>& arguments)
    {
        const std::string program =
            std::filesystem::read_symlink("/proc/self/exe").parent_path() / "screen-reader";
        const std::string process = std::to_string(::getpid());
        std::vector<const char*> words{program.c_str(), process.c_str()};
        for (const std::string& argument : arguments)
            words.push_back(argument.c_str());
        words.push_back(nullptr);
        GSubprocess* reader = g_subprocess_newv(words.data(), G_SUBPROCESS_FLAGS_STDOUT_PIPE, nullptr);
        struct Outcome {
            bool ended = false;
            std::optional<std::string> text;
        } outcome;
        g_subprocess_communicate_utf8_async(
            reader, nullptr, nullptr,
            +[](GObject* source, GAsyncResult* result, gpointer into) {
                auto* ended = static_cast<Outcome*>(into);
                char* text = nullptr;
                auto* done = G_SUBPROCESS(source);
                g_subprocess_communicate_utf8_finish(done, result, &text, nullptr, nullptr);
                if (g_subprocess_get_if_exited(done) && g_subprocess_get_exit_status(done) == 0)
                    ended->text = text ? text : "";
                g_free(text);
                ended->ended = true;
            },
            &outcome);
        EXPECT_TRUE(waitUntil([&] { return outcome.ended; }));
        g_object_unref(reader);
        return outcome.text;
    }
    /// The toolkit comes onto the bus a moment after it starts: asks until the answer is there.
    static bool press(const std::string& name)
    {
        return waitUntil([&] { return read({"press", name}).has_value(); });
    }
    static std::string tree()
    {
        std::optional<std::string> text;
        EXPECT_TRUE(waitUntil([&] {
            text = read({"tree"});
            return text && !text->empty();
        }));
        return text.value_or("");
    }

    /// One of its own: that of the others has one accessibility bus for all, which ends with whoever started it.
    struct Session {
        Session()
        {
            ::setenv("XDG_RUNTIME_DIR", runtime.path.c_str(), 1);
            bus.emplace("/usr/share/dbus-1/services");
        }
        TemporaryFolder runtime;
        std::optional<TestBus> bus;
    } session;
    const std::shared_ptr<NSWindow> window = NSWindow::create({{200, 300}, {500, 400}});
    const AlertPresentationStyle sheet = AlertPresentationStyle::sheet(window);
};

TEST_F(PanelAccessibilityTest, AnAlertHasARoleANameAndItsTexts)
{
    int completions = 0;
    showAlert("Tea <b>", "It is ready.", "Fine", sheet, [&] { ++completions; });
    ASSERT_NE(waitForPanel(), nullptr);
    const std::string read = tree();
    EXPECT_TRUE(read.starts_with("alert|Tea <b>|It is ready.\n")) << read;
    EXPECT_THAT(read, HasSubstr("label|Tea <b>|"));
    EXPECT_THAT(read, HasSubstr("label|It is ready.|"));
    EXPECT_THAT(read, HasSubstr("push button|Fine|"));
    EXPECT_TRUE(press("Fine"));
    EXPECT_TRUE(waitUntil([&] { return completions == 1; }));
}

TEST_F(PanelAccessibilityTest, AConfirmationIsAnsweredByItsButtons)
{
    for (const auto& [name, expected] : {std::pair("Yes", true), {"No", false}}) {
        std::optional<bool> answer;
        askConfirmation("Milk?", "", "Yes", "No", AlertSuppressionInfo{"panel.accessibility", "Never again"},
            sheet, [&](bool confirmed) { answer = confirmed; });
        ASSERT_NE(waitForPanel(), nullptr);
        EXPECT_THAT(tree(), HasSubstr("check box|Never again|"));
        EXPECT_TRUE(press(name));
        EXPECT_TRUE(waitUntil([&] { return answer.has_value(); }));
        EXPECT_EQ(answer, expected);
    }
}

TEST_F(PanelAccessibilityTest, TheBoxOfAnAlertIsTicked)
{
    const auto asked = std::make_shared<NSAlert>();
    asked->showsSuppressionButton = true;
    asked->suppressionButton()->setTitle("Never again");
    asked->beginSheetModal(window, {});
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(press("Never again"));
    EXPECT_TRUE(waitUntil([&] { return asked->suppressionButton()->state() == NSControlStateValue::on; }));
    gtk_dialog_response(panel, 1000);
}

TEST_F(PanelAccessibilityTest, ATextIsEntered)
{
    std::vector<std::optional<std::string>> answers;
    showTextInputAlert(
        "Which tea?", sheet, [&](const std::optional<std::string>& text) { answers.push_back(text); });
    ASSERT_NE(waitForPanel(), nullptr);
    EXPECT_TRUE(tree().starts_with("alert|Which tea?|"));
    EXPECT_TRUE(waitUntil([] { return read({"enter", "Green"}).has_value(); }));
    EXPECT_TRUE(press("OK"));
    ASSERT_TRUE(waitUntil([&] { return !answers.empty(); }));
    EXPECT_THAT(answers, ElementsAre("Green"));
}

TEST_F(PanelAccessibilityTest, AModalPopupIsAnswered)
{
    std::optional<std::size_t> chosen;
    whenPanelComes([](GtkDialog*) { EXPECT_TRUE(press("Third")); });
    showThreeButtonPopup(
        "Which?", "", "First", "Second", "Third", [&](std::size_t index) { chosen = index; });
    EXPECT_TRUE(waitUntil([&] { return chosen.has_value(); }));
    EXPECT_EQ(chosen, 2u);
}

TEST_F(PanelAccessibilityTest, AnOpenPanelHasARoleAndIsCancelled)
{
    const auto panel = std::make_shared<NSOpenPanel>();
    panel->directoryURL = URL::fileURL(std::filesystem::temp_directory_path().string());
    std::optional<NSModalResponse> response;
    panel->beginSheetModal(window, [&](NSModalResponse given) { response = given; });
    ASSERT_NE(waitForPanel(), nullptr);
    const std::string read = tree();
    EXPECT_TRUE(read.starts_with("file chooser|Open File|")) << read.substr(0, 100);
    EXPECT_TRUE(press("Cancel"));
    EXPECT_TRUE(waitUntil([&] { return response.has_value(); }));
    EXPECT_EQ(response, NSModalResponseCancel);
}

} // namespace
