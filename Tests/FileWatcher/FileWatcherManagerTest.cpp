#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <LumoKit/FileWatcher/FileWatcherManager.h>
#include <LumoKit/Platform/Dispatch/MainThread.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>

namespace {

using namespace LumoKit;
using LumoKit::Test::replace;
using LumoKit::Test::TemporaryFolder;
using LumoKit::Test::waitUntil;
using LumoKit::Test::writeInPlace;

class FileWatcherManagerTest : public testing::Test {
protected:
    [[nodiscard]] bool sees(const std::string& text)
    {
        return waitUntil([&] { return !seen.empty() && seen.back() == text; });
    }
    void watch()
    {
        manager->watch(URL::fileURL(file.string()), [this](const std::string& text) {
            EXPECT_TRUE(isMainThread());
            seen.push_back(text);
        });
    }

    TemporaryFolder folder;
    const std::filesystem::path file = folder / "a name%20with, odd.js";
    std::optional<FileWatcherManager> manager{std::in_place, std::string("config")};
    std::vector<std::string> seen;
};

TEST_F(FileWatcherManagerTest, HandsOverTheNewText)
{
    writeInPlace(file, "old");
    watch();
    replace(file, "né 😀");
    EXPECT_TRUE(sees("né 😀"));
    EXPECT_EQ(seen.size(), 1U);
}

TEST_F(FileWatcherManagerTest, PrintsWhatIsNoTextAndGoesOn)
{
    writeInPlace(file, "old");
    watch();
    testing::internal::CaptureStdout();
    replace(file, "\xFF\xFE broken");
    std::string printed;
    ASSERT_TRUE(waitUntil([&] {
        std::fflush(stdout);
        printed += testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return !printed.empty();
    }));
    replace(file, "whole");
    EXPECT_TRUE(sees("whole"));
    printed += testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, "[FileWatcherManager] cannot read changed file data\n");
    EXPECT_EQ(seen, std::vector<std::string>{"whole"});
}

TEST_F(FileWatcherManagerTest, IgnoresAFileThatGoes)
{
    writeInPlace(file, "old");
    watch();
    std::filesystem::remove(file);
    replace(file, "new");
    EXPECT_TRUE(sees("new"));
    EXPECT_EQ(seen.size(), 1U);
}

TEST_F(FileWatcherManagerTest, CallsBothCallbacksOfAFileThatIsWatchedTwice)
{
    writeInPlace(file, "old");
    watch();
    watch();
    EXPECT_EQ(manager->watchers().size(), 2U);
    replace(file, "new");
    EXPECT_TRUE(waitUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (std::vector<std::string>{"new", "new"}));
}

TEST_F(FileWatcherManagerTest, PrintsWhyAWatchCannotBeStartedAndKeepsIt)
{
    watch(); // one that can, so that all that is made once has been made
    // No file can be opened any more, so that the kernel gives no watches either.
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    testing::internal::CaptureStdout();
    rlimit none = usual;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    watch();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(printed.starts_with("[FileWatcherManager] cannot start file watcher, because of: "))
        << printed;
    EXPECT_EQ(std::ranges::count(printed, '\n'), 1);
    EXPECT_EQ(manager->watchers().size(), 2U);
}

TEST_F(FileWatcherManagerTest, StopsWatchingWhenItIsReleased)
{
    writeInPlace(file, "old");
    watch();
    manager.reset();
    manager.emplace(1);
    std::vector<std::string> others;
    manager->watch(URL::fileURL(file.string()), [&](const std::string& text) { others.push_back(text); });
    replace(file, "new");
    ASSERT_TRUE(waitUntil([&] { return !others.empty(); }));
    EXPECT_TRUE(seen.empty());
}

TEST_F(FileWatcherManagerTest, KeepsTheHostsConfiguration)
{
    EXPECT_EQ(std::any_cast<std::string>(manager->config), "config");
}

TEST(HasFileWatcherManager, IsAServiceOfTheHost)
{
    struct Container : HasFileWatcherManager {
        [[nodiscard]] std::shared_ptr<FileWatcherManager> fileWatcherManager() const override
        {
            return manager;
        }
        std::shared_ptr<FileWatcherManager> manager = std::make_shared<FileWatcherManager>(0);
    };
    const Container container;
    const ServiceInterface& services = container;
    EXPECT_EQ(dynamic_cast<const HasFileWatcherManager&>(services).fileWatcherManager(), container.manager);
}

} // namespace
