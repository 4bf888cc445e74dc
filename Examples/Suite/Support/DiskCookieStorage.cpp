#include "Support/DiskCookieStorage.h"

#include "Keyring/EntryName.h"

#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <expected>
#include <string_view>
#include <utility>

namespace LumoSuite {

using namespace LumoKit;
namespace fs = std::filesystem;

namespace {

/// What an archive has at most. More is not read, as it would only cost memory.
constexpr std::size_t maximumSize = std::size_t{64} << 20;

constexpr std::string_view extension = ".cookies";

class Descriptor {
public:
    explicit Descriptor(int number)
        : number(number)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }

    const int number;
};

/// The folder's lock. Writers share it; who holds it alone knows that nobody writes.
Descriptor lock(const fs::path& folder, int how)
{
    const int number = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (number >= 0 && ::flock(number, how) < 0) {
        ::close(number);
        return Descriptor(-1);
    }
    return Descriptor(number);
}

void makePrivateFolder(const fs::path& folder)
{
    std::error_code ignored;
    fs::path made;
    for (const fs::path& part : folder) {
        made /= part;
        if (!fs::exists(made, ignored))
            ::mkdir(made.c_str(), 0700);
    }
}

/// Whether a file of this name was to replace an entry: "NAME.cookies." and the six characters of a temporary file.
bool isTemporary(std::string_view name)
{
    constexpr std::size_t random = 6;
    if (name.size() <= random || name[name.size() - random - 1] != '.')
        return false;
    const auto isAlphanumeric = [](char character) {
        return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z')
            || (character >= 'A' && character <= 'Z');
    };
    return std::ranges::all_of(name.substr(name.size() - random), isAlphanumeric)
        && name.substr(0, name.size() - random - 1).ends_with(extension);
}

/// Removes the files of processes that were killed while they wrote.
void removeLeftovers(const fs::path& folder)
{
    const auto alone = lock(folder, LOCK_EX | LOCK_NB);
    if (alone.number < 0)
        return; // somebody writes; the next one who starts will see to it
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
        entry.increment(error))
        if (isTemporary(entry->path().filename().native()))
            ::unlink(entry->path().c_str());
}

/// The bytes of a file that was opened, or the number of the error; EFBIG for what is too large, EINVAL for what is
/// no file.
std::expected<Data, int> readAll(int descriptor)
{
    struct stat status{};
    if (::fstat(descriptor, &status) < 0)
        return std::unexpected(errno);
    if (!S_ISREG(status.st_mode))
        return std::unexpected(EINVAL);
    if (status.st_size > static_cast<off_t>(maximumSize))
        return std::unexpected(EFBIG);
    Data data(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < data.size()) {
        const auto got = ::read(descriptor, data.data() + length, data.size() - length);
        if (got < 0 && errno != EINTR)
            return std::unexpected(errno);
        if (got == 0)
            break;
        if (got > 0)
            length += static_cast<std::size_t>(got);
    }
    data.resize(length);
    return data;
}

void complain(const fs::path& file, const std::string& what)
{
    print(file.filename().string() + " " + what);
}

} // namespace

DiskCookieStorage::DiskCookieStorage(fs::path folder)
    : folder(std::move(folder))
{
    makePrivateFolder(this->folder);
    removeLeftovers(this->folder);
}

fs::path DiskCookieStorage::file(const std::string& key) const
{
    return folder / (entryName(key) + std::string(extension));
}

std::optional<Data> DiskCookieStorage::loadData(const std::string& key)
{
    const std::lock_guard guard(mutex);
    const fs::path entry = file(key);
    // Without waiting for a pipe's writer.
    const Descriptor opened(::open(entry.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    auto data = opened.number >= 0 ? readAll(opened.number) : std::unexpected(errno);
    if (data && NSKeyedUnarchiver::unarchiveObject(*data))
        return *std::move(data);
    const int code = data ? 0 : data.error();
    if (code == 0)
        moveAside(entry, "is damaged");
    else if (code == EFBIG)
        moveAside(entry, "is too large");
    else if (code == EINVAL || code == ELOOP || code == ENXIO) // the last is a socket's
        moveAside(entry, "is no file");
    else if (code != ENOENT)
        complain(entry, std::string("cannot be read: ") + std::strerror(code));
    return std::nullopt;
}

void DiskCookieStorage::saveData(const std::string& key, const Data& data)
{
    const std::lock_guard guard(mutex);
    const fs::path entry = file(key);
    if (data.size() > maximumSize) {
        complain(entry, "is not saved: it would be too large to be read");
        return;
    }
    makePrivateFolder(folder);
    const auto shared = lock(folder, LOCK_SH);
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (const auto written = writeFile(entry, bytes); !written)
        complain(entry, std::string("is not saved: ") + std::strerror(written.error().code));
}

void DiskCookieStorage::removeData(const std::string& key)
{
    const std::lock_guard guard(mutex);
    const fs::path entry = file(key);
    if (::unlink(entry.c_str()) < 0 && errno != ENOENT)
        complain(entry, std::string("cannot be removed: ") + std::strerror(errno));
}

std::optional<std::chrono::sys_seconds> DiskCookieStorage::saved(const std::string& key) const
{
    struct stat status{};
    if (::lstat(file(key).c_str(), &status) < 0)
        return std::nullopt;
    return std::chrono::sys_seconds(std::chrono::seconds(status.st_mtim.tv_sec));
}

void DiskCookieStorage::moveAside(const fs::path& file, const char* why)
{
    const fs::path aside = fs::path(file).replace_extension(".damaged");
    if (::rename(file.c_str(), aside.c_str()) == 0)
        complain(file, std::string(why) + " and is now " + aside.filename().string());
    else
        complain(file, std::string(why) + " and cannot be moved aside: " + std::strerror(errno));
}

} // namespace LumoSuite
