// Applications of the suite that start and command each other, in a desktop of the test's own.

#include <LumoKit/Platform/ApplicationKit/NSWorkspace.h>
#include <LumoKit/Platform/Foundation/URLComponents.h>
#include <LumoKit/Utility/CrossApp.h>
#include <LumoKit/Utility/URLCommandParser.h>

#include <Support/LinkSession.h>
#include <Support/Panels.h>
#include <gmock/gmock.h>

#include <unordered_set>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;
using App = CrossApp::App;

namespace {

using Texts = std::vector<std::string>;

class CrossAppTest : public LinkSession {
protected:
    static fs::path folderOfPrograms() { return fs::read_symlink("/proc/self/exe").parent_path(); }
    static fs::path calendar()
    {
        return folderOfPrograms() / "CalendarHost.app" / "Contents" / "Linux" / "CalendarHost";
    }
    /// Another application of the suite calls one: what its call gave.
    static std::string call(const Texts& arguments)
    {
        std::string answer = run(folderOfPrograms() / "sibling-caller", arguments).output;
        if (answer.ends_with('\n'))
            answer.pop_back();
        return answer;
    }
    /// Installs the calendar, as its first start does.
    [[nodiscard]] static bool installCalendar()
    {
        return run(calendar(), {"--register", "lumoforcalendar"}).status == 0;
    }
    [[nodiscard]] bool startCalendar()
    {
        start(calendar());
        return reported("launched").size() == 1;
    }
    /// The link that has arrived, in parts.
    URLComponents arrived()
    {
        const auto links = reported("link ");
        return URLComponents(URL::parse(links.empty() ? "none:" : links.front()).value());
    }
};

// ---- who they are

TEST(CrossAppTable, SaysWhoTheApplicationsAre)
{
    EXPECT_EQ(CrossApp::bundleID(App::gmail), "co.lumoapp.gmail");
    EXPECT_EQ(CrossApp::bundleID(App::calendar), "co.lumoapp.calendar");
    EXPECT_EQ(CrossApp::bundleID(App::inbox), "co.lumoapp.inbox");
    EXPECT_EQ(CrossApp::bundleID(App::dashboard), "co.lumoapp.dashboard");
    EXPECT_EQ(CrossApp::urlScheme(App::gmail), "lumoforgmail");
    EXPECT_EQ(CrossApp::urlScheme(App::calendar), "lumoforcalendar");
    EXPECT_EQ(CrossApp::urlScheme(App::inbox), "lumoforinbox");
    EXPECT_EQ(CrossApp::name(App::gmail), "Lumo for Gmail");
    EXPECT_EQ(CrossApp::name(App::calendar), "Lumo for Calendar");
    EXPECT_EQ(CrossApp::name(App::inbox), "Lumo for Inbox");
    EXPECT_FALSE(CrossApp::name(App::dashboard).empty());
    const std::unordered_set<App> all{App::gmail, App::calendar, App::inbox, App::dashboard, App::gmail};
    EXPECT_EQ(all.size(), 4U);
}

TEST(CrossAppDeathTest, TheDashboardTakesNoCommands)
{
    EXPECT_DEATH(static_cast<void>(CrossApp::urlScheme(App::dashboard)), "unsupported");
    EXPECT_DEATH(CrossApp::launch(App::dashboard, "account", {}, false), "unsupported");
    EXPECT_DEATH(CrossApp::launch(App::dashboard, "account", {}, true), "unsupported");
}

TEST(CrossAppDeathTest, ACommandThatMakesNoURLStops)
{
    EXPECT_DEATH(CrossApp::launch(App::calendar, "open a day", {}, false), "makes no URL");
}

// ---- open

TEST_F(CrossAppTest, OpenStartsAnApplication)
{
    EXPECT_EQ(call({"open", "calendar"}), "false"); // it is not installed yet
    ASSERT_TRUE(installCalendar());
    EXPECT_EQ(call({"open", "calendar"}), "true");
    EXPECT_EQ(reported("launched").size(), 1U);
    EXPECT_EQ(call({"open", "gmail"}), "false");
    EXPECT_EQ(call({"open", "dashboard"}), "false"); // which does no harm, unlike a command
}

TEST_F(CrossAppTest, OpenBringsARunningApplicationToTheFront)
{
    ASSERT_TRUE(installCalendar());
    ASSERT_TRUE(startCalendar());
    EXPECT_EQ(call({"open", "calendar"}), "true");
    EXPECT_EQ(reported("reopened").size(), 1U);
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_EQ(call({"launch", "calendar", "after"}), "true");
    EXPECT_EQ(reported("link "), Texts{"lumoforcalendar://after"});
    EXPECT_THAT(rest(), IsEmpty()); // and it is the one that ran
}

TEST_F(CrossAppTest, AnApplicationWhoseProgramHasGoneIsNotInstalled)
{
    ASSERT_TRUE(installCalendar());
    const fs::path entry = folder / "data" / "applications" / "co.lumoapp.calendar.desktop";
    ASSERT_TRUE(fs::exists(entry));
    std::ifstream file(entry);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto place = text.find(calendar().string());
    ASSERT_NE(place, text.npos);
    text.replace(place, calendar().string().size(), (folder / "gone").string());
    std::ofstream(entry) << text;
    EXPECT_EQ(call({"open", "calendar"}), "false");
    EXPECT_EQ(call({"launch", "calendar", "account"}), "false");
}

// ---- launch

TEST_F(CrossAppTest, ACommandReachesARunningApplicationEveryTime)
{
    ASSERT_TRUE(installCalendar());
    ASSERT_TRUE(startCalendar());
    for (int time = 0; time < 50; ++time) {
        const std::string number = std::to_string(time);
        ASSERT_EQ(
            call({"launch", "calendar", "account", "email", "ada@example.com", "time", number}), "true");
        const auto link = reported("link ");
        ASSERT_EQ(link, Texts{"lumoforcalendar://account?email=ada%40example.com&time=" + number});
        const auto command = URLCommandParser({urlCommandType<OpenAccountCommand>}).parse(link.front());
        ASSERT_TRUE(command);
        EXPECT_EQ(dynamic_cast<OpenAccountCommand&>(*command).email, "ada@example.com");
    }
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(CrossAppTest, ACommandStartsAnApplicationEveryTime)
{
    ASSERT_TRUE(installCalendar());
    for (int time = 0; time < 50; ++time) {
        const std::string number = std::to_string(time);
        ASSERT_EQ(call({"launch", "calendar", "open_url", "url", number}), "true");
        ASSERT_EQ(reported("launched").size(), 1U);
        ASSERT_EQ(reported("link "), Texts{"lumoforcalendar://open_url?url=" + number});
        ASSERT_EQ(call({"launch", "calendar", "quit"}), "true");
        ASSERT_EQ(reported("link "), Texts{"lumoforcalendar://quit"}); // nothing follows the command
        ASSERT_EQ(reported("ending").size(), 1U);
    }
    EXPECT_EQ(reported("started ", 50).size(), 50U);
}

TEST_F(CrossAppTest, ArgumentsArriveWholeWhateverIsInThem)
{
    ASSERT_TRUE(installCalendar());
    ASSERT_TRUE(startCalendar());
    const std::string reserved = ":/?#[]@!$&'()*+,;=%-._~ \"\\<>^`{|}";
    for (const std::string& value : Texts{reserved, "50 % off & more = 1+1#2", std::string(),
             std::string("zwei\nZeilen\tund \u2615 $HOME `date` %U %%"), "%41" + reserved + "%",
             std::string(30'000, '&')}) {
        ASSERT_EQ(call({"launch", "calendar", "note", "value", value, reserved, "key"}), "true");
        const auto link = arrived();
        EXPECT_EQ(link.host(), "note");
        EXPECT_EQ(link.firstQueryValue("value"), value);
        EXPECT_EQ(link.firstQueryValue(reserved), "key");
    }
}

TEST_F(CrossAppTest, EveryCharacterThatALinkHasAUseForIsEncoded)
{
    ASSERT_TRUE(installCalendar());
    ASSERT_TRUE(startCalendar());
    ASSERT_EQ(call({"launch", "calendar", "a/b", "k", "aZ9-._~/?", "l", ":#[]@!$&'()*+,;= %"}), "true");
    EXPECT_EQ(reported("link "),
        Texts{"lumoforcalendar://a/b?k=aZ9-._~/?&l=%3A%23%5B%5D%40%21%24%26%27%28%29%2A%2B%2C%3B%3D%20%25"});
    // What is no text in UTF-8 is left out.
    ASSERT_EQ(call({"launch", "calendar", "note", "k", "\xff"}), "true");
    EXPECT_EQ(reported("link "), Texts{"lumoforcalendar://note?k="});
}

TEST_F(CrossAppTest, AnAddressArrivesWithItsOwnQuery)
{
    ASSERT_TRUE(installCalendar());
    ASSERT_TRUE(startCalendar());
    const std::string address = "https://calendar.example.com/day?date=2024-05-01&view=week";
    ASSERT_EQ(call({"launch", "calendar", "open_url", "url", address}), "true");
    const auto command = URLCommandParser({urlCommandType<OpenURLCommand>}).parse(reported("link ").at(0));
    ASSERT_TRUE(command);
    EXPECT_EQ(dynamic_cast<OpenURLCommand&>(*command).url, address);
}

TEST_F(CrossAppTest, ValuesOfOtherTypesArriveAsTheirDescriptions)
{
    ASSERT_TRUE(installCalendar());
    ASSERT_TRUE(startCalendar());
    ASSERT_TRUE(CrossApp::launch(
        App::calendar, "note", {{"count", 42}, {"half", 0.5}, {"no", false}, {"yes", true}}, true));
    EXPECT_EQ(reported("link "), Texts{"lumoforcalendar://note?count=42&half=0.5&no=false&yes=true"});
}

// ---- siblings that are missing

TEST_F(CrossAppTest, AMissingApplicationIsToldOfIfThatIsWanted)
{
    static_cast<void>(NSApplication::shared());
    EXPECT_FALSE(CrossApp::launch(App::calendar, "account", {{"email", "ada@example.com"}}, true));
    EXPECT_THAT(panels(), IsEmpty()); // the call has not waited for it
    Texts texts;
    bool modal = false;
    whenPanelComes([&](GtkDialog* panel) {
        texts = textsOf(panel);
        modal = gtk_window_get_transient_for(GTK_WINDOW(panel)) == nullptr;
        gtk_dialog_response(panel, 1000);
    });
    EXPECT_TRUE(waitUntil([&] { return !texts.empty() && panels().empty(); }));
    EXPECT_THAT(texts,
        ElementsAre("Lumo for Calendar is not installed",
            "You need to install Lumo for Calendar to launch it from other Lumo Suite apps.", "OK"));
    EXPECT_TRUE(modal);
}

TEST_F(CrossAppTest, EachMissingApplicationHasItsOwnName)
{
    static_cast<void>(NSApplication::shared());
    for (const auto& [app, title] : {std::pair(App::gmail, "Lumo for Gmail is not installed"),
             {App::inbox, "Lumo for Inbox is not installed"}}) {
        EXPECT_FALSE(CrossApp::launch(app, "account", {}, true));
        Texts texts;
        whenPanelComes([&](GtkDialog* panel) {
            texts = textsOf(panel);
            gtk_dialog_response(panel, 1000);
        });
        EXPECT_TRUE(waitUntil([&] { return !texts.empty() && panels().empty(); }));
        ASSERT_EQ(texts.size(), 3U);
        EXPECT_EQ(texts[0], title);
    }
}

TEST_F(CrossAppTest, NobodyIsToldOtherwise)
{
    static_cast<void>(NSApplication::shared());
    EXPECT_FALSE(CrossApp::launch(App::calendar, "account", {}, false));
    EXPECT_FALSE(CrossApp::open(App::calendar));
    // What is asked for after it comes first.
    EXPECT_FALSE(CrossApp::launch(App::inbox, "account", {}, true));
    Texts texts;
    whenPanelComes([&](GtkDialog* panel) {
        texts = textsOf(panel);
        gtk_dialog_response(panel, 1000);
    });
    EXPECT_TRUE(waitUntil([&] { return !texts.empty() && panels().empty(); }));
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_EQ(texts[0], "Lumo for Inbox is not installed");
    runPendingTurns();
    EXPECT_THAT(panels(), IsEmpty());
}

// ---- the desktop

TEST_F(CrossAppTest, ALinkThatNobodyOpensIsNotOpened)
{
    EXPECT_FALSE(NSWorkspace::shared().open(URL::parse("lumonobody://there").value()));
    EXPECT_FALSE(NSWorkspace::shared().open(URL::parse("no-scheme").value()));
    EXPECT_FALSE(NSWorkspace::shared().launchApp("com.example.nobody"));
    EXPECT_FALSE(NSWorkspace::shared().launchApp(""));
}

} // namespace
