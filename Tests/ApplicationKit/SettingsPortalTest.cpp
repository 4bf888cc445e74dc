#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <ApplicationKit/SettingsPortal.h>
#include <Support/TemporaryFolder.h>
#include <Support/TestPortal.h>
#include <Support/Waiting.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

using LumoKit::Test::TemporaryFolder;
using LumoKit::Test::TestBus;
using LumoKit::Test::TestPortal;
using LumoKit::Test::waitUntil;
using LumoKit::Test::writeInPlace;

namespace LumoKit::detail {

void PrintTo(ColorScheme scheme, std::ostream* out)
{
    *out << (scheme == ColorScheme::dark ? "dark" : scheme == ColorScheme::light ? "light" : "no preference");
}

namespace {

using Schemes = std::vector<ColorScheme>;
using enum ColorScheme;

struct Asking {
    Schemes told;
    SettingsPortal portal{[this](ColorScheme scheme) { told.push_back(scheme); }};

    /// Whether it came to be told this, last.
    [[nodiscard]] bool hears(ColorScheme scheme)
    {
        return waitUntil([&] { return !told.empty() && told.back() == scheme; });
    }
};

class SettingsPortalTest : public ::testing::Test {
protected:
    TestBus bus;
};

TEST_F(SettingsPortalTest, GivesWhatThePortalSays)
{
    struct Case {
        const char* answer;
        ColorScheme scheme;
    };
    TestPortal desktop(0);
    Asking asking;
    for (const auto& [answer, scheme] : {
             Case{"<<uint32 1>>", dark},
             {"<<uint32 2>>", light},
             {"<<uint32 0>>", noPreference},
             {"<uint32 1>", dark}, // wrapped once
             {"<<<<<uint32 1>>>>>", dark},
             {"<<uint32 3>>", noPreference}, // of later versions
             {"<<uint32 4294967295>>", noPreference},
             {"<<int32 1>>", noPreference},
             {"<<byte 1>>", noPreference},
             {"<<'dark'>>", noPreference},
             {"<<(uint32 1, 2)>>", noPreference},
             {"<<[uint32 1]>>", noPreference},
             {"<<@a{sv} {}>>", noPreference},
         }) {
        SCOPED_TRACE(answer);
        desktop.answer(answer);
        EXPECT_EQ(asking.portal.colorScheme(), scheme);
    }
}

TEST_F(SettingsPortalTest, HasNoPreferenceAfterAnErrorOrAReplyOfAnotherType)
{
    Asking asking;
    {
        TestPortal desktop(1);
        EXPECT_EQ(asking.portal.colorScheme(), dark);
        desktop.refuse();
        EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    }
    TestPortal odd(1, "u");
    odd.answer("uint32 1");
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    EXPECT_EQ(odd.reads(), 1);
}

TEST_F(SettingsPortalTest, IsAskedAnewAtEveryCall)
{
    TestPortal desktop(2);
    Asking asking;
    EXPECT_EQ(asking.portal.colorScheme(), light);
    desktop.says(1); // and no signal
    EXPECT_EQ(asking.portal.colorScheme(), dark);
    desktop.changeTo(2); // a signal that the main loop has not seen
    EXPECT_EQ(asking.portal.colorScheme(), light);
    EXPECT_EQ(desktop.reads(), 3);
}

TEST_F(SettingsPortalTest, TellsOfChanges)
{
    TestPortal desktop(2);
    Asking asking;
    desktop.changeTo(1);
    EXPECT_TRUE(asking.hears(dark));
    desktop.changeTo(2);
    EXPECT_TRUE(asking.hears(light));
    desktop.changeTo(0);
    EXPECT_TRUE(asking.hears(noPreference));
}

TEST_F(SettingsPortalTest, TellsWhatIsTrueWhenASignalIsOld)
{
    TestPortal desktop(2);
    Asking asking;
    EXPECT_TRUE(asking.hears(light)); // the portal that is there already
    asking.told.clear();
    desktop.announce("<uint32 1>"); // but it says light by now
    EXPECT_TRUE(waitUntil([&] { return !asking.told.empty(); }));
    EXPECT_EQ(asking.told, Schemes{light});
}

TEST_F(SettingsPortalTest, IsDeafToOtherSettings)
{
    TestPortal desktop(2);
    Asking asking;
    EXPECT_TRUE(asking.hears(light));
    asking.told.clear();
    desktop.announce("<uint32 1>", "org.freedesktop.appearance", "contrast");
    desktop.announce("<uint32 1>", "org.gnome.desktop.interface", "color-scheme");
    desktop.changeTo(1);
    EXPECT_TRUE(asking.hears(dark));
    desktop.changeTo(2); // by then all of them have come
    EXPECT_TRUE(asking.hears(light));
    EXPECT_EQ(asking.told, (Schemes{dark, light}));
}

TEST_F(SettingsPortalTest, HasNoPreferenceWithoutAPortal)
{
    Asking asking;
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
}

TEST_F(SettingsPortalTest, HearsOfAPortalThatStartsLateAndOfOneThatGoes)
{
    Asking asking;
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    {
        TestPortal desktop(1);
        EXPECT_EQ(asking.portal.colorScheme(), dark);
        EXPECT_TRUE(asking.hears(dark));
    }
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    EXPECT_TRUE(asking.hears(noPreference));
}

TEST_F(SettingsPortalTest, IsWaitedForOnceWhenItDoesNotAnswer)
{
    TestPortal desktop(1);
    Asking asking;
    EXPECT_EQ(asking.portal.colorScheme(), dark);
    desktop.says(2);
    desktop.keepSilent();
    const auto began = std::chrono::steady_clock::now();
    for (int time = 0; time < 100; ++time)
        EXPECT_EQ(asking.portal.colorScheme(), dark); // what it said before
    EXPECT_LT(std::chrono::steady_clock::now() - began, 50 * SettingsPortal::patience);
    // Once with waiting, once without, and maybe once because it was there at the start.
    EXPECT_LE(desktop.reads(), 4);
    desktop.announce("<uint32 0>");
    EXPECT_TRUE(asking.hears(noPreference)); // its signals count
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    desktop.speak();
    EXPECT_TRUE(asking.hears(light)); // and so does its late answer
    EXPECT_EQ(asking.portal.colorScheme(), light);
}

TEST_F(SettingsPortalTest, IsWaitedForAgainOnceItAnswersInTime)
{
    TestPortal desktop(2);
    Asking asking;
    EXPECT_TRUE(asking.hears(light));
    asking.told.clear();
    desktop.says(1);
    desktop.keepSilent();
    const int before = desktop.reads();
    EXPECT_EQ(asking.portal.colorScheme(), light); // waits once, and then asks without waiting
    DispatchQueue::main()->asyncAfter(dispatchTimeAfter(0.3), [&] { desktop.speak(); });
    EXPECT_TRUE(asking.hears(dark));
    EXPECT_EQ(asking.portal.colorScheme(), dark); // asks without waiting, as it was late
    EXPECT_TRUE(waitUntil([&] { return asking.told.size() == 2; }));
    // A late answer is no reason to ask again, or a portal that is always late would be asked for ever.
    EXPECT_EQ(desktop.reads(), before + 3);
    desktop.says(2);
    EXPECT_EQ(asking.portal.colorScheme(), light);
}

TEST_F(SettingsPortalTest, MayBeReleasedWhileAQuestionIsUnderWay)
{
    TestPortal desktop(1);
    desktop.keepSilent();
    auto asking = std::make_unique<Asking>();
    EXPECT_EQ(asking->portal.colorScheme(), noPreference);
    asking.reset();
    desktop.speak();
    Asking other;
    EXPECT_TRUE(other.hears(dark));
}

/// A portal that the bus can start; it becomes none by itself.
struct StartablePortal {
    explicit StartablePortal(const std::string& thenDoes = "exit 1\n")
    {
        const auto script = services / "start";
        writeInPlace(script, "#!/bin/sh\necho started >>" + (services / "starts").string() + "\n" + thenDoes);
        ::chmod(script.c_str(), 0700);
        writeInPlace(services / "portal.service",
            "[D-BUS Service]\nName=org.freedesktop.portal.Desktop\nExec=" + script.string() + "\n");
    }
    /// A line for each start.
    [[nodiscard]] std::string starts() const
    {
        std::ifstream file(services / "starts");
        return {std::istreambuf_iterator(file), {}};
    }

    TemporaryFolder services;
};

TEST(SettingsPortal, IsStartedOnce)
{
    const StartablePortal startable;
    const TestBus bus(startable.services.path);
    Asking asking;
    for (int time = 0; time < 10; ++time)
        EXPECT_EQ(asking.portal.colorScheme(), noPreference); // it ends without having been one
    EXPECT_EQ(startable.starts(), "started\n");
}

TEST(SettingsPortal, IsHeardWhenItTakesLongToStart)
{
    const TemporaryFolder folder;
    const auto gate = folder / "gate";
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const StartablePortal startable("read line <" + gate.string() + "\n");
    const TestBus bus(startable.services.path);
    Asking asking;
    for (int time = 0; time < 10; ++time)
        EXPECT_EQ(asking.portal.colorScheme(), noPreference);
    {
        TestPortal desktop(1); // what was started has got so far
        EXPECT_TRUE(asking.hears(dark));
        EXPECT_EQ(asking.portal.colorScheme(), dark);
    }
    std::ofstream(gate) << "end\n";
    EXPECT_EQ(startable.starts(), "started\n");
}

TEST(SettingsPortal, HasNoPreferenceWithoutABus)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
    Asking asking;
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
}

TEST(SettingsPortal, OutlivesTheBus)
{
    auto bus = std::make_unique<TestBus>();
    auto desktop = std::make_unique<TestPortal>(1);
    Asking asking;
    EXPECT_EQ(asking.portal.colorScheme(), dark);
    EXPECT_TRUE(asking.hears(dark));
    desktop.reset();
    bus.reset();
    EXPECT_TRUE(asking.hears(noPreference));
    EXPECT_EQ(asking.portal.colorScheme(), noPreference);
}

} // namespace
} // namespace LumoKit::detail
