#include "Support/TemporaryFolder.h"

#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Utility/FileSystem.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>

namespace {

using namespace LumoKit;
using LumoKit::Test::TemporaryFolder;
using LumoKit::Test::writeInPlace;
namespace fs = std::filesystem;

/// Also runs in a copy of this program that lies in a bundle, and what it prints is read; see below.
TEST(DataDirectory, BelongsToABundle)
{
    if (Bundle::main().bundleIdentifier())
        std::printf("directory <%s>\n", FileSystemUtils::applicationDataDirectoryURL().path().c_str());
    else
        EXPECT_DEATH(static_cast<void>(FileSystemUtils::applicationDataDirectoryURL()),
            "Could not read bundle identifier");
}

class DataDirectoryTest : public testing::Test {
protected:
    void SetUp() override
    {
        const fs::path contents = folder / "Tea.app" / "Contents";
        fs::create_directories(contents / "Linux");
        writeInPlace(contents / "Info.plist",
            "<plist "
            "version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example.tea</string></dict></"
            "plist>");
        program = contents / "Linux" / "Tea";
        fs::copy_file("/proc/self/exe", program);
    }

    /// What the program in the bundle says, line by line, with the data of its user in `home`.
    std::string told(const std::string& environment)
    {
        const std::string command = "env -u XDG_DATA_HOME " + environment + " '" + program.string()
            + "' --gtest_filter=DataDirectory.BelongsToABundle 2>&1";
        std::FILE* output = ::popen(command.c_str(), "r");
        std::string text;
        for (int character = 0; (character = std::fgetc(output)) != EOF;)
            text += static_cast<char>(character);
        ::pclose(output);
        return text;
    }
    std::string inData() { return told("XDG_DATA_HOME='" + data.string() + "'"); }

    TemporaryFolder folder;
    fs::path program;
    const fs::path data = folder / "data";
    const fs::path own = data / "com.example.tea";
};

TEST_F(DataDirectoryTest, IsMadeOnceForTheUserAlone)
{
    EXPECT_THAT(inData(), testing::HasSubstr("directory <" + own.string() + ">"));
    ASSERT_TRUE(fs::is_directory(own));
    EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
    writeInPlace(own / "kept", "kept");
    EXPECT_THAT(inData(), testing::HasSubstr("directory <" + own.string() + ">"));
    EXPECT_TRUE(fs::exists(own / "kept"));
}

TEST_F(DataDirectoryTest, IsGivenThoughAFileStandsThere)
{
    fs::create_directories(data);
    writeInPlace(own, "a file");
    const std::string text = inData();
    EXPECT_THAT(text, testing::HasSubstr("directory <" + own.string() + ">"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("Error while")));
    EXPECT_TRUE(fs::is_regular_file(own));
}

TEST_F(DataDirectoryTest, IsGivenThoughItCannotBeMade)
{
    writeInPlace(data, "a file where the user's data should be");
    const std::string text = inData();
    EXPECT_THAT(text, testing::HasSubstr("Error while creating application data dir: " + own.string()));
    EXPECT_THAT(text, testing::HasSubstr("directory <" + own.string() + ">"));
}

TEST_F(DataDirectoryTest, LiesInTheHomeFolderUnlessTheEnvironmentSaysOtherwise)
{
    const std::string home = (folder / "home").string();
    EXPECT_THAT(told("HOME='" + home + "'"),
        testing::HasSubstr("directory <" + home + "/.local/share/com.example.tea>"));
    EXPECT_THAT(told("HOME='" + home + "' XDG_DATA_HOME=relative"),
        testing::HasSubstr("directory <" + home + "/.local/share/com.example.tea>"));
}

TEST_F(DataDirectoryTest, StopsWithoutAPlaceForData)
{
    EXPECT_THAT(told("-u HOME"), testing::HasSubstr("Fatal error: Could not locate application support url"));
}

} // namespace
