#pragma once

#include <LumoKit/Platform/Foundation/Value.h>

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit::detail {

/// Why a database cannot be used, as far as what is to be done about it differs.
struct PreferencesFault {
    enum class Kind {
        /// There is no file.
        missing,
        /// Another process holds a lock for longer than anyone waits.
        busy,
        /// The file is no database of preferences, or a broken one.
        damaged,
        /// Reading works, writing does not, or the disk has no room.
        notWritable,
        /// It could not be opened or read for another reason.
        unusable
    };
    Kind kind = Kind::unusable;
    std::string description;
};

template <class T> using PreferencesResult = std::expected<T, PreferencesFault>;

/// One row of a database: what was last done to a key.
struct PreferencesChange {
    /// When, counted in changes of this database; each change has its own.
    std::int64_t generation = 0;
    /// Nothing: every key was removed.
    std::optional<std::string> key;
    /// Null: the key was removed.
    Value value;
};

/// The database file of one preferences domain, as rows of changes.
///
/// There is one row a key, under the generation of its last change. A change writes the row anew at the end of the
/// table, so that it touches few pages however many keys there are, and whoever knows a generation finds what is newer
/// without looking at the rest. A removed key leaves a row without a value behind, for the others to see.
///
/// A file that is open here must not be opened by other means in this process: closing any handle of a file gives up
/// the locks that the library holds on it.
///
/// Thread: one at a time.
/// Source: SQLite, in WAL mode with `synchronous` NORMAL: what was committed survives the end of the process, not
/// always that of the system; no more than the last changes are lost then, and never the file.
class PreferencesDatabase {
public:
    enum class Access {
        readWrite,
        /// For a file that nobody writes, in a folder where nothing can be written.
        immutable
    };

    /// A file that counts further than this was not counted by us.
    static constexpr std::int64_t maximumGeneration = std::int64_t(1) << 60;

    /// Opens a database that exists.
    [[nodiscard]] static PreferencesResult<std::unique_ptr<PreferencesDatabase>> open(
        const std::filesystem::path& file, Access access, std::chrono::steady_clock::time_point deadline);

    /// Makes a database that holds these rows, for the user alone.
    [[nodiscard]] static PreferencesResult<void> create(
        const std::filesystem::path& file, const std::vector<PreferencesChange>& rows);

    /// All rows that can still be read of a damaged database, which stays as it is.
    [[nodiscard]] static std::vector<PreferencesChange> salvage(const std::filesystem::path& file);

    /// Moves what is in the log into the database file, as far as nobody reads it. May wait for the disk.
    /// Thread: any; it opens the file for itself.
    static void checkpoint(const std::filesystem::path& file);

    ~PreferencesDatabase();
    PreferencesDatabase(const PreferencesDatabase&) = delete;
    PreferencesDatabase& operator=(const PreferencesDatabase&) = delete;

    /// Until when operations wait for locks of other processes; one that has passed: not at all.
    void setDeadline(std::chrono::steady_clock::time_point deadline);

    /// The rows with a generation above this one, in their order.
    [[nodiscard]] PreferencesResult<std::vector<PreferencesChange>> changes(std::int64_t since);

    /// Begins to write; only one process does at a time.
    [[nodiscard]] PreferencesResult<void> begin();
    /// Writes a row in place of the one with generation `instead`, if there is such a one.
    [[nodiscard]] PreferencesResult<void> put(
        std::int64_t generation, std::string_view key, const Value& value, std::int64_t instead);
    /// Removes every row and leaves one that says so.
    [[nodiscard]] PreferencesResult<void> clear(std::int64_t generation);
    [[nodiscard]] PreferencesResult<void> commit();
    void rollback();

    /// Whether its path leads to another file by now, or to none.
    [[nodiscard]] bool hasMoved() const;
    /// How long the log is. Units: pages.
    [[nodiscard]] int logPages() const;

private:
    struct Native;
    explicit PreferencesDatabase(std::unique_ptr<Native> native);

    const std::unique_ptr<Native> native;
};

} // namespace LumoKit::detail
