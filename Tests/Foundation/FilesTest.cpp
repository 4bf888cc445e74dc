#include <LumoKit/Platform/Foundation/Files.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <vector>

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

TEST_F(Files, AreWrittenWholeForTheUserAlone)
{
    const std::string bytes("a\0b\r\n\xFF", 6);
    for (const FileWriting how : {FileWriting::atomic, FileWriting::atomicAndLasting}) {
        ASSERT_TRUE(writeFile(folder / "written", bytes, how));
        EXPECT_EQ(readFile(folder / "written"), bytes);
        ASSERT_TRUE(writeFile(folder / "written", "", how));
        EXPECT_EQ(readFile(folder / "written"), "");
    }
    EXPECT_EQ(fs::status(folder / "written").permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(Files, ThatCannotBeWrittenStayAsTheyAre)
{
    std::ofstream(folder / "file") << "kept";
    fs::create_directories(folder / "folder" / "full");
    for (const char* name : {"missing/file", "file/below", "folder"}) {
        const auto written = writeFile(folder / name, "text");
        ASSERT_FALSE(written) << name;
        EXPECT_EQ(written.error().domain, "POSIX");
        EXPECT_TRUE(written.error().description.starts_with((folder / name).string() + ": "));
    }
    EXPECT_EQ(readFile(folder / "file"), "kept");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "nothing is left behind";
}

TEST_F(Files, OfTextAreReadInTheEncodingThatTheirMarkSays)
{
    const std::string expected = "caf\xC3\xA9 \xF0\x9F\x98\x80";
    const auto reads = [&](const std::string& bytes) {
        std::ofstream(folder / "text", std::ios::binary) << bytes;
        return readText(folder / "text");
    };
    const auto wide = [](int size, bool isLittle, const std::vector<std::uint32_t>& units) {
        std::string bytes;
        for (const std::uint32_t unit : units)
            for (int byte = 0; byte < size; ++byte)
                bytes += static_cast<char>(unit >> (8 * (isLittle ? byte : size - 1 - byte)));
        return bytes;
    };
    EXPECT_EQ(reads(expected), expected);
    EXPECT_EQ(reads("\xEF\xBB\xBF" + expected), expected);
    for (const bool isLittle : {true, false}) {
        EXPECT_EQ(reads(wide(2, isLittle, {0xFEFF, 'c', 'a', 'f', 0xE9, ' ', 0xD83D, 0xDE00})), expected);
        EXPECT_EQ(reads(wide(4, isLittle, {0xFEFF, 'c', 'a', 'f', 0xE9, ' ', 0x1F600})), expected);
        EXPECT_EQ(reads(wide(2, isLittle, {0xFEFF, 'a', 0xD83D})), std::nullopt) << "half a pair";
        EXPECT_EQ(reads(wide(2, isLittle, {0xFEFF})), "");
    }
    EXPECT_EQ(reads(""), "");
    EXPECT_EQ(reads("caf\xE9"), std::nullopt);
    EXPECT_EQ(reads("\xEF\xBB\xBF\xFF"), std::nullopt);
    EXPECT_EQ(readText(folder), std::nullopt);
}

} // namespace
