// cookies-peer BUS STORAGE FOLDER: another process that keeps cookies, on the session bus of that address, with the storage
// "disk", "secret" (which moves over what is in the folder) or "any" (whichever the suite chooses). Each line that it reads is
// a command, and is answered by one line, followed by " | " and what was printed meanwhile if anything was:
//
//   available           yes or no
//   load KEY            the number of the value under a key; none, or torn if it is not a whole value
//   save KEY NUMBER     keeps a value that has a number
//   bytes KEY SIZE      keeps so many bytes, each the low byte of its place; same KEY SIZE: yes if they are there
//   limit BYTES         no file of this process gets larger, as on a disk that is full
//   write KEY           keeps one value after another until it is killed, and after each writes its number, alone in a line

#include "Support/DiskCookieStorage.h"
#include "Support/SecretCookieStorage.h"

#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

using namespace LumoKit;

namespace {

Value valueOf(std::int64_t number)
{
    const std::string filling(
        static_cast<std::size_t>(300'000 + number % 9973), static_cast<char>('a' + number % 26));
    return Value::Dictionary{{"number", number}, {"filling", filling}};
}

Data archiveOf(std::int64_t number)
{
    return NSKeyedArchiver::archivedData(valueOf(number)).value();
}

std::string numberIn(const std::optional<Data>& data)
{
    if (!data)
        return "none";
    const auto value = NSKeyedUnarchiver::unarchiveObject(*data);
    const auto number = value ? (*value)["number"].asInteger() : std::nullopt;
    return number && *value == valueOf(*number) ? std::to_string(*number) : "torn";
}

Data bytes(std::size_t size)
{
    Data made(size);
    for (std::size_t place = 0; place < size; ++place)
        made[place] = static_cast<std::byte>(place);
    return made;
}

/// Standard output, in memory: what is printed becomes part of an answer.
class Printed {
public:
    Printed() { ::dup2(file, 1); }

    std::string take()
    {
        std::string text(static_cast<std::size_t>(::lseek(file, 0, SEEK_END)), '\0');
        if (::pread(file, text.data(), text.size(), 0) < 0 || ::ftruncate(file, 0) < 0)
            std::exit(1);
        ::lseek(file, 0, SEEK_SET);
        std::string lines;
        std::istringstream all(text);
        for (std::string line; std::getline(all, line);)
            lines += " | " + line;
        return lines;
    }

private:
    const int file = ::memfd_create("printed", MFD_CLOEXEC);
};

} // namespace

int main(int, char** arguments)
{
    const int output = ::fcntl(1, F_DUPFD_CLOEXEC, 3);
    Printed printed;
    const auto answer = [&](const std::string& line) {
        const std::string text = line + printed.take() + "\n";
        if (::write(output, text.data(), text.size()) < 0)
            std::exit(1);
    };
    ::setenv("DBUS_SESSION_BUS_ADDRESS", arguments[1], 1);
    const std::string kind = arguments[2];
    const std::filesystem::path folder = arguments[3];
    std::shared_ptr<CookieJarStorage> storage;
    if (kind == "disk")
        storage = std::make_shared<LumoSuite::DiskCookieStorage>(folder);
    else if (kind == "secret")
        storage = std::make_shared<LumoSuite::SecretCookieStorage>(
            "com.example.test", std::make_shared<LumoSuite::DiskCookieStorage>(folder));
    else
        storage = LumoSuite::makeCookieStorage(folder);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string command;
        std::string key;
        std::int64_t number = 0;
        words >> command >> key >> number;
        const auto size = static_cast<std::size_t>(number);
        if (command == "available") {
            answer(LumoSuite::SecretCookieStorage::available() ? "yes" : "no");
        } else if (command == "load") {
            answer(numberIn(storage->loadData(key)));
        } else if (command == "save") {
            storage->saveData(key, archiveOf(number));
            answer("ok");
        } else if (command == "bytes") {
            storage->saveData(key, bytes(size));
            answer("ok");
        } else if (command == "same") {
            answer(storage->loadData(key) == bytes(size) ? "yes" : "no");
        } else if (command == "limit") {
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{std::stoul(key), std::stoul(key)};
            answer(::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? "ok" : "failed");
        } else if (command == "write") {
            for (number = 1;; ++number) {
                storage->saveData(key, archiveOf(number));
                answer(std::to_string(number));
            }
        }
    }
}
