#pragma once

#include "GenerationCounter.h"
#include "PreferencesDatabase.h"

#include <functional>
#include <string_view>

namespace LumoKit::detail {

/// The folder of one preferences domain: its database, its counter, and what was moved aside.
///
/// Thread: any; processes that open or make the database at the same time wait for each other.
class PreferencesFolder {
public:
    /// The folder of a domain in the user's configuration folder. Nothing is made.
    ///
    /// The name is any text without a NUL character. What a file's name should not hold is percent-encoded, so that
    /// no name leads elsewhere.
    /// Errors: nothing for an empty name, for one that is too long for a folder's name, and where the environment
    /// names no configuration folder.
    [[nodiscard]] static std::optional<PreferencesFolder> of(std::string_view domain);

    [[nodiscard]] const std::filesystem::path& location() const { return path; }
    [[nodiscard]] std::filesystem::path databaseFile() const { return path / "preferences.db"; }

    /// What `open` found.
    struct Opened {
        std::unique_ptr<PreferencesDatabase> database;
        /// Null where it cannot be had.
        std::unique_ptr<GenerationCounter> counter;
        /// All rows of the database.
        std::vector<PreferencesChange> rows;
        /// What was wrong with the one that was moved aside; nothing if all was well.
        std::optional<std::string> damage;
    };

    /// What is known of a domain before its database is opened.
    struct Knowledge {
        /// What was found wrong with the database that is there, so that it is not to be used again.
        std::optional<std::string> damage;
        /// Rows that were read earlier, for one that turns out to be damaged. They yield to what the file says.
        std::vector<PreferencesChange> rows;
        /// Up to where it was read earlier. A new database counts on from there, so that its rows are new to everybody.
        std::int64_t generation = 0;
    };

    /// Opens the database, and makes it if there is none. One that is damaged or somebody else's is moved aside with
    /// everything that belongs to it, and stays there as it was; what can be read of it goes into a new one.
    [[nodiscard]] PreferencesResult<Opened> open(
        std::chrono::steady_clock::time_point deadline, Knowledge knowledge) const;

private:
    [[nodiscard]] std::filesystem::path counterFile() const { return path / "generation"; }

    explicit PreferencesFolder(std::filesystem::path folder)
        : path(std::move(folder))
    {
    }

    [[nodiscard]] PreferencesResult<Opened> openFile(std::chrono::steady_clock::time_point deadline) const;
    [[nodiscard]] std::filesystem::path moveAside() const;
    [[nodiscard]] PreferencesResult<void> make(
        std::vector<PreferencesChange> rows, std::int64_t generation) const;

    std::filesystem::path path;
};

} // namespace LumoKit::detail
