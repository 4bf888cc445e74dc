#include "PreferencesDomain.h"

#include <LumoKit/Platform/Foundation/Print.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <thread>
#include <utility>

namespace LumoKit::detail {

using Kind = PreferencesFault::Kind;
template <class T> using Result = PreferencesResult<T>;

namespace {

/// How long a caller is held for the locks of other processes, once; while there is trouble, not at all.
constexpr std::chrono::milliseconds patience(80);
constexpr std::chrono::milliseconds firstPause(50);
constexpr std::chrono::seconds longestPause(2);
constexpr std::chrono::milliseconds readingPause(250);

/// How much the log grows between two attempts to move it into the database in the background, and where a writer must
/// wait for that: it is one that never rests, behind which the background never comes to an end.
/// Units: pages.
constexpr int longLog = 1000;
constexpr int longestLog = 4 * longLog;

/// How often a writer looks whether the file was replaced.
constexpr std::chrono::milliseconds lookPause(100);

struct Registry {
    std::mutex mutex;
    std::map<std::filesystem::path, std::unique_ptr<PreferencesDomain>> domains;
};

/// Never destroyed: what lives in statics of a host may still save something.
Registry& registry()
{
    static auto& registry = *new Registry;
    return registry;
}

void synchronizeAll()
{
    const std::lock_guard lock(registry().mutex);
    for (const auto& [folder, domain] : registry().domains)
        domain->synchronize();
}

} // namespace

PreferencesDomain* PreferencesDomain::named(std::string_view name)
{
    auto folder = PreferencesFolder::of(name);
    if (!folder)
        return nullptr;
    const std::lock_guard lock(registry().mutex);
    auto& domains = registry().domains;
    if (domains.empty())
        std::atexit(&synchronizeAll);
    auto& domain = domains[folder->location()];
    if (!domain)
        domain.reset(new PreferencesDomain(std::string(name), std::move(folder)));
    return domain.get();
}

PreferencesDomain* PreferencesDomain::unsaved()
{
    static auto* const domain = [] {
        print("preferences: there is no folder for them; they last as long as the program");
        return new PreferencesDomain("", std::nullopt);
    }();
    return domain;
}

PreferencesDomain::PreferencesDomain(std::string name, std::optional<PreferencesFolder> folder)
    : name(std::move(name))
    , folder(std::move(folder))
    , queue(DispatchQueue::create("preferences"))
{
}

Value PreferencesDomain::value(std::string_view key)
{
    const std::lock_guard lock(mutex);
    if (!isFresh())
        refresh();
    const auto found = entries.find(key);
    return found == entries.end() ? Value() : found->second.value;
}

Value::Dictionary PreferencesDomain::values()
{
    const std::lock_guard lock(mutex);
    if (!isFresh())
        refresh();
    Value::Dictionary values;
    for (const auto& [key, entry] : entries)
        if (!entry.value.isNull())
            values.emplace(key, entry.value);
    return values;
}

void PreferencesDomain::set(std::string_view key, const Value& value)
{
    const auto deadline = Clock::now() + patience;
    const std::lock_guard lock(mutex);
    if (!isFresh())
        refresh();
    auto found = entries.find(key);
    if (found == entries.end()) {
        if (value.isNull())
            return;
        found = entries.emplace(key, Entry()).first;
    }
    found->second.value = value;
    if (!folder)
        return;
    if (!std::exchange(found->second.waits, true))
        waiting.emplace_back(key);
    if (!retryScheduled)
        save(deadline);
}

void PreferencesDomain::removeAll()
{
    const auto deadline = Clock::now() + patience;
    const std::lock_guard lock(mutex);
    waiting.clear();
    entries.clear();
    clearWaits = folder.has_value();
    if (folder && !retryScheduled)
        save(deadline);
}

bool PreferencesDomain::synchronize()
{
    const auto deadline = Clock::now() + patience;
    const std::lock_guard lock(mutex);
    return folder && (!isWaiting() || save(deadline));
}

void PreferencesDomain::refresh()
{
    const auto now = Clock::now();
    if (!folder || (trouble && now < nextReading))
        return;
    const auto deadline = trouble ? now : now + patience;
    if (!database) {
        open(deadline);
        return;
    }
    database->setDeadline(deadline);
    if (const auto caught = catchUp(); !caught) {
        if (caught.error().kind == Kind::damaged)
            open(deadline, caught.error().description);
        else
            fail(caught.error());
        return;
    }
    if (!isWaiting())
        trouble.reset();
    if (counter && !isFresh()) {
        if (isReplaced())
            open(deadline);
        else
            setCounterRight();
    }
}

bool PreferencesDomain::open(Clock::time_point deadline, std::optional<std::string> damage)
{
    PreferencesFolder::Knowledge knowledge;
    // A file that somebody else put here meanwhile is not the damaged one, nor is what was read before to go into it.
    if (database && !isReplaced()) {
        knowledge.damage = std::move(damage);
        for (const auto& [key, entry] : entries)
            if (!entry.waits)
                knowledge.rows.push_back({entry.generation, key, entry.value});
    }
    knowledge.generation = known;
    database.reset();
    auto opened = folder->open(deadline, std::move(knowledge));
    if (!opened) {
        fail(opened.error());
        return false;
    }
    database = std::move(opened->database);
    counter = std::move(opened->counter);
    boost::unordered::erase_if(entries, [](const auto& entry) { return !entry.second.waits; });
    for (auto& [key, entry] : entries)
        entry.generation = 0;
    known = 0;
    apply(std::move(opened->rows));
    if (!isWaiting())
        trouble.reset();
    if (opened->damage)
        print("preferences of " + name + ": " + *opened->damage + "; it was moved aside, and "
            + std::to_string(entries.size() - waiting.size()) + " values were kept");
    return true;
}

bool PreferencesDomain::isReplaced() const
{
    return database->hasMoved() || (counter && counter->isDeleted());
}

Result<void> PreferencesDomain::catchUp()
{
    auto changes = database->changes(known);
    if (!changes)
        return std::unexpected(std::move(changes).error());
    apply(*std::move(changes));
    return {};
}

void PreferencesDomain::apply(std::vector<PreferencesChange> changes)
{
    for (auto& change : changes) {
        known = change.generation;
        if (!change.key) {
            boost::unordered::erase_if(entries, [](const auto& entry) { return !entry.second.waits; });
            for (auto& [key, entry] : entries)
                entry.generation = 0;
            continue;
        }
        Entry& entry = entries[*std::move(change.key)];
        entry.generation = change.generation;
        if (!entry.waits)
            entry.value = clearWaits ? Value() : std::move(change.value);
    }
}

void PreferencesDomain::setCounterRight()
{
    database->setDeadline({});
    if (!database->begin())
        return; // somebody is writing, and is about to commit what the counter says
    if (catchUp())
        counter->store(known);
    database->rollback();
}

bool PreferencesDomain::save(Clock::time_point deadline)
{
    const auto now = Clock::now();
    const bool looks = now >= nextLook;
    if (looks)
        nextLook = now + lookPause;
    if ((!database || (looks && isReplaced())) && !open(deadline))
        return false;
    database->setDeadline(deadline);
    auto written = write();
    if (!written && written.error().kind == Kind::damaged) {
        if (!open(deadline, written.error().description))
            return false;
        written = write();
    }
    if (!written) {
        if (written.error().kind == Kind::notWritable)
            database.reset(); // opened anew it may be writable
        fail(written.error());
        return false;
    }
    trouble.reset();
    pause = {};
    shortenLog();
    return true;
}

Result<void> PreferencesDomain::write()
{
    if (auto begun = database->begin(); !begun)
        return begun;
    auto written = writeRows();
    if (!written)
        database->rollback();
    return written;
}

Result<void> PreferencesDomain::writeRows()
{
    // Not left to the counter: it may be behind where a writer was killed in the middle of its commit, and the library
    // completed that later.
    if (auto caught = catchUp(); !caught)
        return caught;
    if (counter)
        counter->store(known + static_cast<std::int64_t>(waiting.size()) + (clearWaits ? 1 : 0));
    std::int64_t generation = known;
    if (clearWaits)
        if (auto cleared = database->clear(++generation); !cleared)
            return cleared;
    for (const auto& key : waiting) {
        const Entry& entry = entries.find(key)->second;
        if (auto put = database->put(++generation, key, entry.value, clearWaits ? 0 : entry.generation); !put)
            return put;
    }
    if (auto committed = database->commit(); !committed)
        return committed;
    generation = known;
    if (std::exchange(clearWaits, false)) {
        ++generation;
        boost::unordered::erase_if(entries, [](const auto& entry) { return !entry.second.waits; });
    }
    for (const auto& key : waiting) {
        Entry& entry = entries.find(key)->second;
        entry.generation = ++generation;
        entry.waits = false;
    }
    known = generation;
    waiting.clear();
    return {};
}

void PreferencesDomain::fail(const PreferencesFault& fault)
{
    if (!std::exchange(trouble, fault.kind))
        print("preferences of " + name + ": " + fault.description
            + "; what is set counts from memory and is tried again");
    nextReading = Clock::now() + readingPause;
    if (isWaiting())
        scheduleRetry();
}

void PreferencesDomain::scheduleRetry()
{
    if (std::exchange(retryScheduled, true))
        return;
    pause = std::clamp<Clock::duration>(pause * 2, firstPause, longestPause);
    queue->asyncAfter(Clock::now() + pause, [this] { retry(); });
}

void PreferencesDomain::retry()
{
    // A lock that others take in turns is free between them, every now and then. Whoever reads or sets here meanwhile is
    // not held up by waiting for that.
    const auto end = Clock::now() + patience;
    while (true) {
        {
            const std::lock_guard lock(mutex);
            const bool saved = !isWaiting() || save({});
            if (saved || trouble != Kind::busy || Clock::now() >= end) {
                retryScheduled = false;
                if (!saved)
                    scheduleRetry();
                return;
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

void PreferencesDomain::shortenLog()
{
    const int pages = database->logPages();
    if (pages < logPages)
        logPages = 0; // it began anew
    if (pages < logPages + longLog)
        return;
    logPages = pages;
    const auto checkpoint = [this] {
        const std::lock_guard lock(checkpointing);
        PreferencesDatabase::checkpoint(folder->databaseFile());
    };
    if (pages >= longestLog)
        checkpoint();
    else
        queue->async(checkpoint);
}

} // namespace LumoKit::detail
