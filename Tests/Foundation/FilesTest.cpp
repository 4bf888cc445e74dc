#include <LumoKit/Platform/Foundation/Files.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace {

using namespace LumoKit;
namespace fs = std::filesystem;

class Files : public testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("files-" + std::to_string(::getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path folder;
};

TEST_F(Files, AreReadWhole)
{
    const std::string bytes("a\0b\r\n\xFF", 6);
    std::ofstream(folder / "file", std::ios::binary) << bytes;
    std::ofstream(folder / "empty");
    fs::create_symlink("file", folder / "link");
    EXPECT_EQ(readFile(folder / "file"), bytes);
    EXPECT_EQ(readFile(folder / "link"), bytes);
    EXPECT_EQ(readFile(folder / "empty"), "");
}

TEST_F(Files, AreNothingWhereThereIsNoneToRead)
{
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("nowhere", folder / "dangling");
    for (const char* name : {"missing", "", "pipe", "dangling", "file/below"})
        EXPECT_EQ(readFile(folder / name), std::nullopt) << name;
    EXPECT_EQ(readFile(""), std::nullopt);
}

} // namespace
