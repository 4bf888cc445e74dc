#include "Foundation/GenerationCounter.h"
#include "Foundation/PreferencesDatabase.h"
#include "Support/PreferencesTest.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cmath>
#include <limits>

namespace {

using namespace LumoKit;
using namespace std::string_literals;
using LumoKit::Test::Peer;
using testing::HasSubstr;
namespace fs = std::filesystem;

class UserDefaultsTest : public LumoKit::Test::PreferencesTest {
protected:
    /// What the database holds, past everything that is kept in memory.
    std::vector<detail::PreferencesChange> rows() const
    {
        auto opened =
            detail::PreferencesDatabase::open(database(), detail::PreferencesDatabase::Access::readWrite, {});
        return opened ? (*opened)->changes(0).value() : std::vector<detail::PreferencesChange>();
    }

    Value stored(std::string_view key) const
    {
        for (const auto& row : rows())
            if (row.key == key)
                return row.value;
        return {};
    }
};

TEST_F(UserDefaultsTest, KeepsEveryTypeAsItWasSet)
{
    const auto defaults = open();
    const Value values[] = {true, false, 0, 1, std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max(), 0.0, 1.0, 0.1, 1e308,
        -std::numeric_limits<double>::infinity(), "", "text", "nul \0 nul"s, "no UTF-8 \xff",
        std::string(1'000'000, 'x'), Date(Date::duration(1e9 + 0.1)), Date(Date::duration(-0.1)), Data(),
        Data{std::byte(0), std::byte(255)}, Value(Value::Array()), Value::Dictionary(),
        Value::Dictionary{{"a", Value::Array{1, 2.0, "3", true, Date(Date::duration(5)), Data(3)}}}};
    for (const Value& value : values) {
        defaults->setValue(value, "key");
        EXPECT_EQ(defaults->value("key"), value);
        EXPECT_EQ(open()->value("key"), value);
        EXPECT_EQ(stored("key"), value);
    }
    defaults->setValue(std::nan(""), "key");
    EXPECT_TRUE(std::isnan(stored("key").asNumber().value()));
}

TEST_F(UserDefaultsTest, ReadsNullForAKeyThatIsNotThere)
{
    EXPECT_TRUE(open()->value("key").isNull());
    open()->removeObject("key");
    EXPECT_TRUE(rows().size() == 1 && !rows().front().key) << "nothing to be removed, nothing written";
}

TEST_F(UserDefaultsTest, RemovesAKeyByNullOrByName)
{
    const auto defaults = open();
    defaults->setValue(1, "one");
    defaults->setValue(2, "two");
    defaults->setValue(nullptr, "one");
    defaults->removeObject("two");
    EXPECT_TRUE(defaults->value("one").isNull());
    EXPECT_TRUE(defaults->value("two").isNull());
    EXPECT_TRUE(stored("one").isNull());
    EXPECT_TRUE(defaults->dictionaryRepresentation().empty());
    defaults->setValue(3, "one");
    EXPECT_EQ(stored("one"), Value(3));
}

TEST_F(UserDefaultsTest, TakesAnyTextAsAKey)
{
    for (const std::string& key : {""s, "a\0b"s, "\xff\xfe"s, std::string(100'000, 'k'), "' OR 1=1; --"s}) {
        open()->setValue(key.size(), key);
        EXPECT_EQ(stored(key), Value(key.size()));
        EXPECT_EQ(open()->value(key), Value(key.size()));
    }
    EXPECT_TRUE(open()->value("a").isNull());
}

TEST_F(UserDefaultsTest, ListsAllKeys)
{
    open()->setValue(1, "one");
    open()->setValue("2", "two");
    open()->setValue(3, "three");
    open()->removeObject("three");
    EXPECT_EQ(open()->dictionaryRepresentation(), (Value::Dictionary{{"one", 1}, {"two", "2"}}));
}

TEST_F(UserDefaultsTest, KeepsOneRowAKeyHoweverOftenItIsSetAndRemoved)
{
    const auto defaults = open();
    for (int round = 0; round < 100; ++round) {
        defaults->setValue(round, "key");
        if (round % 3 == 0)
            defaults->removeObject("key");
    }
    EXPECT_EQ(rows().size(), 2u) << "the key's, and the one with which a database begins";
}

TEST_F(UserDefaultsTest, KeepsDomainsApart)
{
    const auto other = UserDefaults::create("com.example.other");
    open()->setValue("ours", "key");
    other->setValue("theirs", "key");
    EXPECT_EQ(open()->value("key"), Value("ours"));
    UserDefaults::removePersistentDomain("com.example.other");
    EXPECT_TRUE(other->value("key").isNull());
    EXPECT_EQ(open()->value("key"), Value("ours"));
}

TEST_F(UserDefaultsTest, RemovesAWholeDomain)
{
    const auto defaults = open();
    for (int number = 0; number < 100; ++number)
        defaults->setValue(number, std::to_string(number));
    Peer peer({domain});
    EXPECT_EQ(peer.ask("get 7"), "7");
    UserDefaults::removePersistentDomain(domain);
    EXPECT_TRUE(defaults->dictionaryRepresentation().empty());
    EXPECT_EQ(peer.ask("get 7"), "null");
    EXPECT_EQ(rows().size(), 1u);
    defaults->setValue(1, "new");
    EXPECT_EQ(peer.ask("get new"), "1");
    peer.ask("removeAll");
    EXPECT_TRUE(defaults->value("new").isNull());
    UserDefaults::removePersistentDomain(""); // and of what is none, nothing
}

TEST_F(UserDefaultsTest, ShowsWhatAnotherProcessHasSetAtTheNextRead)
{
    const auto defaults = open();
    Peer peer({domain});
    for (int round = 0; round < 200; ++round) {
        const std::string number = std::to_string(round);
        ASSERT_EQ(peer.ask("set theirs " + number), "ok");
        ASSERT_EQ(defaults->value("theirs"), Value(round));
        defaults->setValue(round, "ours");
        ASSERT_EQ(peer.ask("get ours"), number);
        ASSERT_EQ(peer.ask("set both \"peer " + number + "\""), "ok");
        defaults->setValue("host " + number, "both");
        ASSERT_EQ(peer.ask("get both"), "host " + number);
    }
    ASSERT_EQ(peer.ask("remove theirs"), "ok");
    EXPECT_TRUE(defaults->value("theirs").isNull());
}

TEST_F(UserDefaultsTest, KeepsWhatWasSetAnInstantBeforeTheProcessWasKilled)
{
    for (int round = 0; round < 20; ++round) {
        Peer peer({domain});
        ASSERT_EQ(peer.ask("set key " + std::to_string(round)), "ok");
        peer.kill();
        ASSERT_EQ(open()->value("key"), Value(round));
    }
}

TEST_F(UserDefaultsTest, HasNoDomainWithoutANameOrAFolder)
{
    EXPECT_EQ(UserDefaults::create(""), nullptr);
    EXPECT_EQ(UserDefaults::create("a\0b"s), nullptr);
    EXPECT_EQ(UserDefaults::create(std::string(256, 'a')), nullptr);
    EXPECT_NE(UserDefaults::create(std::string(255, 'a')), nullptr);
    EXPECT_EQ(UserDefaults::create(std::string(86, '/')), nullptr) << "three times as long, encoded";
    ::setenv("XDG_CONFIG_HOME", "relative", 1);
    ::setenv("HOME", configuration.path.c_str(), 1);
    open()->setValue(1, "key");
    EXPECT_TRUE(fs::exists(configuration / ".config/lumokit/preferences/com.example.test/preferences.db"));
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    EXPECT_EQ(open(), nullptr);
    testing::internal::CaptureStdout();
    const auto standard = UserDefaults::standard();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("there is no folder"));
    standard->setValue(1, "key");
    EXPECT_EQ(UserDefaults::standard()->value("key"), Value(1)) << "as long as the program";
    EXPECT_FALSE(standard->synchronize());
}

TEST_F(UserDefaultsTest, StaysInItsFolderWhateverADomainIsCalled)
{
    const std::string names[] = {
        "..", ".", "../escape", "/etc/escape", "a/b", "a%2Fb", "ä b", "a\nb", "~", "-", ".hidden"};
    for (const std::string& name : names)
        UserDefaults::create(name)->setValue(name, "name");
    for (const std::string& name : names)
        EXPECT_EQ(UserDefaults::create(name)->value("name"), Value(name));
    std::set<std::string> folders;
    for (const auto& entry : fs::directory_iterator(configuration / "lumokit/preferences"))
        folders.insert(entry.path().filename());
    EXPECT_EQ(folders,
        (std::set<std::string>{"%2E.", "%2E", "%2E.%2Fescape", "%2Fetc%2Fescape", "a%2Fb", "a%252Fb",
            "%C3%A4%20b", "a%0Ab", "%7E", "-", "%2Ehidden"}));
    EXPECT_EQ(std::distance(fs::directory_iterator(configuration.path), fs::directory_iterator()), 1);
}

TEST_F(UserDefaultsTest, KeepsItsFilesToTheUser)
{
    ::umask(0);
    open()->setValue(1, "key");
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(configuration.path)) {
        EXPECT_EQ(entry.status().permissions(), fs::perms(entry.is_directory() ? 0700 : 0600))
            << entry.path();
        ++count;
    }
    EXPECT_EQ(count, 7) << "three folders, the database with its two companions, and the counter";
}

TEST_F(UserDefaultsTest, IsNamedAfterTheExecutableOutsideOfABundle)
{
    UserDefaults::standard()->setValue(1, "key");
    EXPECT_TRUE(fs::exists(configuration / "lumokit/preferences/preferences-tests/preferences.db"));
}

TEST_F(UserDefaultsTest, RefusesWhatIsNoPropertyList)
{
    const auto defaults = open();
    defaults->setValue("old", "key");
    Value tangle = 1;
    for (int level = 0; level < 60; ++level)
        tangle = Value(Value::Array{tangle, tangle});
    for (const Value& value :
        {Value(*URL::parse("https://example.com")), Value(Value::Array{1, nullptr}), tangle}) {
        testing::internal::CaptureStdout();
        defaults->setValue(value, "key");
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "preferences: what was to be set for \"key\" is no property list\n");
        EXPECT_EQ(defaults->value("key"), Value("old"));
    }
}

TEST_F(UserDefaultsTest, MissesNothingWhenAWriterDiedBeforeItCommitted)
{
    const auto defaults = open();
    Peer peer({domain});
    defaults->setValue("before", "key");
    ASSERT_EQ(peer.ask("get key"), "before");
    // What a writer leaves that announces its change and dies.
    const auto counter = detail::GenerationCounter::open(folder() / "generation");
    const auto announced = counter->load() + 1;
    counter->store(announced);
    EXPECT_EQ(defaults->value("key"), Value("before"));
    EXPECT_EQ(counter->load(), announced - 1) << "set right, so that reading is fast again";
    counter->store(announced);
    ASSERT_EQ(peer.ask("set key \"after\""), "ok");
    EXPECT_EQ(defaults->value("key"), Value("after"));
}

TEST_F(UserDefaultsTest, MissesNothingWhateverTheCounterSays)
{
    const auto defaults = open();
    Peer peer({domain});
    for (const std::int64_t number : {std::int64_t(0), std::int64_t(-1), std::int64_t(12345),
             std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        ASSERT_EQ(peer.ask("get key"), defaults->value("key").description());
        detail::GenerationCounter::open(folder() / "generation")->store(number);
        ASSERT_EQ(peer.ask("set key " + std::to_string(number)), "ok");
        EXPECT_EQ(defaults->value("key"), Value(number));
        defaults->setValue("ours", "key");
        EXPECT_EQ(peer.ask("get key"), "ours");
    }
}

TEST_F(UserDefaultsTest, DoesWithoutACounter)
{
    fs::create_directories(folder() / "generation"); // in its place
    const auto defaults = open();
    Peer peer({domain});
    ASSERT_EQ(peer.ask("set key 1"), "ok");
    EXPECT_EQ(defaults->value("key"), Value(1));
    defaults->setValue(2, "key");
    EXPECT_EQ(peer.ask("get key"), "2");
}

TEST_F(UserDefaultsTest, StartsAgainWhenItsFolderWasDeleted)
{
    const auto defaults = open();
    defaults->setValue("old", "key");
    fs::remove_all(folder());
    ASSERT_TRUE(waitUntil([&] {
        defaults->setValue("new", "key");
        return fs::exists(database());
    }));
    EXPECT_EQ(Peer({domain}).ask("get key"), "new");
    EXPECT_EQ(defaults->value("key"), Value("new"));
}

TEST_F(UserDefaultsTest, KeepsItsLogShort)
{
    const auto defaults = open();
    for (int number = 0; number < 20'000; ++number)
        defaults->setValue(number, "key");
    EXPECT_LT(fs::file_size(database().string() + "-wal"), 30'000'000u)
        << "of 82 million bytes that were written";
    EXPECT_EQ(stored("key"), Value(19'999));
}

TEST_F(UserDefaultsTest, HoldsTenThousandKeys)
{
    const auto defaults = open();
    for (int number = 0; number < 10'000; ++number)
        defaults->setValue(number, "key " + std::to_string(number));
    EXPECT_EQ(open()->dictionaryRepresentation().size(), 10'000u);
    EXPECT_EQ(rows().size(), 10'001u);
    EXPECT_EQ(stored("key 4711"), Value(4711));
}

TEST_F(UserDefaultsTest, ServesSeveralThreads)
{
    constexpr int rounds = 300;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([thread] {
            const auto defaults = open();
            for (int round = 0; round < rounds; ++round) {
                defaults->setValue(round, std::to_string(thread));
                ASSERT_EQ(defaults->value(std::to_string(thread)), Value(round));
                ASSERT_LE(defaults->dictionaryRepresentation().size(), 4u);
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (int thread = 0; thread < 4; ++thread)
        EXPECT_EQ(stored(std::to_string(thread)), Value(rounds - 1));
}

} // namespace
