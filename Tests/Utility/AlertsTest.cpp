#include <LumoKit/Platform/ApplicationKit/NSAlert.h>
#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/UserDefaults.h>
#include <LumoKit/Utility/Alerts.h>

#include <Support/Panels.h>
#include <Support/Peer.h>
#include <Support/WebPage.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <thread>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const auto nothing = [](auto&&...) { };

class AlertsTest : public ::testing::Test {
protected:
    AlertsTest()
    {
        static_cast<void>(NSApplication::shared());
        UserDefaults::standard()->removeObject(key);
        window->makeKeyAndOrderFront();
    }
    ~AlertsTest() override
    {
        UserDefaults::standard()->removeObject(key);
        window->close();
        runPendingTurns();
        EXPECT_THAT(panels(), IsEmpty());
    }

    /// Shows whatever was asked for and answers it with a response; the texts that it had.
    static std::vector<std::string> answer(
        int response, const std::function<void(GtkDialog*)>& before = nothing)
    {
        std::vector<std::string> texts;
        bool answered = false;
        whenPanelComes([&](GtkDialog* panel) {
            texts = textsOf(panel);
            before(panel);
            gtk_dialog_response(panel, response);
            answered = true;
        });
        EXPECT_TRUE(waitUntil([&] { return answered && panels().empty(); }));
        runPendingTurns();
        return texts;
    }
    static bool hasWarningSign(GtkDialog* panel) { return find(panel, GTK_TYPE_IMAGE) != nullptr; }

    static constexpr const char* key = "alert.of.a.test";
    static inline const AlertSuppressionInfo once{key, "Do not ask again"};
    const std::shared_ptr<NSWindow> window = NSWindow::create({{200, 300}, {500, 400}});
    const AlertPresentationStyle sheet = AlertPresentationStyle::sheet(window);
    const AlertPresentationStyle modal = AlertPresentationStyle::modal();
};

// ---- showAlert

TEST_F(AlertsTest, AnAlertHasItsTextsAndTellsWhenItHasGone)
{
    for (const auto& style : {sheet, modal}) {
        int completions = 0;
        showAlert("Tea", "It is ready.", "Fine", style, [&] {
            ++completions;
            EXPECT_THAT(panels(), IsEmpty());
        });
        EXPECT_EQ(panels().size(), 0u); // nothing within the call
        EXPECT_THAT(answer(1000, [](GtkDialog* panel) { EXPECT_TRUE(hasWarningSign(panel)); }),
            ElementsAre("Tea", "It is ready.", "Fine"));
        EXPECT_EQ(completions, 1);
    }
}

TEST_F(AlertsTest, ASheetIsOnItsWindowAndAModalAlertOnNone)
{
    showAlert("Tea", "", "Fine", sheet);
    ASSERT_NE(waitForPanel(), nullptr);
    EXPECT_NE(panelOf(*window), nullptr);
    EXPECT_EQ(gtk_window_get_group(GTK_WINDOW(panelOf(*window))), gtk_window_get_group(gtkWindow(*window)));
    gtk_dialog_response(panelOf(*window), 1000);
    GtkWindowGroup* group = nullptr;
    showAlert("Tea", "", "Fine", modal);
    answer(1000, [&](GtkDialog* panel) { group = gtk_window_get_group(GTK_WINDOW(panel)); });
    EXPECT_NE(group, gtk_window_get_group(gtkWindow(*window)));
}

TEST_F(AlertsTest, AnAlertTellsOfAnyResponse)
{
    bool completed = false;
    showAlert("Tea", "", "Fine", sheet, [&] { completed = true; });
    ASSERT_NE(waitForPanel(), nullptr);
    window->close();
    EXPECT_TRUE(waitUntil([&] { return completed; }));
}

TEST_F(AlertsTest, AnAlertNeedsNoCompletion)
{
    for (const auto& style : {sheet, modal}) {
        showAlert("Tea", "It is ready.", "Fine", style);
        EXPECT_THAT(answer(1000), ElementsAre("Tea", "It is ready.", "Fine"));
    }
}

TEST_F(AlertsTest, AnAlertMayComeFromAnyThread)
{
    for (const auto& style : {sheet, modal}) {
        int onMainThread = 0;
        std::thread([&] {
            showAlert("Tea", "", "Fine", style, [&] { onMainThread += isMainThread(); });
        }).join();
        EXPECT_THAT(panels(), IsEmpty());
        answer(1000);
        std::thread([&] {
            askConfirmation(
                "Milk?", "", "Yes", "No", once, style, [&](bool) { onMainThread += isMainThread(); });
        }).join();
        answer(1001);
        EXPECT_EQ(onMainThread, 2);
    }
}

TEST_F(AlertsTest, ASheetHasAWindow)
{
    EXPECT_DEATH(static_cast<void>(AlertPresentationStyle::sheet(nullptr)), "a sheet needs a window");
    EXPECT_EQ(sheet.window(), window);
    EXPECT_EQ(modal.window(), nullptr);
}

// ---- askConfirmation

TEST_F(AlertsTest, AConfirmationIsTheFirstButtonAlone)
{
    for (const auto& style : {sheet, modal})
        for (const auto& [response, expected] :
            {std::pair(1000, true), {1001, false}, {int(GTK_RESPONSE_DELETE_EVENT), false}}) {
            std::vector<bool> answers;
            askConfirmation("Milk?", "From the shop.", "Yes", "No", std::nullopt, style,
                [&](bool confirmed) { answers.push_back(confirmed); });
            EXPECT_TRUE(answers.empty());
            answer(response, [](GtkDialog* panel) { EXPECT_TRUE(hasWarningSign(panel)); });
            EXPECT_THAT(answers, ElementsAre(expected));
        }
}

TEST_F(AlertsTest, AConfirmationHasItsTextsAndButtonsInTheirOrder)
{
    askConfirmation("Milk?", "From the shop.", "Yes", "No", once, sheet, nothing);
    EXPECT_THAT(answer(1000), // the buttons from left to right
        ElementsAre("Milk?", "From the shop.", "Do not ask again", "No", "Yes"));
}

TEST_F(AlertsTest, AConfirmationIsNotGivenWhenTheWindowGoes)
{
    std::optional<bool> confirmed;
    askConfirmation("Milk?", "", "Yes", "No", once, sheet, [&](bool given) { confirmed = given; });
    ASSERT_NE(waitForPanel(), nullptr);
    window->close();
    ASSERT_TRUE(waitUntil([&] { return confirmed.has_value(); }));
    EXPECT_FALSE(*confirmed);
    EXPECT_TRUE(UserDefaults::standard()->value(key).isNull());
}

TEST_F(AlertsTest, AnyValueSilencesTheQuestion)
{
    for (const Value& value : {Value(true), Value(false), Value("no"), Value(0)}) {
        UserDefaults::standard()->setValue(value, key);
        std::optional<std::thread::id> answeredOn;
        std::thread::id asker;
        std::thread worker([&] {
            asker = std::this_thread::get_id();
            askConfirmation("Milk?", "", "Yes", "No", once, sheet, [&](bool confirmed) {
                EXPECT_TRUE(confirmed);
                answeredOn = std::this_thread::get_id();
            });
            EXPECT_TRUE(answeredOn.has_value()); // before it returned
        });
        worker.join();
        EXPECT_EQ(answeredOn, asker);
        runPendingTurns();
        EXPECT_THAT(panels(), IsEmpty());
        EXPECT_EQ(UserDefaults::standard()->value(key), value);
    }
}

TEST_F(AlertsTest, ATickedBoxSilencesTheQuestionWhicheverButtonIsPressed)
{
    for (const auto& style : {sheet, modal})
        for (const int response : {1000, 1001}) {
            UserDefaults::standard()->removeObject(key);
            std::vector<bool> answers;
            const auto ask = [&] {
                askConfirmation("Milk?", "", "Yes", "No", once, style,
                    [&](bool confirmed) { answers.push_back(confirmed); });
            };
            ask();
            answer(response,
                [](GtkDialog* panel) { gtk_button_clicked(GTK_BUTTON(button(panel, "Do not ask again"))); });
            EXPECT_EQ(UserDefaults::standard()->value(key), Value(true));
            ask();
            EXPECT_THAT(answers, ElementsAre(response == 1000, true)); // without an alert
        }
}

TEST_F(AlertsTest, ABoxThatIsNotTickedIsNotRemembered)
{
    askConfirmation("Milk?", "", "Yes", "No", once, sheet, nothing);
    answer(1000);
    EXPECT_TRUE(UserDefaults::standard()->value(key).isNull());
}

TEST_F(AlertsTest, AQuestionThatCannotBeSilencedHasNoBoxAndTouchesNoPreferences)
{
    const auto before = UserDefaults::standard()->dictionaryRepresentation();
    askConfirmation("Milk?", "", "Yes", "No", std::nullopt, sheet, nothing);
    answer(1000, [](GtkDialog* panel) { EXPECT_EQ(find(panel, GTK_TYPE_CHECK_BUTTON), nullptr); });
    EXPECT_EQ(UserDefaults::standard()->dictionaryRepresentation(), before);
}

TEST_F(AlertsTest, SilenceHoldsInEveryProcessOfTheApplication)
{
    const std::string domain = std::filesystem::read_symlink("/proc/self/exe").filename();
    Peer other({domain});
    askConfirmation("Milk?", "", "Yes", "No", once, sheet, nothing);
    answer(1001, [](GtkDialog* panel) { gtk_button_clicked(GTK_BUTTON(button(panel, "Do not ask again"))); });
    EXPECT_EQ(other.ask("get " + std::string(key)), Value(true).description());

    // And the other way round, whatever the other has set.
    other.ask("remove " + std::string(key));
    std::vector<bool> answers;
    const auto record = [&](bool confirmed) { answers.push_back(confirmed); };
    askConfirmation("Milk?", "", "Yes", "No", once, sheet, record);
    answer(1001);
    EXPECT_THAT(answers, ElementsAre(false));
    other.ask("set " + std::string(key) + " false");
    askConfirmation("Milk?", "", "Yes", "No", once, sheet, record);
    EXPECT_THAT(answers, ElementsAre(false, true));
}

// ---- showError

TEST_F(AlertsTest, AnErrorIsToldModally)
{
    std::thread([] { showError({"Kettle", 5, "The water <boils>."}); }).join();
    GtkWindowGroup* group = nullptr;
    EXPECT_THAT(answer(1000, [&](GtkDialog* panel) { group = gtk_window_get_group(GTK_WINDOW(panel)); }),
        ElementsAre("The water <boils>.", "OK"));
    EXPECT_NE(group, gtk_window_get_group(gtkWindow(*window)));
}

// ---- showTextInputAlert

TEST_F(AlertsTest, ATextInputGivesWhatWasEntered)
{
    for (const auto& style : {sheet, modal})
        for (const std::string text : {"", "Green tea", "T\u00E9 & <b>"}) {
            std::vector<std::optional<std::string>> answers;
            const auto enter = [&](GtkDialog* panel) {
                EXPECT_FALSE(hasWarningSign(panel));
                GtkWidget* field = find(panel, GTK_TYPE_ENTRY);
                EXPECT_EQ(gtk_widget_get_allocated_width(field), 200);
                EXPECT_EQ(gtk_widget_get_allocated_height(field), 24);
                gtk_entry_set_text(GTK_ENTRY(field), text.c_str());
            };
            std::vector<std::string> texts;
            whenPanelComes([&](GtkDialog* panel) {
                texts = textsOf(panel);
                enter(panel);
                gtk_dialog_response(panel, 1000);
            });
            showTextInputAlert("Which tea?", style,
                [&](const std::optional<std::string>& entered) { answers.push_back(entered); });
            ASSERT_TRUE(waitUntil([&] { return !answers.empty(); }));
            EXPECT_THAT(answers, ElementsAre(text));
            EXPECT_THAT(texts, ElementsAre("Which tea?", "Cancel", "OK"));
        }
}

TEST_F(AlertsTest, ATextInputGivesNothingWhenItIsTakenBack)
{
    for (const auto& style : {sheet, modal})
        for (const int response : {1001, int(GTK_RESPONSE_DELETE_EVENT)}) {
            std::vector<std::optional<std::string>> answers;
            whenPanelComes([&](GtkDialog* panel) {
                gtk_entry_set_text(GTK_ENTRY(find(panel, GTK_TYPE_ENTRY)), "Green tea");
                gtk_dialog_response(panel, response);
            });
            showTextInputAlert("Which tea?", style,
                [&](const std::optional<std::string>& entered) { answers.push_back(entered); });
            ASSERT_TRUE(waitUntil([&] { return !answers.empty(); }));
            EXPECT_THAT(answers, ElementsAre(std::nullopt));
        }
}

TEST_F(AlertsTest, ATextInputComesAtOnce)
{
    showTextInputAlert("Which tea?", sheet, nothing);
    EXPECT_TRUE(window->isVisible());
    bool modalReturned = false;
    bool answeredBefore = false;
    GtkDialog* onWindow = waitForPanel();
    ASSERT_NE(onWindow, nullptr);
    gtk_dialog_response(onWindow, 1001);
    whenPanelComes([](GtkDialog* panel) { gtk_dialog_response(panel, 1000); });
    showTextInputAlert("Which tea?", modal, [&](auto&&) { answeredBefore = !modalReturned; });
    modalReturned = true;
    EXPECT_TRUE(answeredBefore);
}

// ---- showThreeButtonPopup

TEST_F(AlertsTest, APopupGivesTheIndexOfTheButton)
{
    for (std::size_t index = 0; index < 3; ++index) {
        std::vector<std::size_t> answers;
        std::thread([&] {
            showThreeButtonPopup("Save?", "The draft is new.", "Save", "Discard", "Cancel",
                [&](std::size_t chosen) { answers.push_back(chosen); });
        }).join();
        EXPECT_TRUE(answers.empty());
        EXPECT_THAT(answer(1000 + int(index), [](GtkDialog* panel) { EXPECT_TRUE(hasWarningSign(panel)); }),
            ElementsAre("Save?", "The draft is new.", "Cancel", "Discard", "Save"));
        EXPECT_THAT(answers, ElementsAre(index));
    }
}

TEST_F(AlertsTest, APopupThatIsNotAnsweredTellsNothing)
{
    bool called = false;
    showThreeButtonPopup("Save?", "", "Red", "Green", "Blue", [&](std::size_t) { called = true; });
    bool aborted = false;
    whenPanelComes([&](GtkDialog*) {
        NSApplication::shared().abortModal();
        aborted = true;
    });
    EXPECT_TRUE(waitUntil([&] { return aborted && panels().empty(); }));
    runPendingTurns();
    EXPECT_FALSE(called);
}

// ---- from a page

TEST_F(AlertsTest, AMessageOfAPageMayRaiseAModalAlert)
{
    WebPage page;
    ASSERT_TRUE(page.show("<script>count = 0</script>"));
    std::vector<NSModalResponse> responses;
    page.recorder->onMessage = [&](const WKScriptMessage& message) {
        if (message.body != Value("ask"))
            return;
        const auto asked = std::make_shared<NSAlert>();
        asked->addButton("Yes");
        responses.push_back(asked->runModal());
    };
    // While it is up the page goes on, and what it posts arrives.
    whenPanelComes([&](GtkDialog* panel) {
        page.view->evaluateJavaScript("webkit.messageHandlers.test.postMessage('while')");
        EXPECT_TRUE(waitUntil([&] { return page.recorder->messages.size() == 2; }));
        gtk_dialog_response(panel, 1000);
    });
    page.view->evaluateJavaScript("webkit.messageHandlers.test.postMessage('ask')");
    ASSERT_TRUE(waitUntil([&] { return !responses.empty(); }));
    EXPECT_THAT(responses, ElementsAre(NSAlertFirstButtonReturn));
    EXPECT_EQ(page.recorder->messages.back().body, Value("while"));
    EXPECT_EQ(page.messageAfter("webkit.messageHandlers.test.postMessage('after')"), Value("after"));
}

TEST_F(AlertsTest, AMessageOfAPageMayAskAQuestionAndAnswerThePage)
{
    WebPage page;
    ASSERT_TRUE(page.show("<script>answer = 'none'</script>"));
    page.recorder->onMessage = [&](const WKScriptMessage&) {
        askConfirmation("Milk?", "", "Yes", "No", std::nullopt, modal, [&](bool confirmed) {
            page.view->evaluateJavaScript("answer = " + std::string(confirmed ? "'yes'" : "'no'"));
        });
    };
    page.view->evaluateJavaScript("webkit.messageHandlers.test.postMessage(1)");
    answer(1001);
    EXPECT_EQ(page.evaluate("answer").first, Value("no"));
}

} // namespace
