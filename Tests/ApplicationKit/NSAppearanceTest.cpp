#include <LumoKit/Platform/ApplicationKit/NSAppearance.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/Foundation/NotificationCenter.h>
#include <LumoKit/Platform/Native/Gtk.h>

#include <Support/TestPortal.h>
#include <Support/WebPage.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace LumoKit;
using LumoKit::Test::TestBus;
using LumoKit::Test::TestPortal;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;

namespace {

using Texts = std::vector<std::string>;

std::shared_ptr<NSAppearance> named(const char* name)
{
    return std::make_shared<NSAppearance>(name);
}

TEST(NSAppearance, MatchesItsOwnNameAndNoOther)
{
    const auto dark = named(NSAppearanceNameDarkAqua);
    EXPECT_EQ(dark->name, "NSAppearanceNameDarkAqua");
    EXPECT_EQ(dark->bestMatch({NSAppearanceNameAqua, NSAppearanceNameDarkAqua}), NSAppearanceNameDarkAqua);
    EXPECT_EQ(named(NSAppearanceNameAqua)->bestMatch({NSAppearanceNameDarkAqua, NSAppearanceNameAqua}),
        NSAppearanceNameAqua);
    EXPECT_EQ(dark->bestMatch({NSAppearanceNameAqua}), std::nullopt);
    EXPECT_EQ(dark->bestMatch({}), std::nullopt);
    EXPECT_EQ(named("Sepia")->bestMatch({NSAppearanceNameDarkAqua, NSAppearanceNameAqua}), std::nullopt);
    EXPECT_EQ(named("Sepia")->bestMatch({"Sepia"}), "Sepia");
}

/// The application on a bus of the tests' own: it connects to one for as long as it lives.
class EffectiveAppearanceTest : public ::testing::Test {
protected:
    EffectiveAppearanceTest()
        : application((static_cast<void>(bus()), NSApplication::shared()))
    {
        EXPECT_TRUE(becomes(NSAppearanceNameAqua));
        observer = NotificationCenter::defaultCenter().addObserver(
            NSApplication::didChangeEffectiveAppearanceNotification, nullptr,
            [this](const Notification& posted) {
                EXPECT_TRUE(isMainThread());
                EXPECT_EQ(posted.object.get(), &application);
                posts.push_back(name());
            });
    }
    ~EffectiveAppearanceTest() override { application.setAppearance(nullptr); }

    static TestBus& bus()
    {
        static TestBus only;
        return only;
    }

    [[nodiscard]] std::string name() const { return application.effectiveAppearance()->name; }
    /// Whether the toolkit comes to draw everything so, and the application says so too.
    [[nodiscard]] bool becomes(const std::string& appearance) const
    {
        return waitUntil([&] {
            gboolean dark = FALSE;
            g_object_get(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", &dark, nullptr);
            return name() == appearance && (dark != FALSE) == (appearance == NSAppearanceNameDarkAqua);
        });
    }
    /// Whether so many notifications come to be posted.
    [[nodiscard]] bool posted(std::size_t times) const
    {
        return waitUntil([&] { return posts.size() >= times; });
    }

    NSApplication& application;
    NotificationObserver observer;
    Texts posts; // what the appearance was at each notification
};

TEST_F(EffectiveAppearanceTest, IsLightWhereNobodySaysOtherwise)
{
    EXPECT_EQ(name(), NSAppearanceNameAqua);
    EXPECT_EQ(application.appearance(), nullptr);
    TestPortal desktop(0);
    EXPECT_EQ(name(), NSAppearanceNameAqua);
    desktop.refuse();
    EXPECT_EQ(name(), NSAppearanceNameAqua);
}

TEST_F(EffectiveAppearanceTest, IsThatOfTheDesktopAtTheMomentOfTheCall)
{
    TestPortal desktop(1);
    EXPECT_EQ(name(), NSAppearanceNameDarkAqua);
    desktop.says(2);
    EXPECT_EQ(name(), NSAppearanceNameAqua);
    desktop.changeTo(1);
    EXPECT_EQ(name(), NSAppearanceNameDarkAqua);
}

TEST_F(EffectiveAppearanceTest, IsThatOfTheToolkitWhereTheDesktopHasNoPreference)
{
    TestPortal desktop(0);
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", TRUE, nullptr);
    EXPECT_EQ(name(), NSAppearanceNameDarkAqua);
    EXPECT_EQ(posts, Texts{NSAppearanceNameDarkAqua});
    desktop.says(2);
    EXPECT_EQ(name(), NSAppearanceNameAqua); // what the desktop says goes before
    desktop.refuse();
    EXPECT_EQ(name(), NSAppearanceNameDarkAqua);
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", FALSE, nullptr);
    EXPECT_EQ(name(), NSAppearanceNameAqua);
    EXPECT_EQ(posts, (Texts{NSAppearanceNameDarkAqua, NSAppearanceNameAqua}));
}

TEST_F(EffectiveAppearanceTest, DoesNotTakeWhatItMadeOfTheToolkitForTheToolkitsOwn)
{
    TestPortal desktop(1);
    EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua)); // the toolkit, too, is dark now
    desktop.changeTo(0);
    EXPECT_TRUE(becomes(NSAppearanceNameAqua));
    application.setAppearance(named(NSAppearanceNameDarkAqua));
    application.setAppearance(nullptr);
    EXPECT_TRUE(becomes(NSAppearanceNameAqua));
}

TEST_F(EffectiveAppearanceTest, TellsOfEachChangeOnce)
{
    TestPortal desktop(2);
    desktop.changeTo(1);
    EXPECT_TRUE(posted(1));
    desktop.changeTo(1); // none
    desktop.announce("<uint32 2>"); // nor this: it is not so
    desktop.changeTo(2);
    EXPECT_TRUE(posted(2));
    desktop.changeTo(0); // light as well
    desktop.changeTo(1);
    EXPECT_TRUE(posted(3));
    EXPECT_EQ(posts, (Texts{NSAppearanceNameDarkAqua, NSAppearanceNameAqua, NSAppearanceNameDarkAqua}));
}

TEST_F(EffectiveAppearanceTest, TellsOfAPortalThatStartsLateAndOfOneThatGoes)
{
    {
        TestPortal desktop(1);
        EXPECT_TRUE(posted(1));
        EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua));
    }
    EXPECT_TRUE(posted(2));
    EXPECT_TRUE(becomes(NSAppearanceNameAqua));
    EXPECT_EQ(posts, (Texts{NSAppearanceNameDarkAqua, NSAppearanceNameAqua}));
}

TEST_F(EffectiveAppearanceTest, TellsOfALateAnswer)
{
    TestPortal desktop(2);
    EXPECT_EQ(name(), NSAppearanceNameAqua);
    desktop.says(1);
    desktop.keepSilent();
    EXPECT_EQ(name(), NSAppearanceNameAqua);
    EXPECT_EQ(posts, Texts{});
    desktop.speak();
    EXPECT_TRUE(posted(1));
    EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua));
}

TEST_F(EffectiveAppearanceTest, IsObservable)
{
    Texts changes;
    const auto observation = application.observe("effectiveAppearance", [&](const KeyValueChange& change) {
        changes.push_back(*change.oldValue.asText() + " > " + *change.newValue.asText());
    });
    application.setAppearance(named(NSAppearanceNameDarkAqua));
    application.setAppearance(named(NSAppearanceNameDarkAqua));
    application.setAppearance(nullptr);
    EXPECT_EQ(changes,
        (Texts{"NSAppearanceNameAqua > NSAppearanceNameDarkAqua",
            "NSAppearanceNameDarkAqua > NSAppearanceNameAqua"}));
    EXPECT_EQ(application.value("effectiveAppearance"), Value("NSAppearanceNameAqua"));
    EXPECT_EQ(application.value("other"), Value());
}

TEST_F(EffectiveAppearanceTest, IsTheOneThatTheApplicationWasGiven)
{
    TestPortal desktop(2);
    const auto dark = named(NSAppearanceNameDarkAqua);
    application.setAppearance(dark);
    EXPECT_EQ(application.appearance(), dark);
    EXPECT_EQ(application.effectiveAppearance(), dark);
    EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua));
    EXPECT_EQ(posts, Texts{NSAppearanceNameDarkAqua});

    const int reads = desktop.reads();
    EXPECT_EQ(name(), NSAppearanceNameDarkAqua);
    EXPECT_EQ(desktop.reads(), reads); // there is nothing to ask

    desktop.changeTo(1); // what the desktop wants now is no change
    application.setAppearance(nullptr);
    EXPECT_EQ(posts, Texts{NSAppearanceNameDarkAqua});
    application.setAppearance(named(NSAppearanceNameAqua));
    EXPECT_TRUE(becomes(NSAppearanceNameAqua));
    EXPECT_EQ(posts, (Texts{NSAppearanceNameDarkAqua, NSAppearanceNameAqua}));
    desktop.changeTo(2);
    desktop.changeTo(1);
    desktop.announce("<uint32 1>");
    application.setAppearance(nullptr);
    EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua));
    EXPECT_EQ(posts.size(), 3U);
}

TEST_F(EffectiveAppearanceTest, StaysAsGivenWhenTheDesktopChanges)
{
    TestPortal desktop(1);
    EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua));
    application.setAppearance(named(NSAppearanceNameAqua));
    for (const int scheme : {2, 1}) {
        const int before = desktop.reads();
        desktop.changeTo(scheme);
        EXPECT_TRUE(waitUntil([&] { return desktop.reads() > before; })); // the change has been seen
        EXPECT_TRUE(becomes(NSAppearanceNameAqua));
    }
    EXPECT_EQ(posts, (Texts{NSAppearanceNameDarkAqua, NSAppearanceNameAqua}));
}

TEST_F(EffectiveAppearanceTest, MayBeOneOfTheHostsOwnWhichIsDrawnLight)
{
    TestPortal desktop(1);
    EXPECT_TRUE(becomes(NSAppearanceNameDarkAqua));
    application.setAppearance(named("Sepia"));
    EXPECT_TRUE(becomes("Sepia"));
    EXPECT_EQ(posts.back(), "Sepia");
}

TEST_F(EffectiveAppearanceTest, MayBeChangedByWhoeverIsToldOfAChange)
{
    const auto insisting = NotificationCenter::defaultCenter().addObserver(
        NSApplication::didChangeEffectiveAppearanceNotification, nullptr,
        [this](const Notification&) { application.setAppearance(named(NSAppearanceNameAqua)); });
    TestPortal desktop(1);
    EXPECT_TRUE(posted(2));
    EXPECT_TRUE(becomes(NSAppearanceNameAqua));
    EXPECT_EQ(posts, (Texts{NSAppearanceNameDarkAqua, NSAppearanceNameAqua}));
}

/// How bright the toolkit's theme paints the ground of a window.
double brightness(const NSWindow& window)
{
    GdkRGBA ground{};
    EXPECT_TRUE(gtk_style_context_lookup_color(
        gtk_widget_get_style_context(GTK_WIDGET(gtkWindow(window))), "theme_bg_color", &ground));
    return (ground.red + ground.green + ground.blue) / 3;
}

TEST_F(EffectiveAppearanceTest, IsTheLookOfWindows)
{
    const auto window = NSWindow::create({{50, 50}, {200, 100}});
    EXPECT_GT(brightness(*window), 0.5);
    application.setAppearance(named(NSAppearanceNameDarkAqua));
    EXPECT_LT(brightness(*window), 0.5);
    EXPECT_LT(brightness(*NSWindow::create({{50, 50}, {200, 100}})), 0.5);
    application.setAppearance(nullptr);
    EXPECT_GT(brightness(*window), 0.5);
    TestPortal desktop(1);
    EXPECT_TRUE(waitUntil([&] { return brightness(*window) < 0.5; }));
}

TEST_F(EffectiveAppearanceTest, IsTheColourSchemeOfPages)
{
    TestPortal desktop(2);
    WebPage page;
    const auto window = NSWindow::create({{50, 50}, {800, 600}});
    window->contentView()->addSubview(page.view);
    window->makeKeyAndOrderFront();
    ASSERT_TRUE(page.show("<!doctype html><script>"
                          "const report = () => webkit.messageHandlers.test.postMessage(media.matches);"
                          "const media = matchMedia('(prefers-color-scheme: dark)');"
                          "media.onchange = report; report();</script>"));
    const auto reports = [&](std::size_t times, bool dark) {
        const auto& messages = page.recorder->messages;
        return waitUntil([&] { return messages.size() >= times; }) && messages.size() == times
            && messages.back().body == Value(dark);
    };
    EXPECT_TRUE(reports(1, false));
    desktop.changeTo(1);
    EXPECT_TRUE(reports(2, true));
    application.setAppearance(named(NSAppearanceNameAqua));
    EXPECT_TRUE(reports(3, false));
    application.setAppearance(named(NSAppearanceNameDarkAqua));
    EXPECT_TRUE(reports(4, true));
    desktop.changeTo(2);
    application.setAppearance(nullptr);
    EXPECT_TRUE(reports(5, false));
    window->close();
}

/// The rest of a test in a process whose application has not started: in the environment that `prepare` makes.
/// Ends with zero where `holds`.
[[noreturn]] void inFreshApplication(const std::function<void()>& prepare, const std::function<bool()>& holds)
{
    const TestBus bus;
    prepare();
    const bool held = holds();
    std::quick_exit(held ? 0 : 1);
}

TEST(EffectiveAppearanceDeathTest, IsThatOfTheDesktopFromTheStart)
{
    EXPECT_EXIT(inFreshApplication([] {},
                    [] {
                        const TestPortal desktop(1);
                        const auto window = NSWindow::create({{50, 50}, {200, 100}});
                        return brightness(*window) < 0.5;
                    }),
        ::testing::ExitedWithCode(0), "");
}

TEST(EffectiveAppearanceDeathTest, IsThatOfTheThemeInTheEnvironmentWhereTheDesktopHasNoPreference)
{
    EXPECT_EXIT(inFreshApplication([] { ::setenv("GTK_THEME", "Adwaita:dark", 1); },
                    [] {
                        auto& application = NSApplication::shared();
                        return application.effectiveAppearance()->name == NSAppearanceNameDarkAqua;
                    }),
        ::testing::ExitedWithCode(0), "");
}

TEST(EffectiveAppearanceDeathTest, DoesNotKeepTheStartWaitingForAPortalThatDoesNotAnswer)
{
    EXPECT_EXIT(inFreshApplication([] {},
                    [] {
                        TestPortal desktop(1);
                        desktop.keepSilent();
                        auto& application = NSApplication::shared();
                        const bool light = application.effectiveAppearance()->name == NSAppearanceNameAqua;
                        desktop.speak();
                        return light && waitUntil([&] {
                            return application.effectiveAppearance()->name == NSAppearanceNameDarkAqua;
                        });
                    }),
        ::testing::ExitedWithCode(0), "");
}

} // namespace
