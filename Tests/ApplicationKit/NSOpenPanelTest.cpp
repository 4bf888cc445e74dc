#include <LumoKit/Platform/ApplicationKit/NSOpenPanel.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>

#include <Support/OpenPanels.h>
#include <Support/Panels.h>
#include <Support/Printing.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class NSOpenPanelTest : public ::testing::Test {
protected:
    NSOpenPanelTest()
    {
        for (const char* name : {"a.txt", "b.txt", "c d %20 \u00E9.txt"})
            writeInPlace(folder / name, name);
        std::filesystem::create_directories(folder / "letters");
        std::filesystem::create_directories(folder / "pictures");
        panel->directoryURL = URL::fileURL(folder.path.string());
        window->makeKeyAndOrderFront();
    }
    ~NSOpenPanelTest() override
    {
        window->close();
        runPendingTurns();
        EXPECT_THAT(panels(), IsEmpty());
    }

    GtkDialog* show()
    {
        panel->beginSheetModal(window, [this](NSModalResponse given) {
            EXPECT_THAT(panels(), IsEmpty());
            responses.push_back(given);
        });
        return waitForPanel();
    }
    [[nodiscard]] URL url(std::string_view name) const { return URL::fileURL((folder / name).string()); }

    TemporaryFolder folder;
    const std::shared_ptr<NSWindow> window = NSWindow::create({{300, 300}, {600, 400}});
    std::shared_ptr<NSOpenPanel> panel = std::make_shared<NSOpenPanel>();
    std::vector<NSModalResponse> responses;
};

TEST_F(NSOpenPanelTest, ChoosesAFileByDefault)
{
    EXPECT_TRUE(panel->canChooseFiles);
    EXPECT_FALSE(panel->canChooseDirectories);
    EXPECT_FALSE(panel->allowsMultipleSelection);
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(gtk_window_get_transient_for(GTK_WINDOW(shown)), gtkWindow(*window));
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(shown)));
    ASSERT_TRUE(choose(shown, {folder / "b.txt"}));
    confirm(shown);
    EXPECT_THAT(responses, ElementsAre(NSModalResponseOK));
    EXPECT_THAT(panel->urls(), ElementsAre(url("b.txt")));
}

TEST_F(NSOpenPanelTest, HasItsResponsesNumbers)
{
    EXPECT_EQ(NSModalResponseOK, 1);
    EXPECT_EQ(NSModalResponseCancel, 0);
}

TEST_F(NSOpenPanelTest, ChoosesSeveralFiles)
{
    panel->allowsMultipleSelection = true;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "a.txt", folder / "c d %20 \u00E9.txt"}));
    confirm(shown);
    EXPECT_THAT(panel->urls(), UnorderedElementsAre(url("a.txt"), url("c d %20 \u00E9.txt")));
}

TEST_F(NSOpenPanelTest, ChoosesFoldersAlone)
{
    panel->canChooseFiles = false;
    panel->canChooseDirectories = true;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "letters"}));
    confirm(shown);
    ASSERT_TRUE(waitUntil([&] { return !responses.empty(); }));
    EXPECT_THAT(panel->urls(), ElementsAre(url("letters")));
}

TEST_F(NSOpenPanelTest, ChoosesFilesAndFoldersTogether)
{
    panel->canChooseDirectories = true;
    panel->allowsMultipleSelection = true;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "letters", folder / "a.txt"}));
    confirm(shown);
    EXPECT_THAT(responses, ElementsAre(NSModalResponseOK));
    EXPECT_THAT(panel->urls(), UnorderedElementsAre(url("letters"), url("a.txt")));
}

TEST_F(NSOpenPanelTest, ChoosesOneFolderWhereFilesCanBeChosenToo)
{
    panel->canChooseDirectories = true;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "pictures"}));
    confirm(shown);
    EXPECT_THAT(panel->urls(), ElementsAre(url("pictures")));
}

TEST_F(NSOpenPanelTest, DoesNotChooseTheFolderThatItShowsWhereFilesCanBeChosen)
{
    panel->canChooseDirectories = true;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    gtk_file_chooser_unselect_all(GTK_FILE_CHOOSER(shown));
    confirm(shown);
    runPendingTurns();
    EXPECT_THAT(responses, IsEmpty()); // a whole folder must be asked for
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
}

TEST_F(NSOpenPanelTest, EntersAFolderWhereOnlyFilesCanBeChosen)
{
    writeInPlace(folder / "letters" / "ada.txt", "Dear Ada");
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "letters"}));
    confirm(shown);
    ASSERT_TRUE(waitUntil([&] { return currentFolder(shown) == (folder / "letters").string(); }));
    EXPECT_THAT(responses, IsEmpty());
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
}

TEST_F(NSOpenPanelTest, LetsChooseFilesWhereNothingElseCanBe)
{
    panel->canChooseFiles = false;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(gtk_file_chooser_get_action(GTK_FILE_CHOOSER(shown)), GTK_FILE_CHOOSER_ACTION_OPEN);
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
}

TEST_F(NSOpenPanelTest, AFileThatIsGoneIsNotChosen)
{
    panel->canChooseDirectories = true;
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "a.txt"}));
    std::filesystem::remove(folder / "a.txt");
    confirm(shown);
    EXPECT_THAT(responses, IsEmpty());
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
    EXPECT_THAT(responses, ElementsAre(NSModalResponseCancel));
}

TEST_F(NSOpenPanelTest, HasNoUrlsWhenItIsCancelled)
{
    for (const int response : {int(GTK_RESPONSE_CANCEL), int(GTK_RESPONSE_DELETE_EVENT)}) {
        GtkDialog* shown = show();
        ASSERT_NE(shown, nullptr);
        ASSERT_TRUE(choose(shown, {folder / "a.txt"}));
        gtk_dialog_response(shown, response);
        EXPECT_THAT(panel->urls(), IsEmpty());
    }
    EXPECT_THAT(responses, ElementsAre(NSModalResponseCancel, NSModalResponseCancel));
}

TEST_F(NSOpenPanelTest, ForgetsItsUrlsWhenItComesAgain)
{
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "a.txt"}));
    confirm(shown);
    EXPECT_EQ(panel->urls().size(), 1u);
    shown = show();
    ASSERT_NE(shown, nullptr);
    EXPECT_THAT(panel->urls(), IsEmpty());
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
}

TEST_F(NSOpenPanelTest, ShowsTheFolderOfTheLastChoiceFirst)
{
    writeInPlace(folder / "letters" / "ada.txt", "Dear Ada");
    panel->directoryURL = URL::fileURL((folder / "letters").string());
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    ASSERT_TRUE(choose(shown, {folder / "letters" / "ada.txt"}));
    confirm(shown);
    panel = std::make_shared<NSOpenPanel>();
    shown = show();
    ASSERT_NE(shown, nullptr);
    EXPECT_TRUE(waitUntil([&] { return currentFolder(shown) == (folder / "letters").string(); }));
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
}

TEST_F(NSOpenPanelTest, CanBeRunModally)
{
    whenPanelComes([&](GtkDialog* shown) {
        EXPECT_TRUE(choose(shown, {folder / "a.txt"}));
        confirm(shown);
    });
    EXPECT_EQ(panel->runModal(), NSModalResponseOK);
    EXPECT_THAT(panel->urls(), ElementsAre(url("a.txt")));
    whenPanelComes([](GtkDialog*) { NSApplication::shared().abortModal(); });
    EXPECT_EQ(panel->runModal(), NSModalResponseCancel);
}

TEST_F(NSOpenPanelTest, IsCancelledWhenItsWindowGoes)
{
    ASSERT_NE(show(), nullptr);
    window->close();
    ASSERT_TRUE(waitUntil([&] { return !responses.empty(); }));
    EXPECT_THAT(responses, ElementsAre(NSModalResponseCancel));
}

TEST_F(NSOpenPanelTest, IsFreedOnceItHasBeenAnswered)
{
    GtkDialog* shown = show();
    ASSERT_NE(shown, nullptr);
    const std::weak_ptr<NSOpenPanel> gone = panel;
    panel.reset();
    EXPECT_FALSE(gone.expired());
    bool finalized = false;
    g_object_weak_ref(
        G_OBJECT(shown), +[](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; }, &finalized);
    gtk_dialog_response(shown, GTK_RESPONSE_CANCEL);
    EXPECT_TRUE(gone.expired());
    EXPECT_TRUE(waitUntil([&] { return finalized; }));
}

} // namespace
