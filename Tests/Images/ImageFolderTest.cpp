#include "Images/ImageFolder.h"

#include "Support/TemporaryFolder.h"
#include "Support/TestImages.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using namespace std::chrono_literals;
using detail::ImageFolder;

namespace fs = std::filesystem;

namespace {

class ImageFolderTest : public testing::Test {
protected:
    [[nodiscard]] std::vector<fs::path> files() const
    {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(path))
            found.push_back(entry.path());
        return found;
    }
    [[nodiscard]] std::uint64_t usage() const
    {
        std::uint64_t sum = 0;
        for (const auto& file : files())
            sum += fs::file_size(file);
        return sum;
    }
    static mode_t modeOf(const fs::path& file)
    {
        struct stat status{};
        ::stat(file.c_str(), &status);
        return status.st_mode & 07777;
    }

    TemporaryFolder temporary;
    const fs::path path = temporary / "cache" / "Images";
    ImageFolder folder{path, 100'000, 24h};
    const Data image = dataOf(std::string(5000, 'i'));
};

TEST_F(ImageFolderTest, KeepsWhatIsWrittenForItsUserAlone)
{
    EXPECT_EQ(folder.read("key"), std::nullopt);
    ASSERT_TRUE(folder.write("key", image));
    EXPECT_EQ(folder.read("key"), image);
    EXPECT_EQ(folder.read("ke"), std::nullopt);
    EXPECT_EQ(ImageFolder(path, 100'000, 24h).read("key"), image); // of a later start
    ASSERT_EQ(files().size(), 1U);
    EXPECT_EQ(modeOf(files()[0]), 0600U);
    EXPECT_EQ(modeOf(path), 0700U);
    EXPECT_EQ(modeOf(path.parent_path()), 0700U);
}

TEST_F(ImageFolderTest, TakesAnyKey)
{
    for (const std::string& key : {std::string("../../up"), std::string("/"), std::string(5000, 'k'),
             std::string(), std::string("a\0b", 3)}) {
        ASSERT_TRUE(folder.write(key, image));
        EXPECT_EQ(folder.read(key), image);
    }
    EXPECT_EQ(files().size(), 5U);
}

TEST_F(ImageFolderTest, ReplacesAndForgets)
{
    ASSERT_TRUE(folder.write("key", dataOf("old")));
    ASSERT_TRUE(folder.write("key", image));
    EXPECT_EQ(folder.read("key"), image);
    folder.remove("key");
    EXPECT_EQ(folder.read("key"), std::nullopt);
    ASSERT_TRUE(folder.write("one", image));
    ASSERT_TRUE(folder.write("two", image));
    folder.removeAll();
    EXPECT_TRUE(files().empty());
}

TEST_F(ImageFolderTest, DropsWhatIsDamaged)
{
    ASSERT_TRUE(folder.write("key", image));
    const auto file = files()[0];
    const auto whole = fs::file_size(file);
    for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{10}, whole / 2, whole - 1}) {
        ASSERT_TRUE(folder.write("key", image));
        fs::resize_file(file, length);
        EXPECT_EQ(folder.read("key"), std::nullopt) << length;
        EXPECT_FALSE(fs::exists(file));
    }
    for (std::uint64_t place = 0; place < whole; place += 37) {
        ASSERT_TRUE(folder.write("key", image));
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(static_cast<std::streamoff>(place));
        stream.put('\x7F');
        stream.close();
        EXPECT_EQ(folder.read("key"), std::nullopt) << place;
        EXPECT_FALSE(fs::exists(file));
    }
}

TEST_F(ImageFolderTest, DropsAFileOfAnotherKey)
{
    ASSERT_TRUE(folder.write("one", image));
    const auto one = files()[0];
    ASSERT_TRUE(folder.write("two", image));
    const auto two = files()[0] == one ? files()[1] : files()[0];
    fs::copy_file(one, two, fs::copy_options::overwrite_existing);
    EXPECT_EQ(folder.read("two"), std::nullopt);
    EXPECT_EQ(folder.read("one"), image);
}

TEST_F(ImageFolderTest, DropsWhatIsTooOld)
{
    ASSERT_TRUE(folder.write("old", image));
    const auto old = files()[0];
    fs::last_write_time(old, fs::file_time_type::clock::now() - 25h);
    EXPECT_EQ(folder.read("old"), std::nullopt);
    EXPECT_FALSE(fs::exists(old));

    ASSERT_TRUE(folder.write("old", image));
    fs::last_write_time(old, fs::file_time_type::clock::now() - 25h);
    ASSERT_TRUE(
        ImageFolder(path, 100'000, 24h).write("new", image)); // at its first look, also what nobody asks for
    EXPECT_FALSE(fs::exists(old));
}

TEST_F(ImageFolderTest, IsNotYoungerBecauseItIsRead)
{
    ASSERT_TRUE(folder.write("key", image));
    const auto written = fs::file_time_type::clock::now() - 23h;
    fs::last_write_time(files()[0], written);
    EXPECT_EQ(folder.read("key"), image);
    EXPECT_LT(fs::last_write_time(files()[0]), written + 1h);
}

TEST_F(ImageFolderTest, StaysWithinItsLimitAndKeepsWhatIsUsed)
{
    ASSERT_TRUE(folder.write("used", image));
    for (int number = 0; number < 60; ++number) {
        ASSERT_TRUE(folder.write(std::to_string(number), image));
        EXPECT_LE(usage(), 100'000U);
        EXPECT_EQ(folder.read("used"), image);
    }
    EXPECT_EQ(folder.read("59"), image);
    EXPECT_EQ(folder.read("0"), std::nullopt);
    EXPECT_GT(usage(), 80'000U);
}

TEST_F(ImageFolderTest, DoesNotKeepWhatIsBeyondItsLimitAlone)
{
    ASSERT_TRUE(folder.write("one", image));
    ASSERT_TRUE(folder.write("large", dataOf(std::string(100'000, 'x'))));
    EXPECT_EQ(folder.read("large"), std::nullopt);
    EXPECT_EQ(folder.read("one"), image);
}

TEST_F(ImageFolderTest, IsMadeAgainWhenItIsGone)
{
    ASSERT_TRUE(folder.write("one", image));
    fs::remove_all(path);
    EXPECT_EQ(folder.read("one"), std::nullopt);
    ASSERT_TRUE(folder.write("two", image));
    EXPECT_EQ(folder.read("two"), image);
}

TEST_F(ImageFolderTest, SaysWhenItCannotBeWritten)
{
    fs::create_directories(path.parent_path());
    writeInPlace(path, "a file in its place");
    const auto written = folder.write("key", image);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().domain, "POSIX");
    EXPECT_EQ(folder.read("key"), std::nullopt);
}

TEST_F(ImageFolderTest, LeavesNothingHalfWrittenWhereThereIsNoRoom)
{
    ASSERT_TRUE(folder.write("one", image));
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{2000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small); // a file may not grow, as on a full disk
    const auto written = folder.write("one", dataOf(std::string(9000, 'n')));
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(written);
    EXPECT_EQ(files().size(), 1U);
    EXPECT_EQ(folder.read("one"), image);
}

TEST_F(ImageFolderTest, WithoutAPlaceKeepsNothing)
{
    ImageFolder none({}, 100'000, 24h);
    EXPECT_TRUE(none.write("key", image));
    EXPECT_EQ(none.read("key"), std::nullopt);
    none.remove("key");
    none.removeAll();
}

} // namespace
