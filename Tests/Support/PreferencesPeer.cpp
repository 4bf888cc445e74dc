// preferences-peer DOMAIN: another process that uses a preferences domain. Each line that it reads is a command, and is
// answered by one line:
//
//   get KEY           the value's description
//   set KEY JSON      sets a value
//   remove KEY        removes it
//   removeAll         removes every key
//   hold              takes the database's write lock by itself, as a process does that got stuck; release
//   exclusive         keeps everybody else out of the database; release
//   open              takes the lock under which a database is opened and made; until it ends
//   write WRITER      writes one value after another until it is killed, and after each that lasts its number, alone in
//                     a line: dictionaries with "number", "writer" and "filling", under "WRITER.0" to "WRITER.6"

#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Foundation/UserDefaults.h>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

using namespace LumoKit;

namespace {

void answer(const std::string& line)
{
    const std::string bytes = line + "\n";
    if (::write(1, bytes.data(), bytes.size()) < 0) // at once, also if it is killed after that
        std::exit(1);
}

[[noreturn]] void writeForever(UserDefaults& defaults, const std::string& writer)
{
    for (std::int64_t number = 1;; ++number) {
        const std::string filling(
            static_cast<std::size_t>(number % 997), static_cast<char>('a' + number % 26));
        defaults.setValue(Value::Dictionary{{"number", number}, {"writer", writer}, {"filling", filling}},
            writer + "." + std::to_string(number % 7));
        while (!defaults.synchronize()) { } // at once, unless others held the database for too long
        answer(std::to_string(number));
    }
}

} // namespace

int main(int, char** arguments)
{
    const std::string domain = arguments[1];
    const std::string folder = std::string(std::getenv("XDG_CONFIG_HOME")) + "/lumokit/preferences/" + domain;
    const auto defaults = UserDefaults::create(domain);
    sqlite3* database = nullptr;
    const auto run = [&](const char* sql) {
        if (!database)
            sqlite3_open((folder + "/preferences.db").c_str(), &database);
        return std::string(
            sqlite3_exec(database, sql, nullptr, nullptr, nullptr) == SQLITE_OK ? "ok" : "failed");
    };
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string command;
        std::string key;
        words >> command >> key;
        if (command == "get") {
            answer(defaults->value(key).description());
        } else if (command == "set") {
            std::string text;
            std::getline(words, text);
            defaults->setValue(readJSON(text).value_or(nullptr), key);
            answer("ok");
        } else if (command == "remove") {
            defaults->removeObject(key);
            answer("ok");
        } else if (command == "removeAll") {
            UserDefaults::removePersistentDomain(domain);
            answer("ok");
        } else if (command == "hold") {
            answer(run("BEGIN IMMEDIATE"));
        } else if (command == "exclusive") {
            answer(run("PRAGMA locking_mode = EXCLUSIVE; BEGIN IMMEDIATE; SELECT * FROM change"));
        } else if (command == "release") {
            answer(run("ROLLBACK"));
            sqlite3_close(database);
            database = nullptr;
        } else if (command == "open") {
            const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
            answer(::flock(handle, LOCK_EX) == 0 ? "ok" : "failed");
        } else if (command == "write") {
            writeForever(*defaults, key);
        }
    }
}
