#include "PreferencesFolder.h"

#include "UserFolders.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <iterator>
#include <map>
#include <thread>

namespace LumoKit::detail {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Kind = PreferencesFault::Kind;
template <class T> using Result = PreferencesResult<T>;

namespace {

/// What the library keeps beside a database, after whose name these come.
constexpr std::string_view companions[] = {"", "-wal", "-shm"};

/// The lock that a process holds while it opens, makes or replaces a database; it ends with the process.
class FolderLock {
public:
    static Result<FolderLock> take(const fs::path& folder, Clock::time_point deadline)
    {
        FolderLock lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (lock.handle < 0)
            return std::unexpected(PreferencesFault{Kind::notWritable, std::strerror(errno)});
        while (::flock(lock.handle, LOCK_EX | LOCK_NB) != 0) {
            if (Clock::now() >= deadline)
                return std::unexpected(PreferencesFault{Kind::busy, "another process is opening it"});
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return lock;
    }

    FolderLock(FolderLock&& other) noexcept
        : handle(std::exchange(other.handle, -1))
    {
    }
    FolderLock& operator=(FolderLock&&) = delete;
    ~FolderLock()
    {
        if (handle >= 0)
            ::close(handle);
    }

private:
    explicit FolderLock(int file)
        : handle(file)
    {
    }

    int handle;
};

fs::path with(const fs::path& file, std::string_view companion)
{
    return fs::path(file.native() + std::string(companion));
}

std::string timeStamp()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
    return text;
}

/// The last row of each key, unless all keys were removed after it; in order, and without what was removed.
std::vector<PreferencesChange> current(std::vector<PreferencesChange> rows)
{
    std::map<std::string, PreferencesChange> last;
    for (auto& row : rows) {
        if (!row.key)
            last.clear();
        else if (row.value.isNull())
            last.erase(*row.key);
        else
            last.insert_or_assign(*row.key, row);
    }
    rows.clear();
    for (auto& [key, row] : last)
        rows.push_back(std::move(row));
    std::ranges::sort(rows, {}, &PreferencesChange::generation);
    return rows;
}

} // namespace

std::optional<PreferencesFolder> PreferencesFolder::of(std::string_view domain)
{
    constexpr std::string_view hexadecimal = "0123456789ABCDEF";
    constexpr std::size_t maximumName = 255; // of a file, in bytes
    if (domain.empty() || domain.find('\0') != domain.npos)
        return std::nullopt;
    std::string name;
    for (const char character : domain) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isPlain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z')
            || (byte >= 'A' && byte <= 'Z') || byte == '-' || byte == '_' || (byte == '.' && !name.empty());
        if (isPlain)
            name += character;
        else
            name.append({'%', hexadecimal[byte >> 4], hexadecimal[byte & 15]});
        if (name.size() > maximumName)
            return std::nullopt;
    }
    const auto folder = userFolder("XDG_CONFIG_HOME", ".config");
    if (!folder)
        return std::nullopt;
    return PreferencesFolder(*folder / "lumokit" / "preferences" / name);
}

fs::path PreferencesFolder::moveAside() const
{
    const std::string name = "damaged-" + timeStamp();
    fs::path aside = path / (name + ".db");
    std::error_code ignored; // what cannot be moved is in the way of a new one, which says so
    for (int number = 2; std::ranges::any_of(companions,
             [&](std::string_view companion) { return fs::exists(with(aside, companion), ignored); });
        ++number)
        aside = path / (name + "-" + std::to_string(number) + ".db");
    for (const std::string_view companion : companions)
        fs::rename(with(databaseFile(), companion), with(aside, companion), ignored);
    return aside;
}

Result<void> PreferencesFolder::make(std::vector<PreferencesChange> rows, std::int64_t generation) const
{
    // Others know the old count: everything is new to them.
    PreferencesChange start;
    start.generation = ++generation;
    for (auto& row : rows)
        row.generation = ++generation;
    rows.insert(rows.begin(), std::move(start));
    // Made beside its place, so that nobody ever finds half of one.
    const fs::path made = path / "new.db";
    std::error_code ignored;
    for (const std::string_view companion : companions)
        fs::remove(with(made, companion), ignored);
    if (auto created = PreferencesDatabase::create(made, rows); !created)
        return created;
    std::error_code failure;
    fs::rename(made, databaseFile(), failure);
    if (failure)
        return std::unexpected(PreferencesFault{Kind::notWritable, failure.message()});
    return {};
}

Result<PreferencesFolder::Opened> PreferencesFolder::openFile(Clock::time_point deadline) const
{
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(databaseFile(), ignored)))
        return std::unexpected(PreferencesFault{Kind::missing, "there is no file"});
    if (!fs::is_regular_file(databaseFile(), ignored)) // a pipe would be waited for
        return std::unexpected(PreferencesFault{Kind::damaged, "it is no file"});
    if (fs::file_size(databaseFile(), ignored) == 0)
        return std::unexpected(PreferencesFault{Kind::damaged, "the file is empty"});
    auto database =
        PreferencesDatabase::open(databaseFile(), PreferencesDatabase::Access::readWrite, deadline);
    // Where nothing can be written there is no room for the log's index; without a log it needs none.
    if (!database && database.error().kind == Kind::notWritable
        && !fs::exists(with(databaseFile(), "-wal"), ignored))
        database =
            PreferencesDatabase::open(databaseFile(), PreferencesDatabase::Access::immutable, deadline);
    if (!database)
        return std::unexpected(std::move(database).error());
    auto rows = (*database)->changes(0);
    if (!rows)
        return std::unexpected(std::move(rows).error());
    return Opened{
        *std::move(database), GenerationCounter::open(counterFile()), *std::move(rows), std::nullopt};
}

Result<PreferencesFolder::Opened> PreferencesFolder::open(
    Clock::time_point deadline, Knowledge knowledge) const
{
    makePrivateFolders(path);
    const auto lock = FolderLock::take(path, deadline);
    if (!lock)
        return std::unexpected(lock.error());
    std::optional<std::string> damage = std::move(knowledge.damage);
    if (!damage) {
        auto opened = openFile(deadline);
        if (opened)
            return opened;
        if (opened.error().kind == Kind::damaged)
            damage = std::move(opened).error().description;
        else if (opened.error().kind != Kind::missing)
            return opened;
    }
    // Also where there is no file: a log without its database would be taken for the new one's.
    const fs::path aside = moveAside();
    std::vector<PreferencesChange> rows;
    if (damage) {
        rows = PreferencesDatabase::salvage(aside);
        rows.insert(rows.end(), std::make_move_iterator(knowledge.rows.begin()),
            std::make_move_iterator(knowledge.rows.end()));
        // Of rows with one generation the file's stays the later one.
        std::ranges::reverse(rows);
        std::ranges::stable_sort(rows, {}, &PreferencesChange::generation);
    }
    std::int64_t generation = knowledge.generation;
    if (const auto counter = GenerationCounter::open(counterFile()))
        if (const auto seen = counter->load(); seen < PreferencesDatabase::maximumGeneration)
            generation = std::max(generation, seen);
    if (auto made = make(current(std::move(rows)), generation); !made)
        return std::unexpected(std::move(made).error());
    auto opened = openFile(deadline);
    if (opened)
        opened->damage = std::move(damage);
    return opened;
}

} // namespace LumoKit::detail
