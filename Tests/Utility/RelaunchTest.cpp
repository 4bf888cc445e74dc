// Quitting, and quitting to be started again, of a real host.

#include <Support/LinkSession.h>
#include <Support/Waiting.h>
#include <gmock/gmock.h>

#include <fstream>

using namespace LumoKit::Test;
using testing::Contains;
using testing::Not;
namespace fs = std::filesystem;

namespace {

/// The process that is about to open an application for another one; 0 if there is none.
pid_t opener(const std::string& forProcess)
{
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::string name;
        std::getline(std::ifstream(entry.path() / "comm"), name);
        if (name != "open")
            continue;
        std::ifstream environment(entry.path() / "environ");
        for (std::string variable; std::getline(environment, variable, '\0');)
            if (variable == "LUMOKIT_ASKED_BY=" + forProcess)
                return std::stoi(entry.path().filename());
    }
    return 0;
}

class Relaunch : public LinkSession {
protected:
    /// Starts the host from a bundle of another name, and gives its process.
    std::string startFrom(const std::string& name)
    {
        moved = folder / name;
        fs::create_directories(moved.parent_path());
        fs::copy(bundle(), moved, fs::copy_options::recursive);
        start(executable(moved));
        const auto started = reported("started ");
        EXPECT_EQ(reported("launched").size(), 1U);
        return started.empty() ? "" : started.front();
    }
    void send(const std::string& link) { EXPECT_EQ(run(executable(moved), {link}).status, 0); }

    fs::path moved;
};

TEST_F(Relaunch, StartsTheBundleAgainWhereverItLies)
{
    const auto first = startFrom("My Suite/Link Host's.app");
    send("lumotest:relaunch");
    EXPECT_EQ(reported("ending").size(), 1U);
    const auto second = reported("started ");
    ASSERT_EQ(second.size(), 1U);
    EXPECT_NE(second.front(), first);
    EXPECT_EQ(reported("launched").size(), 1U);
    EXPECT_EQ(fs::read_symlink("/proc/" + second.front() + "/exe"), executable(moved));
    send("lumotest:quit"); // and is the one instance
    EXPECT_EQ(reported("ending").size(), 1U);
}

TEST_F(Relaunch, GivesTheNewInstanceTheEnvironmentOfTheOld)
{
    const auto first = startFrom("Link Host.app");
    const auto environment = [](const std::string& process) {
        std::ifstream file("/proc/" + process + "/environ");
        std::vector<std::string> variables;
        for (std::string variable; std::getline(file, variable, '\0');)
            if (!variable.starts_with("PWD=") && !variable.starts_with("OLDPWD=")
                && !variable.starts_with("_="))
                variables.push_back(variable);
        std::ranges::sort(variables);
        return variables;
    };
    const auto before = environment(first);
    send("lumotest:relaunch");
    const auto second = reported("started ");
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(environment(second.front()), before);
    EXPECT_EQ(reported("launched").size(), 1U);
}

TEST_F(Relaunch, WaitsForAnInstanceThatTakesItsTimeToAgree)
{
    setMode("thoughtful");
    const auto first = startFrom("Link Host.app");
    start(executable(moved), {"lumotest:relaunch"}); // answered only when the host has come to an end
    ASSERT_EQ(reported("asked").size(), 1U);
    ASSERT_TRUE(waitForOthers([&] { return opener(first) != 0; }));
    setMode("");
    openGate();
    EXPECT_EQ(reported("ending").size(), 1U);
    const auto second = reported("started ");
    ASSERT_EQ(second.size(), 1U);
    EXPECT_NE(second.front(), first);
    EXPECT_EQ(reported("launched").size(), 1U);
    EXPECT_THAT(rest(), Not(Contains("reopened")));
}

TEST_F(Relaunch, WaitsForAnInstanceThatTakesItsTimeToEnd)
{
    setMode("slow");
    const auto first = startFrom("Link Host.app");
    send("lumotest:relaunch");
    ASSERT_EQ(reported("ending").size(), 1U);
    ASSERT_TRUE(waitForOthers([&] { return opener(first) != 0; }));
    EXPECT_TRUE(fs::exists("/proc/" + first));
    openGate();
    EXPECT_EQ(reported("started ").size(), 1U);
    EXPECT_EQ(reported("launched").size(), 1U);
    EXPECT_THAT(rest(), Not(Contains("reopened")));
}

TEST_F(Relaunch, EndsADialogThatIsWaitedFor)
{
    const auto first = startFrom("Link Host.app");
    send("lumotest:dialog-relaunch");
    EXPECT_EQ(reported("dialog ended").size(), 1U);
    EXPECT_EQ(reported("ending").size(), 1U);
    const auto second = reported("started ");
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(reported("launched").size(), 1U);
    send("lumotest:dialog-quit");
    EXPECT_EQ(reported("dialog ended").size(), 1U);
    EXPECT_EQ(reported("ending").size(), 1U);
}

TEST_F(Relaunch, ForgetsTheSettingsOfAnApplicationThatIsReset)
{
    startFrom("Link Host.app");
    send("lumotest:reset");
    EXPECT_EQ(reported("setting "), std::vector<std::string>{"green"});
    EXPECT_EQ(reported("setting afterwards "), std::vector<std::string>{"null, null"});
    send("lumotest:quit");
    EXPECT_EQ(reported("ending").size(), 1U);
}

TEST_F(Relaunch, AsksTheDelegateBeforeItQuits)
{
    const pid_t process = start(host());
    ASSERT_EQ(reported("launched").size(), 1U);
    EXPECT_EQ(run(host(), {"lumotest:quit"}).status, 0);
    EXPECT_EQ(reported("asked").size(), 1U);
    EXPECT_EQ(reported("ending").size(), 1U);
    EXPECT_EQ(ended(process), 0);
}

} // namespace
