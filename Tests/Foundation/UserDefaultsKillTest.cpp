#include "Support/PreferencesTest.h"

#include <sqlite3.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>

namespace {

using namespace LumoKit;
using LumoKit::Test::Peer;

/// A process that writes without rest, and what it has acknowledged.
struct Writer {
    explicit Writer(std::string name)
        : name(std::move(name))
    {
        begin = peer.ask("write " + this->name);
    }

    /// Takes note of what was acknowledged by now. Other lines, about trouble, are counted.
    void listen()
    {
        std::istringstream lines(begin + "\n" + peer.rest());
        begin.clear();
        for (std::string line; std::getline(lines, line);) {
            if (line.find_first_not_of("0123456789") != line.npos)
                troubles.push_back(line);
            else if (!line.empty())
                acknowledged = std::stoll(line);
        }
    }

    std::string name;
    Peer peer{{"com.example.test"}};
    std::string begin;
    std::int64_t acknowledged = 0;
    std::vector<std::string> troubles;
};

class UserDefaultsKillTest : public LumoKit::Test::PreferencesTest {
protected:
    /// The number that a writer's value has; nothing if there is no value, or not a whole one of its own.
    static std::optional<std::int64_t> numberIn(const Value& value, const std::string& writer)
    {
        const auto number = value["number"].asInteger();
        if (!number || value["writer"] != Value(writer))
            return std::nullopt;
        const std::string filling(
            static_cast<std::size_t>(*number % 997), static_cast<char>('a' + *number % 26));
        return value["filling"] == Value(filling) ? number : std::nullopt;
    }

    /// Whether everything that a writer acknowledged is there, and what it wrote after that is whole.
    static void expectComplete(UserDefaults& defaults, const Writer& writer)
    {
        for (std::int64_t number = std::max<std::int64_t>(1, writer.acknowledged - 6);
            number <= writer.acknowledged; ++number) {
            const std::string key = writer.name + "." + std::to_string(number % 7);
            const auto found = numberIn(defaults.value(key), writer.name);
            // One more may have been written without having been acknowledged, over the oldest of the seven.
            ASSERT_TRUE(found == number || found == writer.acknowledged + 1)
                << key << " of " << writer.acknowledged << ": "
                << defaults.value(key).description().substr(0, 100);
        }
    }
};

/// Four processes write one domain and are killed at any moment, while this one reads. LUMOKIT_KILLS says how many are
/// killed; every number takes the same way through the first ones.
TEST_F(UserDefaultsKillTest, LosesNothingThatWasAcknowledged)
{
    const char* wanted = std::getenv("LUMOKIT_KILLS");
    const int kills = wanted ? std::atoi(wanted) : 40;
    std::minstd_rand random(76);
    int started = 0;
    const auto start = [&started] { return std::make_unique<Writer>("writer" + std::to_string(++started)); };
    std::vector<std::unique_ptr<Writer>> writers;
    for (int number = 0; number < 4; ++number)
        writers.push_back(start());
    std::vector<std::unique_ptr<Writer>> dead;
    const auto defaults = open();
    std::int64_t reads = 0;
    while (static_cast<int>(dead.size()) < kills) {
        auto& writer = writers[random() % writers.size()];
        const std::int64_t enough = static_cast<std::int64_t>(random() % 150) + 1;
        ASSERT_TRUE(waitUntil([&] {
            for (const auto& one : writers)
                one->listen();
            // What is read meanwhile is whole, and never older than what was acknowledged.
            const auto& other = writers[random() % writers.size()];
            const std::string key = other->name + "." + std::to_string(other->acknowledged % 7);
            const auto number = numberIn(defaults->value(key), other->name);
            EXPECT_TRUE(other->acknowledged == 0 || number >= other->acknowledged) << key;
            ++reads;
            return writer->acknowledged >= enough;
        }));
        writer->peer.kill();
        writer->listen();
        expectComplete(*defaults, *writer);
        for (const auto& line :
            writer->troubles) // that they are in one another's way is all the trouble there may be
            EXPECT_THAT(line, testing::EndsWith("what is set counts from memory and is tried again"));
        dead.push_back(std::move(writer));
        writer = start();
    }
    for (auto& writer : writers) {
        writer->peer.kill();
        writer->listen();
        dead.push_back(std::move(writer));
    }
    std::int64_t acknowledged = 0;
    for (const auto& writer : dead) {
        expectComplete(*defaults, *writer);
        acknowledged += writer->acknowledged;
    }
    Peer reader({domain});
    for (const auto& writer : dead) {
        const std::string key = writer->name + "." + std::to_string(writer->acknowledged % 7);
        EXPECT_EQ(reader.ask("get " + key), defaults->value(key).description());
    }
    EXPECT_TRUE(files("damaged-").empty());
    sqlite3* connection = nullptr;
    sqlite3_open(database().c_str(), &connection);
    std::string verdict;
    sqlite3_exec(
        connection, "PRAGMA integrity_check",
        [](void* text, int, char** columns, char**) {
            *static_cast<std::string*>(text) += columns[0];
            return 0;
        },
        &verdict, nullptr);
    sqlite3_close(connection);
    EXPECT_EQ(verdict, "ok");
    std::cout << "killed " << dead.size() << ", acknowledged " << acknowledged << ", read meanwhile " << reads
              << '\n';
}

} // namespace
