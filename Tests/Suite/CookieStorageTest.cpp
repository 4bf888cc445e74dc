#include "Support/CookieArchive.h"
#include "Support/DiskCookieStorage.h"
#include "Support/Peer.h"
#include "Support/SecretService.h"
#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <set>
#include <sstream>

namespace {

using namespace LumoKit;
using namespace LumoKit::Test;
using LumoSuite::DiskCookieStorage;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

Data jarOf(const std::string& name)
{
    return archiveOf({named(name)});
}

mode_t modeOf(const fs::path& file)
{
    struct stat status{};
    ::lstat(file.c_str(), &status);
    return status.st_mode & 07777;
}

class DiskCookieStorageTest : public testing::Test {
protected:
    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename());
        return names;
    }

    /// Loads, and gives what was printed; nothing must be found.
    static std::string complaintOf(DiskCookieStorage& storage, const std::string& key = "cookies")
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(storage.loadData(key), std::nullopt);
        return testing::internal::GetCapturedStdout();
    }

    static std::string textOf(const fs::path& file)
    {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TemporaryFolder temporary;
    fs::path folder = temporary.path / "more" / "jars";
};

TEST_F(DiskCookieStorageTest, GivesBackWhatWasSaved)
{
    DiskCookieStorage storage(folder);
    EXPECT_EQ(complaintOf(storage), "");
    storage.saveData("cookies", jarOf("a"));
    storage.saveData("other", jarOf("b"));
    storage.saveData("cookies", jarOf("c"));
    EXPECT_EQ(storage.loadData("cookies"), jarOf("c"));
    EXPECT_EQ(DiskCookieStorage(folder).loadData("other"), jarOf("b"));
    storage.removeData("other");
    storage.removeData("other");
    EXPECT_EQ(complaintOf(storage, "other"), "");
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
}

TEST_F(DiskCookieStorageTest, IsForTheUserAlone)
{
    const mode_t before = ::umask(0);
    DiskCookieStorage storage(folder);
    storage.saveData("cookies", jarOf("a"));
    ::umask(before);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(folder.parent_path()), 0700U);
    EXPECT_EQ(modeOf(folder / "cookies.cookies"), 0600U);
    // One that everybody could read before is not so any more.
    fs::permissions(folder / "cookies.cookies", fs::perms(0644));
    storage.saveData("cookies", jarOf("b"));
    EXPECT_EQ(modeOf(folder / "cookies.cookies"), 0600U);
}

TEST_F(DiskCookieStorageTest, MakesItsFolderAgain)
{
    DiskCookieStorage storage(folder);
    fs::remove_all(temporary / "more");
    EXPECT_EQ(complaintOf(storage), "");
    storage.saveData("cookies", jarOf("a"));
    EXPECT_EQ(storage.loadData("cookies"), jarOf("a"));
}

TEST_F(DiskCookieStorageTest, TakesAnyTextAsAKey)
{
    const std::vector<std::string> keys{"", ".", "..", "/", "../outside", "/etc/passwd", "me@example.com",
        "ME@example.com", "a", "A", std::string("a\0b", 3), std::string("a\0c", 3), "line\nend", "\xff\xfe",
        "grüße", "cookies.damaged", "_", std::string(64, 'x'), std::string(65, 'x'), std::string(66, 'x'),
        std::string(1 << 20, 'y')};
    DiskCookieStorage storage(folder);
    for (std::size_t number = 0; number < keys.size(); ++number)
        storage.saveData(keys[number], jarOf("n" + std::to_string(number)));
    for (std::size_t number = 0; number < keys.size(); ++number)
        EXPECT_EQ(storage.loadData(keys[number]), jarOf("n" + std::to_string(number)))
            << keys[number].substr(0, 80);
    std::set<std::string> names;
    for (std::string name : files()) {
        EXPECT_THAT(name, testing::MatchesRegex("_?[a-z0-9-]+\\.cookies"));
        names.insert(name);
    }
    EXPECT_EQ(names.size(), keys.size()); // none of them is another in different letter case either
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(temporary.path), {}),
        static_cast<std::ptrdiff_t>(keys.size()) + 2);
}

TEST_F(DiskCookieStorageTest, MovesDamagedEntriesAside)
{
    DiskCookieStorage storage(folder);
    const Data whole = jarOf("a");
    const std::string text(reinterpret_cast<const char*>(whole.data()), whole.size());
    for (const std::string& bytes : {std::string(), std::string("hello"), text.substr(0, text.size() - 1),
             text.substr(0, text.size() / 2), text.substr(1), std::string(1 << 20, '\0')}) {
        writeInPlace(folder / "cookies.cookies", bytes);
        EXPECT_EQ(complaintOf(storage), "cookies.cookies is damaged and is now cookies.damaged\n");
        EXPECT_EQ(complaintOf(storage), "");
        EXPECT_EQ(textOf(folder / "cookies.damaged"), bytes);
        EXPECT_THAT(files(), UnorderedElementsAre("cookies.damaged")); // one, not one more each time
    }
    storage.saveData("cookies", whole);
    EXPECT_EQ(storage.loadData("cookies"), whole);
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies", "cookies.damaged"));
}

TEST_F(DiskCookieStorageTest, SaysWhenADamagedEntryStays)
{
    DiskCookieStorage storage(folder);
    writeInPlace(folder / "cookies.cookies", "hello");
    fs::create_directories(folder / "cookies.damaged" / "full");
    EXPECT_EQ(complaintOf(storage), "cookies.cookies is damaged and cannot be moved aside: Is a directory\n");
    storage.saveData("cookies", jarOf("a"));
    EXPECT_EQ(storage.loadData("cookies"), jarOf("a"));
}

TEST_F(DiskCookieStorageTest, ReadsNothingHuge)
{
    DiskCookieStorage storage(folder);
    writeInPlace(folder / "cookies.cookies", "bplist00");
    fs::resize_file(folder / "cookies.cookies", std::uintmax_t{1} << 42); // no memory would hold it
    EXPECT_EQ(complaintOf(storage), "cookies.cookies is too large and is now cookies.damaged\n");
    storage.saveData("cookies", jarOf("a"));
    testing::internal::CaptureStdout();
    storage.saveData("cookies", Data((std::size_t{64} << 20) + 1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
        "cookies.cookies is not saved: it would be too large to be read\n");
    EXPECT_EQ(storage.loadData("cookies"), jarOf("a"));
}

TEST_F(DiskCookieStorageTest, FollowsNoLink)
{
    DiskCookieStorage storage(folder);
    const fs::path entry = folder / "cookies.cookies";
    DiskCookieStorage(temporary / "else").saveData("cookies", jarOf("foreign"));
    const fs::path foreign = temporary / "else" / "cookies.cookies";
    fs::create_symlink(foreign, entry);
    EXPECT_EQ(complaintOf(storage), "cookies.cookies is no file and is now cookies.damaged\n");
    fs::create_symlink(foreign, entry);
    storage.saveData("cookies", jarOf("a"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(entry)));
    EXPECT_EQ(storage.loadData("cookies"), jarOf("a"));
    EXPECT_EQ(DiskCookieStorage(temporary / "else").loadData("cookies"), jarOf("foreign"));
    // What is moved aside does not go through a link either: cookies.damaged still is one.
    writeInPlace(entry, "hello");
    (void)complaintOf(storage);
    EXPECT_EQ(textOf(folder / "cookies.damaged"), "hello");
    EXPECT_EQ(DiskCookieStorage(temporary / "else").loadData("cookies"), jarOf("foreign"));
}

TEST_F(DiskCookieStorageTest, WaitsForNoPipe)
{
    DiskCookieStorage storage(folder);
    ASSERT_EQ(::mkfifo((folder / "cookies.cookies").c_str(), 0600), 0);
    EXPECT_EQ(complaintOf(storage), "cookies.cookies is no file and is now cookies.damaged\n");
    fs::remove(folder / "cookies.damaged");
    fs::create_directory(folder / "cookies.cookies");
    EXPECT_EQ(complaintOf(storage), "cookies.cookies is no file and is now cookies.damaged\n");
}

TEST_F(DiskCookieStorageTest, SaysThatItCannotSave)
{
    writeInPlace(temporary / "more", "a file");
    DiskCookieStorage storage(folder);
    testing::internal::CaptureStdout();
    storage.saveData("cookies", jarOf("a"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "cookies.cookies is not saved: Not a directory\n");
    EXPECT_THAT(complaintOf(storage), EndsWith("cannot be read: Not a directory\n"));
}

TEST_F(DiskCookieStorageTest, KeepsTheEntryWhenTheDiskIsFull)
{
    Peer peer({"", "disk", folder}, "cookies-peer");
    EXPECT_EQ(peer.ask("save cookies 1"), "ok");
    EXPECT_EQ(peer.ask("limit 20000"), "ok");
    EXPECT_EQ(peer.ask("save cookies 2"), "ok | cookies.cookies is not saved: File too large");
    EXPECT_EQ(peer.ask("load cookies"), "1");
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
}

TEST_F(DiskCookieStorageTest, RemovesWhatKilledProcessesLeft)
{
    {
        DiskCookieStorage(folder).saveData("cookies", jarOf("a"));
    }
    for (const char* name : {"cookies.cookies.aB3xYz", "_0f.cookies.000000"})
        writeInPlace(folder / name, "half");
    for (const char* name : {"cookies.cookies.aB3xY", "cookies.cookies.aB3.Yz", "notes.aB3xYz"})
        writeInPlace(folder / name, "somebody else's");
    {
        // While another process writes, what looks like a leftover may be its file.
        const int writer = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_EQ(::flock(writer, LOCK_SH), 0);
        DiskCookieStorage storage(folder);
        EXPECT_EQ(files().size(), 6U);
        ::close(writer);
    }
    DiskCookieStorage storage(folder);
    EXPECT_THAT(files(),
        UnorderedElementsAre(
            "cookies.cookies", "cookies.cookies.aB3xY", "cookies.cookies.aB3.Yz", "notes.aB3xYz"));
    EXPECT_EQ(storage.loadData("cookies"), jarOf("a"));
}

/// LUMOKIT_KILLS says how many writers are killed.
TEST_F(DiskCookieStorageTest, IsWholeWheneverItsWriterIsKilled)
{
    const char* wanted = std::getenv("LUMOKIT_KILLS");
    const int kills = wanted ? std::atoi(wanted) : 40;
    std::minstd_rand random(76);
    Peer reader({"", "disk", folder}, "cookies-peer");
    for (int killed = 0; killed < kills; ++killed) {
        Peer writer({"", "disk", folder}, "cookies-peer");
        int acknowledged = std::atoi(writer.ask("write cookies").c_str());
        const int enough = static_cast<int>(random() % 8) + 1;
        ASSERT_TRUE(waitForOthers([&] {
            std::istringstream lines(writer.rest());
            for (std::string line; std::getline(lines, line);)
                acknowledged = std::stoi(line);
            EXPECT_THAT(reader.ask("load cookies"), testing::MatchesRegex("[0-9]+")); // whole at any time
            return acknowledged >= enough;
        }));
        writer.kill();
        std::istringstream lines(writer.rest());
        for (std::string line; std::getline(lines, line);)
            acknowledged = std::stoi(line);
        const auto answer = reader.ask("load cookies");
        ASSERT_TRUE(answer == std::to_string(acknowledged) || answer == std::to_string(acknowledged + 1))
            << answer << " of " << acknowledged;
    }
    DiskCookieStorage storage(folder);
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
}

class SecretCookieStorageTest : public DiskCookieStorageTest {
protected:
    [[nodiscard]] std::unique_ptr<Peer> host(const std::string& kind = "secret") const
    {
        return std::make_unique<Peer>(
            std::vector<std::string>{service.bus(), kind, folder.string()}, "cookies-peer");
    }

    SecretService service;
};

TEST_F(SecretCookieStorageTest, IsNotThereWithoutAService)
{
    EXPECT_EQ(host()->ask("available"), "no");
    EXPECT_THAT(host()->ask("save cookies 1"), StartsWith("ok | The secret service does not take cookies: "));
    EXPECT_THAT(host()->ask("load cookies"), StartsWith("none | The secret service does not give cookies: "));
    EXPECT_THAT(files(), IsEmpty()); // what it does not take goes nowhere else
    EXPECT_EQ(host("any")->ask("save cookies 1"), "ok");
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
}

TEST_F(SecretCookieStorageTest, IsNotThereWithoutABus)
{
    service.stopBus();
    EXPECT_EQ(host()->ask("available"), "no");
    EXPECT_EQ(host("any")->ask("save cookies 1"), "ok");
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
}

TEST_F(SecretCookieStorageTest, GivesBackWhatWasSaved)
{
    service.start();
    const auto peer = host();
    EXPECT_EQ(peer->ask("available"), "yes");
    EXPECT_EQ(peer->ask("load cookies"), "none");
    EXPECT_EQ(peer->ask("save cookies 1"), "ok");
    EXPECT_EQ(peer->ask("save me@example.com 2"), "ok");
    EXPECT_EQ(peer->ask("save ME@example.com 3"), "ok");
    EXPECT_EQ(peer->ask("save \xff\xfe 4"), "ok");
    EXPECT_EQ(peer->ask("save _ 5"), "ok");
    EXPECT_EQ(peer->ask("save " + std::string(5000, 'x') + " 6"), "ok");
    EXPECT_EQ(peer->ask("save cookies 7"), "ok");
    const auto other = host();
    EXPECT_EQ(other->ask("load cookies"), "7");
    EXPECT_EQ(other->ask("load me@example.com"), "2");
    EXPECT_EQ(other->ask("load ME@example.com"), "3");
    EXPECT_EQ(other->ask("load \xff\xfe"), "4");
    EXPECT_EQ(other->ask("load _"), "5");
    EXPECT_EQ(other->ask("load " + std::string(5000, 'x')), "6");
    EXPECT_EQ(host("any")->ask("load cookies"), "none"); // of another application
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(SecretCookieStorageTest, KeepsAnyBytes)
{
    service.start();
    const auto peer = host();
    for (const char* size : {"0", "1", "256", "500000"}) {
        EXPECT_EQ(peer->ask(std::string("bytes cookies ") + size), "ok") << size;
        EXPECT_EQ(peer->ask(std::string("same cookies ") + size), "yes") << size;
    }
    EXPECT_EQ(peer->ask("bytes cookies 5000000"),
        "ok | The secret service does not take cookies: that is more than it takes");
    EXPECT_EQ(peer->ask("same cookies 500000"), "yes");
}

TEST_F(SecretCookieStorageTest, OutlivesItsService)
{
    service.start();
    const auto peer = host();
    EXPECT_EQ(peer->ask("save cookies 1"), "ok");
    service.stop();
    EXPECT_THAT(peer->ask("save cookies 2"), StartsWith("ok | The secret service does not take cookies: "));
    service.start();
    EXPECT_EQ(host()->ask("load cookies"), "1");
    EXPECT_EQ(peer->ask("load cookies"), "1"); // also who was there before
    EXPECT_EQ(peer->ask("save cookies 3"), "ok");
    EXPECT_EQ(host()->ask("load cookies"), "3");
}

TEST_F(SecretCookieStorageTest, OutlivesItsBus)
{
    service.start();
    const auto peer = host();
    EXPECT_EQ(peer->ask("save cookies 1"), "ok");
    service.stopBus();
    EXPECT_THAT(peer->ask("save cookies 2"), StartsWith("ok | The secret service does not take cookies: "));
    EXPECT_THAT(peer->ask("load cookies"), StartsWith("none | The secret service does not give cookies: "));
    EXPECT_EQ(peer->ask("available"), "no");
}

TEST_F(SecretCookieStorageTest, AsksTheUserForNothing)
{
    service.start();
    const auto peer = host();
    EXPECT_EQ(peer->ask("save cookies 1"), "ok");
    service.lock();
    EXPECT_EQ(peer->ask("available"), "no");
    EXPECT_EQ(
        peer->ask("save cookies 2"), "ok | The secret service does not take cookies: the keyring is locked");
    EXPECT_EQ(
        peer->ask("load cookies"), "none | The secret service does not give cookies: the keyring is locked");
    service.stop();
    service.start(false);
    EXPECT_EQ(host()->ask("available"), "no");
    service.stop();
    service.start();
    EXPECT_EQ(peer->ask("load cookies"), "1");
}

/// The bus gives up after 25 seconds, later than whoever asks here.
TEST_F(SecretCookieStorageTest, DoesNotHangWithItsService)
{
    service.start();
    const auto peer = host();
    EXPECT_EQ(peer->ask("save cookies 1"), "ok");
    service.pause();
    EXPECT_EQ(peer->ask("available"), "no");
    EXPECT_EQ(peer->ask("save cookies 2"),
        "ok | The secret service does not take cookies: it does not answer in time");
    EXPECT_EQ(peer->ask("load cookies"),
        "none | The secret service does not give cookies: it does not answer in time");
    EXPECT_EQ(host("any")->ask("save cookies 3"), "ok");
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
    service.resume();
    EXPECT_TRUE(waitForOthers([&] { return peer->ask("available") == "yes"; }));
    EXPECT_EQ(peer->ask("save cookies 4"), "ok");
    EXPECT_EQ(peer->ask("load cookies"), "4");
}

TEST_F(SecretCookieStorageTest, MovesOverWhatIsOnDisk)
{
    const auto before = host();
    EXPECT_EQ(host("disk")->ask("save cookies 1"), "ok");
    EXPECT_EQ(host("disk")->ask("save other 2"), "ok");
    EXPECT_THAT(before->ask("load cookies"), StartsWith("1 | The secret service does not give cookies: "));
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies", "other.cookies"));
    service.start();
    const auto peer = host();
    EXPECT_EQ(peer->ask("load cookies"), "1");
    EXPECT_THAT(files(), UnorderedElementsAre("other.cookies"));
    EXPECT_EQ(peer->ask("load cookies"), "1");
    EXPECT_EQ(peer->ask("save other 3"), "ok"); // which is newer than what the folder has
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_EQ(host()->ask("load cookies"), "1");
    EXPECT_EQ(host()->ask("load other"), "3");
    // Saved while the service was away: newer than what the service has.
    EXPECT_EQ(host("disk")->ask("save cookies 4"), "ok");
    EXPECT_EQ(peer->ask("load cookies"), "4");
    EXPECT_THAT(files(), IsEmpty());
    // Left by an application that ended before it could remove it: older than what the service has.
    EXPECT_EQ(host("disk")->ask("save cookies 5"), "ok");
    fs::last_write_time(folder / "cookies.cookies", fs::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(peer->ask("load cookies"), "4");
    EXPECT_THAT(files(), IsEmpty());
    // What is damaged on disk does not hide what the service has.
    writeInPlace(folder / "cookies.cookies", "hello");
    EXPECT_EQ(peer->ask("load cookies"), "4 | cookies.cookies is damaged and is now cookies.damaged");
}

TEST_F(SecretCookieStorageTest, StaysOnDiskWhatTheServiceDoesNotTake)
{
    service.start();
    EXPECT_EQ(host("disk")->ask("save cookies 1"), "ok");
    const auto peer = host();
    service.lock();
    EXPECT_THAT(peer->ask("load cookies"), StartsWith("1 | The secret service does not give cookies: "));
    EXPECT_THAT(peer->ask("save cookies 2"), StartsWith("ok | The secret service does not take cookies: "));
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
    EXPECT_EQ(host("disk")->ask("load cookies"), "1");
}

TEST_F(SecretCookieStorageTest, IsChosenWhereThereIsAService)
{
    EXPECT_EQ(host("any")->ask("save cookies 1"), "ok");
    EXPECT_THAT(files(), UnorderedElementsAre("cookies.cookies"));
    service.start();
    EXPECT_EQ(host("any")->ask("load cookies"), "1");
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_EQ(host("any")->ask("save cookies 2"), "ok");
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_EQ(host("any")->ask("load cookies"), "2");
}

} // namespace
