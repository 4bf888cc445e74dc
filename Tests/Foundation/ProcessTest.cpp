#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/Process.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>

using namespace LumoKit;
using namespace LumoKit::Test;

namespace {

struct ProcessTest : ::testing::Test {
    /// What a shell's command writes into a file.
    std::string output(const std::string& command)
    {
        const auto file = folder / "output";
        shell.setLaunchPath("/bin/sh");
        shell.setArguments({"-c", "{ " + command + "; } >'" + file.string() + "'"});
        shell.launch();
        shell.waitUntilExit();
        return readFile(file).value_or("(none)");
    }

    TemporaryFolder folder;
    Process shell;
};

TEST_F(ProcessTest, RunsAProgramWithItsArguments)
{
    shell.setLaunchPath("/bin/sh");
    shell.setArguments({"-c", "exit 7"});
    EXPECT_FALSE(shell.isRunning());
    EXPECT_EQ(shell.terminationStatus(), std::nullopt);
    shell.waitUntilExit(); // of nothing
    ASSERT_TRUE(shell.run().has_value());
    shell.waitUntilExit();
    EXPECT_FALSE(shell.isRunning());
    EXPECT_EQ(shell.processIdentifier(), 0);
    EXPECT_EQ(shell.terminationStatus(), 7);
    EXPECT_FALSE(shell.run().has_value()); // once
}

TEST_F(ProcessTest, TellsTheSignalThatEndedIt)
{
    shell.setLaunchPath("/bin/sh");
    shell.setArguments({"-c", "read never </dev/tty; kill -TERM $$"});
    shell.launch();
    shell.waitUntilExit();
    EXPECT_EQ(shell.terminationStatus(), SIGTERM);
}

TEST_F(ProcessTest, PutsThePlatformsCommandsFirst)
{
    const auto found = output("command -v open");
    EXPECT_TRUE(found.ends_with("/commands/open\n")) << found;
    EXPECT_TRUE(std::filesystem::exists(found.substr(0, found.size() - 1)));
}

TEST_F(ProcessTest, HasTheWholeEnvironmentThatItIsGiven)
{
    shell.setEnvironment({{"COLOUR", "green"}, {"PATH", "/bin:/usr/bin"}});
    EXPECT_THAT(output("echo $COLOUR $HOME; echo $PATH"),
        ::testing::AllOf(
            ::testing::StartsWith("green\n/"), ::testing::EndsWith("/commands:/bin:/usr/bin\n")));
}

TEST_F(ProcessTest, GivesAnErrorForWhatCannotBeStarted)
{
    for (const char* program : {"", "/nowhere/program", "/tmp"}) {
        Process process;
        process.setLaunchPath(program);
        EXPECT_FALSE(process.run().has_value()) << program;
    }
    Process nul;
    nul.setLaunchPath("/bin/echo");
    nul.setArguments({std::string("a\0b", 3)});
    EXPECT_FALSE(nul.run().has_value());
    Process variable;
    variable.setLaunchPath("/bin/echo");
    variable.setEnvironment({{"A=B", "c"}});
    EXPECT_FALSE(variable.run().has_value());
    Process missing;
    missing.setLaunchPath("/nowhere/program");
    EXPECT_DEATH(missing.launch(), "/nowhere/program");
}

TEST_F(ProcessTest, GoesOnWhenTheObjectIsReleased)
{
    ASSERT_EQ(::mkfifo((folder / "end").c_str(), 0600), 0);
    {
        Process process;
        process.setLaunchPath("/bin/sh");
        process.setArguments({"-c",
            "read line <'" + (folder / "end").string() + "'; echo \"$line\" >'" + (folder / "output").string()
                + "'"});
        process.launch();
    }
    std::ofstream(folder / "end") << "still here\n"; // waits for the reader
    EXPECT_TRUE(waitForOthers([&] { return readFile(folder / "output") == "still here\n"; }));
}

} // namespace
