#include <LumoKit/FileWatcher/WatchLocalInject.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>

#include <Support/OpenPanels.h>
#include <Support/Panels.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Host : public HasFileWatcherManager {
public:
    [[nodiscard]] std::shared_ptr<FileWatcherManager> fileWatcherManager() const override { return manager; }

    std::shared_ptr<FileWatcherManager> manager = std::make_shared<FileWatcherManager>(0);
};

/// These tests have the keyboard of the whole screen.
class WatchLocalInjectTest : public ::testing::Test {
protected:
    WatchLocalInjectTest() { static_cast<void>(NSApplication::shared()); }
    ~WatchLocalInjectTest() override
    {
        for (const auto& window : NSApplication::shared().windows())
            window->close();
        runPendingTurns();
        EXPECT_THAT(panels(), IsEmpty());
    }

    std::shared_ptr<NSWindow> showWindow()
    {
        window->makeKeyAndOrderFront();
        EXPECT_TRUE(waitUntil([&] { return window->isKeyWindow(); }));
        return window;
    }
    void present()
    {
        presentFilePickerAndWatch(host, [this](const std::string& text) { texts.push_back(text); });
    }

    TemporaryFolder folder;
    const std::shared_ptr<Host> host = std::make_shared<Host>();
    const std::shared_ptr<NSWindow> window = NSWindow::create({{300, 300}, {600, 400}});
    std::vector<std::string> texts;
};

TEST_F(WatchLocalInjectTest, TellsOfEveryChangeOfTheChosenFile)
{
    writeInPlace(folder / "inject.js", "first");
    showWindow();
    present();
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(panel)), gtkWindow(*window));
    EXPECT_EQ(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(panel)), GTK_FILE_CHOOSER_ACTION_OPEN);
    EXPECT_FALSE(gtk_file_chooser_get_select_multiple(GTK_FILE_CHOOSER(panel)));
    gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(panel), folder.path.c_str());
    ASSERT_TRUE(choose(panel, {folder / "inject.js"}));
    confirm(panel);
    ASSERT_EQ(host->manager->watchers().size(), 1u);
    EXPECT_THAT(texts, IsEmpty()); // what it holds is no change
    replace(folder / "inject.js", "second");
    ASSERT_TRUE(waitUntil([&] { return texts.size() == 1; }));
    writeInPlace(folder / "inject.js", "third");
    ASSERT_TRUE(waitUntil([&] { return texts.back() == "third"; }));
    EXPECT_EQ(texts.front(), "second");
}

TEST_F(WatchLocalInjectTest, SaysThatThereIsNoKeyWindow)
{
    testing::internal::CaptureStdout();
    present();
    runPendingTurns();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[watch local inject] cannot get key window\n");
    EXPECT_THAT(panels(), IsEmpty());
    EXPECT_THAT(host->manager->watchers(), IsEmpty());
}

TEST_F(WatchLocalInjectTest, SaysThatNothingWasChosen)
{
    showWindow();
    present();
    GtkDialog* panel = waitForPanel();
    ASSERT_NE(panel, nullptr);
    testing::internal::CaptureStdout();
    gtk_dialog_response(panel, GTK_RESPONSE_CANCEL);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[watch local inject] cannot get inject url\n");
    EXPECT_THAT(host->manager->watchers(), IsEmpty());
}

} // namespace
