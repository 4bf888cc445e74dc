#pragma once

#include "BriefLock.h"
#include "GenerationCounter.h"
#include "PreferencesFolder.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <boost/unordered/unordered_flat_map.hpp>

#include <functional>
#include <mutex>
#include <vector>

namespace LumoKit::detail {

/// One preferences domain in this process: its values in memory, kept true to the database that all processes share.
///
/// A writer announces its change in the shared counter before it commits, holding the database's write lock. Whoever
/// finds the counter where it was when they last read the database has therefore missed nothing, and answers from
/// memory; everybody else asks the database, which alone says what was committed. A counter that runs ahead of the
/// database (its writer died, or has not committed yet) costs a look into the database at each read, until the next
/// write, or until a reader that gets the write lock, so that nobody is writing, sets it right.
///
/// What cannot be written now counts from memory, ahead of what the database says, and is tried again in the background
/// until it is written or the process ends.
///
/// Thread: any.
/// Lifetime: until the process ends.
class PreferencesDomain {
public:
    /// The domain of this name; the same one each time, while the environment names the same folder.
    /// Errors: null for a name that cannot be a domain's, and where there is no folder for it.
    [[nodiscard]] static PreferencesDomain* named(std::string_view name);

    /// A domain in memory alone, for where there is no folder.
    [[nodiscard]] static PreferencesDomain* unsaved();

    /// The value of a key; null if there is none.
    [[nodiscard]] Value value(std::string_view key);
    [[nodiscard]] Value::Dictionary values();
    /// Sets the value, which is a property list, or removes it: null.
    void set(std::string_view key, const Value& value);
    void removeAll();
    /// Writes what waits to be written, if that can be done now. Whether everything is in the database.
    bool synchronize();

private:
    struct Entry {
        Value value; // null: removed
        std::int64_t generation = 0; // of its row; zero if it has none
        bool waits = false; // to be written
    };
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void; // looks views up without making texts of them
        using is_avalanching = void; // needs no more mixing
    };
    using Entries = boost::unordered_flat_map<std::string, Entry, Hash, std::equal_to<>>;
    using Clock = std::chrono::steady_clock;

    PreferencesDomain(std::string name, std::optional<PreferencesFolder> folder);

    // All of this with `mutex` held. What can wait for other processes does so until the deadline.
    [[nodiscard]] bool isFresh() const { return counter && counter->load() == known; }
    [[nodiscard]] bool isWaiting() const { return clearWaits || !waiting.empty(); }
    void refresh();
    bool open(Clock::time_point deadline, std::optional<std::string> damage = std::nullopt);
    [[nodiscard]] bool isReplaced() const;
    [[nodiscard]] PreferencesResult<void> catchUp();
    void apply(std::vector<PreferencesChange> changes);
    void setCounterRight();
    bool save(Clock::time_point deadline);
    [[nodiscard]] PreferencesResult<void> write();
    [[nodiscard]] PreferencesResult<void> writeRows();
    void fail(const PreferencesFault& fault);
    void scheduleRetry();
    void retry(); // takes the mutex itself
    void shortenLog();

    const std::string name;
    const std::optional<PreferencesFolder> folder;
    const std::shared_ptr<DispatchQueue> queue;

    std::mutex checkpointing; // one attempt to shorten the log at a time; taken after `mutex`, never before
    BriefLock mutex;
    Entries entries;
    std::int64_t known = 0; // the generation up to which the database was read
    std::unique_ptr<GenerationCounter> counter;
    std::unique_ptr<PreferencesDatabase> database;

    std::vector<std::string>
        waiting; // keys of what is to be written, in the order in which they were first set
    bool clearWaits = false; // all rows are to be removed before
    std::optional<PreferencesFault::Kind> trouble; // why an attempt failed, after a line said so
    Clock::time_point nextReading; // while there is trouble
    Clock::duration pause{}; // before the next attempt to write
    bool retryScheduled = false;
    int logPages = 0; // of the log when it was last to be shortened
    Clock::time_point nextLook; // whether the file was replaced
};

} // namespace LumoKit::detail
