#include "Foundation/PreferencesDatabase.h"
#include "Support/PreferencesTest.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>

namespace {

using namespace LumoKit;
using LumoKit::Test::Peer;
using LumoKit::Test::writeInPlace;
using testing::AllOf;
using testing::HasSubstr;
namespace fs = std::filesystem;

/// A domain whose database has something wrong with it. Its rows are written by another process, so that nothing of
/// them is in this one's memory.
class UserDefaultsFaultsTest : public LumoKit::Test::PreferencesTest {
protected:
    void keep(const std::string& key, const std::string& json) const
    {
        Peer peer({domain});
        ASSERT_EQ(peer.ask("set " + key + " " + json), "ok");
    }

    /// Changes the database by other means than ours.
    void sql(const std::string& statements) const
    {
        sqlite3* connection = nullptr;
        sqlite3_open(database().c_str(), &connection);
        char* error = nullptr;
        EXPECT_EQ(sqlite3_exec(connection, statements.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
        sqlite3_close(connection);
    }

    static std::string bytesOf(const fs::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// Runs `use` and gives what was printed meanwhile.
    static std::string printed(const std::function<void()>& use)
    {
        testing::internal::CaptureStdout();
        use();
        return testing::internal::GetCapturedStdout();
    }

    static auto oneLine(const std::string& reason)
    {
        return AllOf(HasSubstr(reason),
            testing::ResultOf([](const std::string& text) { return std::ranges::count(text, '\n'); }, 1));
    }

    /// What there must be after a database was found unusable: one line that gives the reason, the file as it was under
    /// another name, and a database that works.
    void expectMovedAside(const std::string& reason)
    {
        const std::string before = fs::is_regular_file(database()) ? bytesOf(database()) : "";
        const auto defaults = open();
        EXPECT_THAT(printed([&] { EXPECT_TRUE(defaults->value("missing").isNull()); }), oneLine(reason));
        const auto aside = files("damaged-");
        ASSERT_FALSE(aside.empty());
        bool kept = false;
        for (const auto& file : aside)
            kept = kept || fs::is_directory(file) || bytesOf(file) == before;
        EXPECT_TRUE(kept) << "as it was";
        defaults->setValue("new", "key");
        EXPECT_EQ(Peer({domain}).ask("get key"), "new");
        EXPECT_EQ(printed([] { static_cast<void>(open()->value("key")); }), "") << "once";
    }
};

/// Takes from root what others do not have either: to read and write where permissions say otherwise.
void actAsAnyUser()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2]{};
    ASSERT_EQ(::syscall(SYS_capget, &header, sets), 0);
    sets[0].effective &= ~(1u << CAP_DAC_OVERRIDE | 1u << CAP_DAC_READ_SEARCH);
    ASSERT_EQ(::syscall(SYS_capset, &header, sets), 0);
}

TEST_F(UserDefaultsFaultsTest, MovesAsideWhatIsNoDatabase)
{
    fs::create_directories(folder());
    std::string noise(20'000, '\0');
    std::minstd_rand random(7);
    for (char& byte : noise)
        byte = static_cast<char>(random());
    writeInPlace(database(), noise);
    expectMovedAside("file is not a database");
}

TEST_F(UserDefaultsFaultsTest, MovesAsideAnEmptyFile)
{
    fs::create_directories(folder());
    writeInPlace(database(), "");
    expectMovedAside("the file is empty");
}

TEST_F(UserDefaultsFaultsTest, MovesAsideWhatIsNoFile)
{
    fs::create_directories(database() / "inside");
    expectMovedAside("it is no file");
    EXPECT_TRUE(fs::exists(files("damaged-").front() / "inside"));
}

TEST_F(UserDefaultsFaultsTest, MovesAsideTheDatabaseOfAnotherApplication)
{
    fs::create_directories(folder());
    sql("CREATE TABLE recipes(name TEXT); INSERT INTO recipes VALUES('bread')");
    expectMovedAside("belongs to another application");
}

TEST_F(UserDefaultsFaultsTest, MovesAsideADatabaseThatHasMoreInItThanOurTable)
{
    keep("kept", "\"value\"");
    sql("CREATE TRIGGER evil AFTER INSERT ON change BEGIN DELETE FROM change; END");
    expectMovedAside("laid out in another way; it was moved aside, and 1 values were kept");
    EXPECT_EQ(Peer({domain}).ask("get kept"), "value");
}

TEST_F(UserDefaultsFaultsTest, MovesAsideADatabaseWithoutATable)
{
    keep("key", "\"old\"");
    sql("DROP TABLE change");
    expectMovedAside("the file has no table");
}

TEST_F(UserDefaultsFaultsTest, KeepsTheValuesOfADatabaseThatCountsInAnotherWay)
{
    keep("kept", "\"value\"");
    sql("UPDATE change SET generation = 9223372036854775807 WHERE key = 'kept'");
    EXPECT_THAT(printed([&] { EXPECT_EQ(open()->value("kept"), Value("value")); }),
        oneLine("counts its changes in another way; it was moved aside, and 1 values were kept"));
    open()->setValue(1, "new");
    EXPECT_EQ(Peer({domain}).ask("get kept"), "value");
}

TEST_F(UserDefaultsFaultsTest, MovesAsideADatabaseThatWasCutOff)
{
    keep("key", "\"" + std::string(50'000, 'x') + "\"");
    sql("PRAGMA wal_checkpoint(TRUNCATE)");
    fs::resize_file(database(), 10'000);
    expectMovedAside("malformed");
}

TEST_F(UserDefaultsFaultsTest, KeepsWhatCanBeReadOfADamagedDatabase)
{
    {
        Peer peer({domain});
        for (int number = 0; number < 1000; ++number)
            ASSERT_EQ(peer.ask("set key" + std::to_string(number) + " " + std::to_string(number)), "ok");
    }
    sql("PRAGMA wal_checkpoint(TRUNCATE)");
    const auto size = fs::file_size(database());
    {
        std::fstream file(database(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(size / 4096 / 2 * 4096));
        file << std::string(4096, '\xaa');
    }
    Value::Dictionary values;
    EXPECT_THAT(printed([&] { values = open()->dictionaryRepresentation(); }), oneLine("malformed"));
    EXPECT_GT(values.size(), 800u);
    EXPECT_LT(values.size(), 1000u);
    for (const auto& [key, value] : values)
        EXPECT_EQ(key, "key" + value.description());
    EXPECT_TRUE(values.contains("key0") && values.contains("key999")) << "from both ends";
    EXPECT_EQ(Peer({domain}).ask("get key999"), "999");
}

TEST_F(UserDefaultsFaultsTest, KeepsEverythingThatItKnowsWhenTheDatabaseIsDamagedMeanwhile)
{
    const auto defaults = open();
    for (int number = 0; number < 1000; ++number)
        defaults->setValue(number, "key" + std::to_string(number));
    Peer peer({domain});
    ASSERT_EQ(peer.ask("get key5"), "5");
    sql("PRAGMA wal_checkpoint(TRUNCATE)");
    {
        std::fstream file(database(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096);
        file << std::string(static_cast<std::size_t>(fs::file_size(database())) - 4096, '\xaa');
    }
    // Others notice when they write, and so do we.
    std::string lines;
    for (int number = 0; number < 1000 && lines.empty(); ++number)
        lines = printed([&] { defaults->setValue("new", "key" + std::to_string(number)); });
    EXPECT_THAT(lines, oneLine("it was moved aside"));
    EXPECT_EQ(defaults->dictionaryRepresentation().size(), 1000u);
    EXPECT_EQ(Peer({domain}).ask("get key999"), "999");
    EXPECT_EQ(Peer({domain}).ask("get key0"), "new");
    EXPECT_EQ(peer.ask("get key0"), "new") << "also for who had the old one open";
}

TEST_F(UserDefaultsFaultsTest, TakesNoLogForItsOwnThatWasLeftAlone)
{
    keep("key", "\"old\"");
    fs::copy_file(database().string() + "-wal", configuration / "log");
    fs::remove_all(folder());
    fs::create_directories(folder());
    fs::copy_file(configuration / "log", database().string() + "-wal");
    EXPECT_EQ(printed([] { EXPECT_TRUE(open()->value("key").isNull()); }), "");
    EXPECT_EQ(files("damaged-").size(), 1u) << "kept, as everything is";
    open()->setValue(1, "key");
    EXPECT_EQ(Peer({domain}).ask("get key"), "1");
}

TEST_F(UserDefaultsFaultsTest, ReadsNothingFromRowsThatHoldSomethingElse)
{
    keep("array", "[1]");
    keep("text", "\"text\"");
    keep("kept", "\"kept\"");
    keep("integer", "1");
    keep("boolean", "true");
    keep("number", "1.5");
    sql("UPDATE change SET value = x'c1c1c1' WHERE key = 'array';"
        "UPDATE change SET value = x'ff' WHERE key = 'text';"
        "UPDATE change SET value = 'one' WHERE key = 'integer';"
        "UPDATE change SET value = 2 WHERE key = 'boolean';"
        "UPDATE change SET type = 'colour' WHERE key = 'number';"
        "INSERT INTO change VALUES(900, NULL, 'text', 'nobody''s');"
        "INSERT INTO change VALUES(901, 'dictionary', 'dictionary', x'9101');"
        "INSERT INTO change VALUES(902, x'6b6579', 'text', 'a key of bytes');"
        "INSERT INTO change VALUES(-5, 'early', 'text', 'before the beginning')");
    EXPECT_EQ(printed([] {
        Value::Dictionary values = open()->dictionaryRepresentation();
        EXPECT_EQ(values["kept"], Value("kept"));
        for (const char* key : {"array", "text", "integer", "boolean", "number", "dictionary", "early"})
            EXPECT_FALSE(values.contains(key) && !values[key].isNull()) << key;
    }),
        "");
    open()->setValue(1, "array");
    EXPECT_EQ(Peer({domain}).ask("get array"), "1");
}

TEST_F(UserDefaultsFaultsTest, ReadsWhatNobodyMayWrite)
{
    keep("key", "\"old\"");
    sql("PRAGMA wal_checkpoint(TRUNCATE)");
    fs::remove(folder() / "generation");
    actAsAnyUser();
    fs::permissions(database(), fs::perms::owner_read);
    fs::permissions(folder(), fs::perms::owner_read | fs::perms::owner_exec);
    const auto defaults = open();
    EXPECT_EQ(printed([&] { EXPECT_EQ(defaults->value("key"), Value("old")); }), "");
    EXPECT_THAT(printed([&] { defaults->setValue("new", "key"); }), oneLine("counts from memory"));
    EXPECT_EQ(defaults->value("key"), Value("new"));
    EXPECT_FALSE(defaults->synchronize());
    // When it can be written again, it is.
    fs::permissions(folder(), fs::perms::owner_all);
    fs::permissions(database(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(waitUntil([&] { return Peer({domain}).ask("get key") == "new"; })) << "by itself";
}

TEST_F(UserDefaultsFaultsTest, LastsAsLongAsTheProgramWhereNothingCanBeMade)
{
    writeInPlace(configuration / "lumokit", "in the way");
    const auto defaults = open();
    EXPECT_THAT(
        printed([&] { EXPECT_TRUE(defaults->value("key").isNull()); }), oneLine("counts from memory"));
    EXPECT_EQ(printed([&] { defaults->setValue(1, "key"); }), "");
    EXPECT_EQ(defaults->value("key"), Value(1));
    fs::remove(configuration / "lumokit");
    EXPECT_TRUE(waitUntil([&] { return defaults->synchronize(); }));
    EXPECT_EQ(Peer({domain}).ask("get key"), "1");
}

TEST_F(UserDefaultsFaultsTest, GoesOnWhileAnotherProcessHoldsTheDatabase)
{
    const auto defaults = open();
    defaults->setValue("old", "key");
    Peer stuck({domain});
    ASSERT_EQ(stuck.ask("hold"), "ok");
    // Each of these comes back while the other holds on, and all together print one line.
    EXPECT_THAT(printed([&] {
        for (int number = 0; number < 1000; ++number) {
            defaults->setValue(number, "key");
            EXPECT_EQ(defaults->value("key"), Value(number));
        }
        defaults->removeObject("gone");
        EXPECT_FALSE(defaults->synchronize());
    }),
        oneLine("database is locked; what is set counts from memory"));
    EXPECT_EQ(Peer({domain}).ask("get key"), "old");
    ASSERT_EQ(stuck.ask("release"), "ok");
    EXPECT_TRUE(waitUntil([&] { return stuck.ask("get key") == "999"; })) << "by itself";
    EXPECT_EQ(printed([&] { defaults->setValue("new", "key"); }), "");
    EXPECT_EQ(stuck.ask("get key"), "new");
}

TEST_F(UserDefaultsFaultsTest, RemovesADomainWhenItsDatabaseIsFreeAgain)
{
    const auto defaults = open();
    defaults->setValue("old", "key");
    defaults->setValue("old", "other");
    Peer stuck({domain});
    ASSERT_EQ(stuck.ask("hold"), "ok");
    printed([&] {
        UserDefaults::removePersistentDomain(domain);
        defaults->setValue("new", "key");
    });
    EXPECT_EQ(defaults->dictionaryRepresentation(), (Value::Dictionary{{"key", "new"}}));
    ASSERT_EQ(stuck.ask("release"), "ok");
    EXPECT_TRUE(waitUntil([&] { return stuck.ask("get key") == "new"; }));
    EXPECT_EQ(stuck.ask("get other"), "null");
    EXPECT_EQ(defaults->dictionaryRepresentation(), (Value::Dictionary{{"key", "new"}}));
}

TEST_F(UserDefaultsFaultsTest, GoesOnWhileAnotherProcessKeepsEverybodyOut)
{
    keep("key", "\"old\"");
    Peer stuck({domain});
    ASSERT_EQ(stuck.ask("exclusive"), "ok");
    const auto defaults = open();
    EXPECT_THAT(printed([&] {
        EXPECT_TRUE(defaults->value("key").isNull());
        defaults->setValue("new", "other");
        EXPECT_EQ(defaults->value("other"), Value("new"));
    }),
        oneLine("database is locked"));
    ASSERT_EQ(stuck.ask("release"), "ok");
    EXPECT_TRUE(waitUntil([&] { return defaults->value("key") == Value("old"); }));
    EXPECT_TRUE(waitUntil([&] { return Peer({domain}).ask("get other") == "new"; }));
}

TEST_F(UserDefaultsFaultsTest, GoesOnWhileAnotherProcessIsStuckOpening)
{
    keep("key", "\"old\"");
    Peer stuck({domain});
    ASSERT_EQ(stuck.ask("open"), "ok");
    const auto defaults = open();
    EXPECT_THAT(printed([&] { EXPECT_TRUE(defaults->value("key").isNull()); }),
        oneLine("another process is opening it"));
    stuck.kill();
    EXPECT_TRUE(waitUntil([&] { return defaults->value("key") == Value("old"); }));
}

TEST_F(UserDefaultsFaultsTest, GoesOnWhenAFileMayNotGrow)
{
    const auto defaults = open();
    defaults->setValue("old", "key");
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{16'384, limit.rlim_max};
    std::string lines;
    {
        testing::internal::CaptureStdout(); // into a file, which is to grow
        ::setrlimit(RLIMIT_FSIZE, &small);
        for (int number = 0; number < 20; ++number)
            defaults->setValue(number, "key");
        ::setrlimit(RLIMIT_FSIZE, &limit);
        lines = testing::internal::GetCapturedStdout();
    }
    EXPECT_THAT(lines, oneLine("counts from memory"));
    EXPECT_EQ(defaults->value("key"), Value(19));
    EXPECT_TRUE(waitUntil([] { return Peer({domain}).ask("get key") == "19"; }));
    EXPECT_TRUE(files("damaged-").empty());
}

TEST_F(UserDefaultsFaultsTest, GoesOnWhenTheDiskIsFull)
{
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || ::mount("tmpfs", configuration.path.c_str(), "tmpfs", 0, "size=512k,mode=700") != 0)
        GTEST_SKIP() << "no disk can be made here; a limit of the files' sizes stands for it in another test";
    const auto defaults = open();
    defaults->setValue("old", "key");
    EXPECT_THAT(printed([&] {
        for (int number = 0; number < 100; ++number)
            defaults->setValue(std::string(10'000, 'x'), "key" + std::to_string(number));
    }),
        oneLine("full"));
    EXPECT_EQ(defaults->dictionaryRepresentation().size(), 101u);
    EXPECT_EQ(defaults->value("key"), Value("old"));
    ASSERT_EQ(::mount("tmpfs", configuration.path.c_str(), "tmpfs", MS_REMOUNT, "size=64m"), 0);
    EXPECT_TRUE(waitUntil([&] { return defaults->synchronize(); }));
    EXPECT_EQ(Peer({domain}).ask("get key99").size(), 10'000u);
    EXPECT_TRUE(files("damaged-").empty());
    ::umount2(configuration.path.c_str(), MNT_DETACH);
}

TEST_F(UserDefaultsFaultsTest, SavesAtTheEndOfTheProcessWhatCouldNotBeSavedBefore)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const auto defaults = open();
        defaults->setValue("old", "key");
        Peer stuck({domain});
        stuck.ask("hold");
        printed([&] { defaults->setValue("new", "key"); });
        stuck.kill();
        std::exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(Peer({domain}).ask("get key"), "new");
}

} // namespace
