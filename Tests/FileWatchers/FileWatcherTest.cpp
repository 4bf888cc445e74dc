#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/FileWatchers/FileWatcher.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

namespace {

using namespace LumoKit;
using LumoKit::Test::replace;
using LumoKit::Test::TemporaryFolder;
using LumoKit::Test::waitUntil;
using LumoKit::Test::writeInPlace;
namespace fs = std::filesystem;

class FileWatcherLocal : public testing::Test {
protected:
    void watch(const fs::path& path)
    {
        watcher.emplace(path.string(), 1.0 / 60, DispatchQueue::main());
        const auto started = watcher->start([this](const FileWatcher::RefreshResult& result) {
            EXPECT_TRUE(isMainThread());
            EXPECT_TRUE(result.updated);
            if (result.contents)
                seen.emplace_back(
                    reinterpret_cast<const char*>(result.contents->data()), result.contents->size());
            else
                ++gone;
        });
        ASSERT_TRUE(started) << started.error().description;
    }

    /// Whether the last thing told comes to be this text.
    [[nodiscard]] bool sees(const std::string& text)
    {
        return waitUntil([&] { return !seen.empty() && seen.back() == text; });
    }
    [[nodiscard]] bool seesItGo(int times = 1)
    {
        return waitUntil([&] { return gone >= times; });
    }

    /// Nothing was told twice: a change that is told now is the next thing that is told.
    void expectNothingMore(const fs::path& file, const std::string& last)
    {
        const std::size_t before = seen.size();
        replace(file, last);
        EXPECT_TRUE(sees(last));
        EXPECT_EQ(seen.size(), before + 1);
    }

    TemporaryFolder folder;
    const fs::path file = folder / "file.js";
    std::optional<FileWatcher::Local> watcher;
    std::vector<std::string> seen;
    int gone = 0;
};

TEST_F(FileWatcherLocal, SaysNothingOfWhatIsThere)
{
    writeInPlace(file, "old");
    watch(file);
    expectNothingMore(file, "new");
    EXPECT_EQ(seen, std::vector<std::string>{"new"});
}

TEST_F(FileWatcherLocal, SeesAFileWrittenInPlace)
{
    writeInPlace(file, "old");
    watch(file);
    writeInPlace(file, "new");
    EXPECT_TRUE(sees("new"));
    writeInPlace(file, "");
    EXPECT_TRUE(sees(""));
    writeInPlace(file, "newer");
    EXPECT_TRUE(sees("newer"));
}

TEST_F(FileWatcherLocal, SeesAFileThatIsReplaced)
{
    writeInPlace(file, "old");
    watch(file);
    for (const char* text : {"first", "second", "third"}) {
        replace(file, text);
        EXPECT_TRUE(sees(text));
    }
    EXPECT_EQ(seen.size(), 3U);
    EXPECT_EQ(gone, 0); // there was a file at every moment
}

TEST_F(FileWatcherLocal, SeesAFileThatStaysOpenWhileItGrows)
{
    writeInPlace(file, "");
    watch(file);
    std::ofstream log(file, std::ios::app);
    log << "one line" << std::flush;
    EXPECT_TRUE(sees("one line"));
    log << ", another" << std::flush;
    EXPECT_TRUE(sees("one line, another"));
}

TEST_F(FileWatcherLocal, SeesAFileDeletedAndMadeAgain)
{
    writeInPlace(file, "old");
    watch(file);
    fs::remove(file);
    EXPECT_TRUE(seesItGo());
    writeInPlace(file, "made again");
    EXPECT_TRUE(sees("made again"));
    fs::remove(file);
    writeInPlace(file, "and again");
    EXPECT_TRUE(sees("and again"));
    writeInPlace(file, "still watched");
    EXPECT_TRUE(sees("still watched"));
}

TEST_F(FileWatcherLocal, WaitsForAFileThatIsNotThereYet)
{
    const fs::path deep = folder / "not" / "there" / "yet.js";
    watch(deep);
    fs::create_directories(deep.parent_path());
    writeInPlace(deep, "there");
    EXPECT_TRUE(sees("there"));
    writeInPlace(deep, "changed");
    EXPECT_TRUE(sees("changed"));
}

TEST_F(FileWatcherLocal, FollowsALinkToItsTarget)
{
    writeInPlace(folder / "one.js", "one");
    writeInPlace(folder / "two.js", "two");
    fs::create_symlink("one.js", file);
    watch(file);
    writeInPlace(folder / "one.js", "one, changed");
    EXPECT_TRUE(sees("one, changed"));
    replace(folder / "one.js", "one, replaced");
    EXPECT_TRUE(sees("one, replaced"));

    // The link is exchanged, as a release is switched to another.
    fs::create_symlink("two.js", folder / "next");
    fs::rename(folder / "next", file);
    EXPECT_TRUE(sees("two"));
    writeInPlace(folder / "two.js", "two, changed");
    EXPECT_TRUE(sees("two, changed"));
    const std::size_t before = seen.size();
    writeInPlace(folder / "one.js", "nobody looks here now");
    expectNothingMore(folder / "two.js", "two, at last");
    EXPECT_EQ(seen.size(), before + 1);
}

TEST_F(FileWatcherLocal, FollowsALinkOnTheWay)
{
    fs::create_directories(folder / "v1");
    fs::create_directories(folder / "v2");
    writeInPlace(folder / "v1" / "file.js", "v1");
    writeInPlace(folder / "v2" / "file.js", "v2");
    fs::create_directory_symlink(folder / "v1", folder / "current");
    watch(folder / "current" / "file.js");
    writeInPlace(folder / "v1" / "file.js", "v1, changed");
    EXPECT_TRUE(sees("v1, changed"));
    fs::create_directory_symlink("v2", folder / "next");
    fs::rename(folder / "next", folder / "current");
    EXPECT_TRUE(sees("v2"));
    replace(folder / "v2" / "file.js", "v2, changed");
    EXPECT_TRUE(sees("v2, changed"));
}

TEST_F(FileWatcherLocal, DoesNotFollowLinksForEver)
{
    fs::create_symlink("b", folder / "a");
    fs::create_symlink("a", folder / "b");
    watch(folder / "a");
    fs::remove(folder / "a");
    writeInPlace(folder / "a", "a file after all");
    EXPECT_TRUE(sees("a file after all"));
}

TEST_F(FileWatcherLocal, SurvivesTheMoveOfItsFolder)
{
    const fs::path home = folder / "home";
    fs::create_directories(home);
    writeInPlace(home / "file.js", "old");
    watch(home / "file.js");
    fs::rename(home, folder / "away");
    EXPECT_TRUE(seesItGo());
    writeInPlace(folder / "away" / "file.js", "not here any more");
    fs::create_directories(home);
    writeInPlace(home / "file.js", "a new one");
    EXPECT_TRUE(sees("a new one"));
    fs::remove_all(home);
    EXPECT_TRUE(seesItGo(2));
    fs::rename(folder / "away", home);
    EXPECT_TRUE(sees("not here any more"));
    writeInPlace(home / "file.js", "back");
    EXPECT_TRUE(sees("back"));
}

TEST_F(FileWatcherLocal, SaysNothingOfItsNeighbours)
{
    writeInPlace(file, "old");
    watch(file);
    writeInPlace(folder / "other.js", "other");
    writeInPlace(folder / "file.js.bak", "other");
    fs::remove(folder / "other.js");
    expectNothingMore(file, "new");
    EXPECT_EQ(seen, std::vector<std::string>{"new"});
    EXPECT_EQ(gone, 0);
}

TEST_F(FileWatcherLocal, SaysNothingOfAFileThatIsOnlyOpened)
{
    writeInPlace(file, "old");
    watch(file);
    for (int time = 0; time < 3; ++time)
        ::close(::open(file.c_str(), O_RDWR)); // closed after writing, says the kernel
    std::ifstream(file).get();
    expectNothingMore(file, "new");
    EXPECT_EQ(seen, std::vector<std::string>{"new"});
}

TEST_F(FileWatcherLocal, TellsWritesOfTheSameLengthApart)
{
    // Within one tick of the kernel's clock, such writes leave the same time behind.
    writeInPlace(file, "00");
    watch(file);
    for (int number = 10; number < 60; ++number) {
        writeInPlace(file, std::to_string(number));
        EXPECT_TRUE(sees(std::to_string(number)));
    }
}

TEST_F(FileWatcherLocal, ReadsALargeFileWhole)
{
    writeInPlace(file, std::string(20'000'000, 'a'));
    watch(file);
    const std::string large = std::string(19'999'999, 'b') + "c";
    writeInPlace(file, large);
    EXPECT_TRUE(sees(large));
    seen.clear();
    replace(file, "small again");
    EXPECT_TRUE(sees("small again"));
}

TEST_F(FileWatcherLocal, KeepsUpWithAFileThatNeverRests)
{
    writeInPlace(file, "start");
    watch(file);
    std::atomic<bool> over = false;
    std::thread writer([&] {
        for (int number = 0; number < 2000; ++number)
            number % 2 ? replace(file, std::to_string(number)) : writeInPlace(file, std::to_string(number));
        over = true;
    });
    EXPECT_TRUE(waitUntil([&] { return over.load(); }));
    writer.join();
    EXPECT_TRUE(sees("1999"));
    // In order, and none twice: what was seen later was written later. A file that is caught empty, on its
    // way to the next text, counts as nothing.
    int last = -1;
    for (const auto& text : seen) {
        if (text.empty())
            continue;
        EXPECT_GT(std::stoi(text), last);
        last = std::stoi(text);
    }
}

TEST_F(FileWatcherLocal, ReadsNoPipeAndNoFolder)
{
    watch(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    fs::remove(file);
    fs::create_directory(file);
    fs::remove(file);
    writeInPlace(file, "a file");
    EXPECT_TRUE(sees("a file"));
    EXPECT_EQ(seen.front(), "a file");
}

TEST_F(FileWatcherLocal, TellsTwoWatchersOfOneFile)
{
    writeInPlace(file, "old");
    watch(file);
    FileWatcher::Local second(file.string(), 1.0 / 60, DispatchQueue::main());
    int told = 0;
    ASSERT_TRUE(second.start([&](const auto&) { ++told; }));
    replace(file, "new");
    EXPECT_TRUE(sees("new"));
    EXPECT_TRUE(waitUntil([&] { return told == 1; }));
}

TEST_F(FileWatcherLocal, StopsWhenItIsReleased)
{
    writeInPlace(file, "old");
    watch(file);
    replace(file, "new");
    watcher.reset();
    FileWatcher::Local second(file.string(), 1.0 / 60, DispatchQueue::main());
    bool told = false;
    ASSERT_TRUE(second.start([&](const auto&) { told = true; }));
    replace(file, "newer");
    ASSERT_TRUE(waitUntil([&] { return told; }));
    EXPECT_TRUE(seen.empty());
}

TEST_F(FileWatcherLocal, CanBeReleasedByItsCallback)
{
    writeInPlace(file, "old");
    watcher.emplace(file.string(), 1.0 / 60, DispatchQueue::main());
    int told = 0;
    ASSERT_TRUE(watcher->start([&](const auto&) {
        ++told;
        watcher.reset();
    }));
    replace(file, "new");
    ASSERT_TRUE(waitUntil([&] { return told > 0; }));
    replace(file, "newer");
    LumoKit::Test::runPendingTurns();
    EXPECT_EQ(told, 1);
}

TEST_F(FileWatcherLocal, StartsOnce)
{
    watch(file);
    const auto again = watcher->start([](const auto&) { });
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().description, "The watcher was started already");
}

} // namespace
