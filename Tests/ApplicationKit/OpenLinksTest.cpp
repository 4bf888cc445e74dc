// Links that are opened anywhere in the desktop, and the one instance of an application that they reach.

#include <LumoKit/Platform/Foundation/NSAppleEventManager.h>

#include <Support/LinkSession.h>
#include <Support/Waiting.h>
#include <gio/gio.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

using namespace LumoKit;
using namespace LumoKit::Test;
using testing::IsEmpty;

namespace {

using Texts = std::vector<std::string>;

Texts burst(std::size_t count = 200)
{
    Texts links;
    for (std::size_t number = 0; number < count; ++number)
        links.push_back("lumotest:" + std::to_string(number));
    return links;
}

/// Another application, as the session bus knows it.
class Caller {
public:
    Caller()
        : bus(g_dbus_connection_new_for_address_sync(::getenv("DBUS_SESSION_BUS_ADDRESS"),
              static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                  | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
              nullptr, nullptr, nullptr))
    {
    }
    ~Caller() { g_object_unref(bus); }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    /// Asks the host to open links. What the answer is, "accepted" or the name of an error, is added to `answers`.
    void open(const Texts& links, GVariant* platformData = nullptr)
    {
        GVariantBuilder texts;
        g_variant_builder_init(&texts, G_VARIANT_TYPE_STRING_ARRAY);
        for (const auto& link : links)
            g_variant_builder_add(&texts, "s", link.c_str());
        g_dbus_connection_call(
            bus, "com.example.LinkHost", "/com/example/LinkHost", "org.freedesktop.Application", "Open",
            g_variant_new(
                "(as@a{sv})", &texts, platformData ? platformData : g_variant_new_parsed("@a{sv} {}")),
            nullptr, G_DBUS_CALL_FLAGS_NONE, 60'000, nullptr,
            +[](GObject* source, GAsyncResult* result, gpointer self) {
                GError* error = nullptr;
                GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
                char* name = error ? g_dbus_error_get_remote_error(error) : nullptr;
                static_cast<Caller*>(self)->answers.emplace_back(reply ? "accepted" : name ? name : "lost");
                g_free(name);
                g_clear_error(&error);
                if (reply)
                    g_variant_unref(reply);
            },
            this);
        g_dbus_connection_flush_sync(bus, nullptr, nullptr);
    }

    [[nodiscard]] bool isAnswered(std::size_t times = 1) const
    {
        return waitUntil([&] { return answers.size() >= times; });
    }

    Texts answers;

private:
    GDBusConnection* bus;
};

class OpenLinks : public LinkSession { };

TEST_F(OpenLinks, ReachTheRunningApplication)
{
    ASSERT_TRUE(registerHost("lumotest"));
    ASSERT_TRUE(startHost());
    EXPECT_EQ(run("gio", {"open", "lumotest://one/path?query=%20#fragment"}).status, 0);
    EXPECT_EQ(reported("link "), Texts{"lumotest://one/path?query=%20#fragment"});
    EXPECT_EQ(run(sender(), {"lumotest:two"}).status, 0);
    EXPECT_EQ(reported("link "), Texts{"lumotest:two"});
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(OpenLinks, StartTheApplication)
{
    ASSERT_TRUE(registerHost("lumotest"));
    EXPECT_EQ(run("gio", {"open", "lumotest:one"}).status, 0);
    EXPECT_EQ(reported("link "), Texts{"lumotest:one"});
    EXPECT_EQ(run("gio", {"open", "lumotest:quit"}).status, 0);
    EXPECT_EQ(reported("ending").size(), 1U);
    EXPECT_EQ(run(sender(), {"lumotest:two"}).status, 0);
    EXPECT_EQ(reported("link ", 2), (Texts{"lumotest:quit", "lumotest:two"}));
    EXPECT_EQ(reported("started ", 2).size(), 2U);
}

TEST_F(OpenLinks, ReachTheMailHandlerOfARunningApplication)
{
    setMode("mail");
    ASSERT_TRUE(registerHost("mailto"));
    ASSERT_TRUE(startHost());
    EXPECT_EQ(
        run("gio", {"open", "mailto:ada@example.com,bob@example.com?subject=Tea%20now&body=At+five"}).status,
        0);
    EXPECT_EQ(reported("mail "), Texts{"ada@example.com bob@example.com | Tea now | At+five"});
    EXPECT_EQ(run(sender(), {"mailto:nobody?subject=%E2%9C%93"}).status, 0);
    EXPECT_EQ(reported("mail "), Texts{"(none) | ✓ | (none)"});
}

TEST_F(OpenLinks, StartAMailHandler)
{
    setMode("mail");
    ASSERT_TRUE(registerHost("mailto"));
    EXPECT_EQ(run("gio", {"open", "mailto:ada@example.com?body=First"}).status, 0);
    EXPECT_EQ(reported("mail "), Texts{"ada@example.com | (none) | First"});
}

TEST_F(OpenLinks, StartAMailHandlerForAnotherApplication)
{
    setMode("mail");
    ASSERT_TRUE(registerHost("mailto"));
    EXPECT_EQ(run(sender(), {"mailto:ada@example.com"}).status, 0);
    EXPECT_EQ(reported("mail "), Texts{"ada@example.com | (none) | (none)"});
}

TEST_F(OpenLinks, ArriveBeforeTheApplicationHasFinishedLaunching)
{
    start(host(), {"lumotest:early"});
    ASSERT_EQ(reported("launched").size(), 1U);
    EXPECT_EQ(reported("link "), Texts{"lumotest:early"});
    start(host(), {"lumotest:quit"});
    EXPECT_EQ(reported("ending").size(), 1U);
}

TEST_F(OpenLinks, KeepTheirOrderOnOneCommandLine)
{
    ASSERT_TRUE(startHost());
    EXPECT_EQ(run(host(), burst()).status, 0);
    EXPECT_EQ(reported("link ", 200), burst());
}

TEST_F(OpenLinks, KeepTheirOrderOnTheFirstCommandLine)
{
    start(host(), burst());
    EXPECT_EQ(reported("link ", 200), burst());
}

TEST_F(OpenLinks, KeepTheirOrderOnTheBus)
{
    ASSERT_TRUE(startHost());
    Caller caller;
    std::size_t sent = 0;
    for (const auto& link : burst()) {
        caller.open({link});
        ++sent; // the bus lets nobody wait for more than 128 answers
        ASSERT_TRUE(caller.isAnswered(sent - std::min<std::size_t>(sent, 100)));
    }
    EXPECT_EQ(reported("link ", 200), burst());
    EXPECT_TRUE(caller.isAnswered(200));
    EXPECT_EQ(caller.answers, Texts(200, "accepted"));
}

TEST_F(OpenLinks, AreNotLostByStartsThatComeTogether)
{
    const auto links = burst(20);
    std::vector<pid_t> starts;
    for (const auto& link : links)
        starts.push_back(start(host(), {link}));
    auto opened = reported("link ", 20);
    EXPECT_THAT(opened, testing::UnorderedElementsAreArray(links));
    EXPECT_EQ(reported("launched").size(), 1U);
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(OpenLinks, StartTheApplicationThroughTheBus)
{
    Caller caller;
    caller.open({"lumotest:one", "lumotest:two"});
    EXPECT_EQ(reported("link ", 2), (Texts{"lumotest:one", "lumotest:two"}));
    EXPECT_TRUE(caller.isAnswered());
    EXPECT_EQ(caller.answers, Texts{"accepted"});
}

TEST_F(OpenLinks, AreTakenAsTheyStand)
{
    ASSERT_TRUE(startHost());
    const Texts odd{
        "MailTo:ADA@example.com?subject=a b", "lumotest:%zz\"'$(x)\\", "lumotest:Füße ✓", "lumotest:"};
    EXPECT_EQ(run(host(), odd).status, 0);
    EXPECT_EQ(reported("link ", 4), odd);
    Caller caller;
    caller.open({"no link at all", ""});
    EXPECT_EQ(reported("link ", 2), (Texts{"no link at all", ""}));
}

TEST_F(OpenLinks, LeaveOtherArgumentsToTheHost)
{
    start(host(),
        {"--page", "https://example.com/", "lumotestament:1", "mailto", "lumotest\xff:2", "lumotest:3\xff",
            "-lumotest:4", "lumotest:5"});
    EXPECT_EQ(reported("link "), Texts{"lumotest:5"});
    EXPECT_EQ(run(host(), {"--page", "https://example.com/"}).status, 0); // starts it once more, for nothing
    EXPECT_EQ(reported("reopened").size(), 1U);
    EXPECT_EQ(reported("launched").size(), 1U);
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(OpenLinks, ArriveWhateverElseIsSaidOfThem)
{
    ASSERT_TRUE(startHost());
    Caller caller;
    const std::string endless(1 << 20, 'x');
    caller.open({"lumotest:1"}, g_variant_new_parsed("{'activation-token': <%s>}", endless.c_str()));
    caller.open(
        {"lumotest:2"}, g_variant_new_parsed("{'activation-token': <7>, 'desktop-startup-id': <''>}"));
    caller.open(
        {"lumotest:3"}, g_variant_new_parsed("{'desktop-startup-id': <'\\n\"_TIMEx'>, 'other': <@as []>}"));
    EXPECT_EQ(reported("link ", 3), (Texts{"lumotest:1", "lumotest:2", "lumotest:3"}));
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("reopened").size(), 1U);
}

TEST_F(OpenLinks, WaitForAHandler)
{
    setMode("late");
    ASSERT_TRUE(startHost({"lumotest:first"}));
    EXPECT_EQ(run(host(), {"lumotest:second", "lumotest:third"}).status, 0);
    EXPECT_EQ(run(host(), {"lumotest:fourth"}).status, 0);
    EXPECT_EQ(run(host(), {}).status, 0); // now it has one
    EXPECT_EQ(reported("reopened").size(), 1U);
    EXPECT_EQ(reported("link ", 4),
        (Texts{"lumotest:first", "lumotest:second", "lumotest:third", "lumotest:fourth"}));
    EXPECT_EQ(run(host(), {"lumotest:fifth"}).status, 0);
    EXPECT_EQ(reported("link "), Texts{"lumotest:fifth"});
}

TEST_F(OpenLinks, DoNothingToAnApplicationWithoutAHandler)
{
    setMode("none");
    ASSERT_TRUE(startHost({"lumotest:first"}));
    EXPECT_EQ(run(host(), burst()).status, 0);
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("reopened").size(), 1U);
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(OpenLinks, AreRefusedWhenTooManyWait)
{
    setMode("late");
    ASSERT_TRUE(startHost());
    Caller caller;
    const auto flood = burst(NSAppleEventManager::mostWaiting + 1);
    caller.open(flood);
    ASSERT_TRUE(caller.isAnswered());
    caller.open({"lumotest:one more"});
    ASSERT_TRUE(caller.isAnswered(2));
    EXPECT_EQ(caller.answers, Texts(2, "org.freedesktop.DBus.Error.LimitsExceeded"));
    EXPECT_EQ(run(host(), {"lumotest:from a command line"}).status, 0);
    EXPECT_EQ(run(host(), {}).status, 0);
    EXPECT_EQ(reported("link ", NSAppleEventManager::mostWaiting), Texts(flood.begin(), flood.end() - 1));
    caller.open({"lumotest:after"});
    EXPECT_EQ(reported("link "), Texts{"lumotest:after"});
}

TEST_F(OpenLinks, AreNotOpenedWithoutAnApplicationForTheirScheme)
{
    const auto outcome = run(sender(), {"lumotest:one"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "g-io-error-quark " + std::to_string(G_IO_ERROR_NOT_SUPPORTED) + "\n");
    EXPECT_NE(run("gio", {"open", "lumotest:one"}).status, 0);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(OpenLinks, WaitForTheEndOfAnApplicationAndStartItAgain)
{
    setMode("slow");
    ASSERT_TRUE(startHost({"lumotest:quit"}));
    ASSERT_EQ(reported("ending").size(), 1U);
    EXPECT_EQ(reported("started ").size(), 1U);
    Caller caller;
    caller.open({"lumotest:asked"}); // while it no longer runs
    const pid_t second = start(host(), {"lumotest:second"});
    EXPECT_THAT(caller.answers, IsEmpty());
    openGate();
    EXPECT_EQ(reported("link ", 2), (Texts{"lumotest:quit", "lumotest:second"}));
    EXPECT_EQ(reported("started "), Texts{std::to_string(second)});
    EXPECT_TRUE(caller.isAnswered());
    EXPECT_EQ(caller.answers, Texts{"org.freedesktop.DBus.Error.NoReply"});
}

TEST_F(OpenLinks, ReachOnlyTheirOwnInstanceWithoutASessionBus)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    start(host(), {"lumotest:one"});
    EXPECT_EQ(reported("link "), Texts{"lumotest:one"});
    start(host(), {"lumotest:two"});
    EXPECT_EQ(reported("link "), Texts{"lumotest:two"});
    EXPECT_EQ(reported("started ", 2).size(), 2U);
}

TEST_F(OpenLinks, ReachNoProgramOutsideOfABundle)
{
    const auto program = folder / "LinkHost";
    std::filesystem::copy_file(host(), program);
    for (int time = 0; time < 2; ++time) {
        start(program, {"lumotest:one"});
        EXPECT_EQ(reported("launched").size(), 1U);
    }
    EXPECT_EQ(reported("started ", 2).size(), 2U);
    EXPECT_THAT(rest(), IsEmpty());
}

TEST_F(OpenLinks, DoNotEndTheApplicationWithTheBus)
{
    ASSERT_TRUE(startHost());
    const auto started = reported("started ");
    ASSERT_EQ(started.size(), 1U);
    bus.reset();
    ASSERT_EQ(
        ::kill(std::stoi(started.front()), SIGTERM), 0); // its main loop runs, else it would not report that
    EXPECT_EQ(reported("ending").size(), 1U);
}

} // namespace
