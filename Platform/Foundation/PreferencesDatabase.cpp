#include "PreferencesDatabase.h"

#include "PackedValue.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <thread>

namespace LumoKit::detail {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Kind = PreferencesFault::Kind;
template <class T> using Result = PreferencesResult<T>;

namespace {

/// What tells our databases from everybody else's.
constexpr int applicationID = 0x4c754b50; // "LuKP"
constexpr const char* schema =
    "CREATE TABLE change(generation INTEGER PRIMARY KEY, key TEXT, type TEXT NOT NULL, value)";

struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

Kind kindOf(int code)
{
    switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return Kind::busy;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return Kind::damaged;
    case SQLITE_READONLY:
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
        return Kind::notWritable;
    default:
        return Kind::unusable;
    }
}

std::unexpected<PreferencesFault> fault(Kind kind, std::string description)
{
    return std::unexpected(PreferencesFault{kind, std::move(description)});
}

std::unexpected<PreferencesFault> faultOf(sqlite3* database, int code)
{
    return fault(kindOf(code), database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
}

Statement prepare(sqlite3* database, std::string_view sql)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(
        database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement);
}

/// Runs a statement that gives no rows that anyone wants.
int run(sqlite3_stmt* statement)
{
    int code = SQLITE_ROW;
    while (code == SQLITE_ROW)
        code = sqlite3_step(statement);
    // The code of resetting is the one that says why stepping failed.
    return code == SQLITE_DONE ? (sqlite3_reset(statement), SQLITE_OK) : sqlite3_reset(statement);
}

int run(sqlite3* database, const char* sql)
{
    return sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
}

std::string_view textIn(sqlite3_stmt* row, int column)
{
    const auto* text =
        static_cast<const char*>(sqlite3_column_blob(row, column)); // before its length is asked
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(row, column)))
                : std::string_view();
}

void bindText(sqlite3_stmt* statement, int index, std::string_view text)
{
    sqlite3_bind_text64(
        statement, index, text.empty() ? "" : text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

void bindBytes(sqlite3_stmt* statement, int index, std::string_view bytes)
{
    sqlite3_bind_blob64(statement, index, bytes.empty() ? "" : bytes.data(), bytes.size(), SQLITE_STATIC);
}

/// The names under which types are kept. A number that is no number is one without a value: the library keeps none.
namespace types {
constexpr std::string_view removed = "removed";
constexpr std::string_view cleared = "cleared";
constexpr std::string_view boolean = "boolean";
constexpr std::string_view integer = "integer";
constexpr std::string_view number = "number";
constexpr std::string_view text = "text";
constexpr std::string_view date = "date";
constexpr std::string_view data = "data";
constexpr std::string_view array = "array";
constexpr std::string_view dictionary = "dictionary";
} // namespace types

/// Binds a value, and the name of its type at the index before. What is bound by reference is the value's own, or what
/// `storage` holds.
void bindValue(sqlite3_stmt* statement, int index, const Value& value, std::string& storage)
{
    std::string_view type = types::removed;
    switch (value.type()) {
    case Value::Type::boolean:
        type = types::boolean;
        sqlite3_bind_int(statement, index, *value.asBoolean() ? 1 : 0);
        break;
    case Value::Type::integer:
        type = types::integer;
        sqlite3_bind_int64(statement, index, *value.asInteger());
        break;
    case Value::Type::number:
        type = types::number;
        sqlite3_bind_double(statement, index, *value.asNumber());
        break;
    case Value::Type::text:
        type = types::text;
        bindText(statement, index, *value.asText());
        break;
    case Value::Type::date:
        type = types::date;
        sqlite3_bind_double(statement, index, value.asDate()->time_since_epoch().count());
        break;
    case Value::Type::data: {
        const Data& bytes = *value.asData();
        type = types::data;
        bindBytes(statement, index, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        break;
    }
    case Value::Type::array:
    case Value::Type::dictionary:
        type = value.asArray() ? types::array : types::dictionary;
        storage = packed(value);
        bindBytes(statement, index, storage);
        break;
    case Value::Type::null:
    case Value::Type::url:
        sqlite3_bind_null(statement, index);
        break;
    }
    bindText(statement, index - 1, type);
}

std::optional<double> numberIn(sqlite3_stmt* row, int column)
{
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_FLOAT:
        return sqlite3_column_double(row, column);
    case SQLITE_NULL:
        return std::numeric_limits<double>::quiet_NaN();
    default:
        return std::nullopt;
    }
}

/// The value of a row; null where there is none, or one that is not of the type that the row names.
Value valueIn(sqlite3_stmt* row, int column)
{
    const std::string_view type = textIn(row, column - 1);
    const int stored = sqlite3_column_type(row, column);
    if (stored == SQLITE_INTEGER) {
        const std::int64_t integer = sqlite3_column_int64(row, column);
        if (type == types::integer)
            return integer;
        if (type == types::boolean && (integer == 0 || integer == 1))
            return integer == 1;
    } else if (stored == SQLITE_TEXT) {
        if (type == types::text)
            return textIn(row, column);
    } else if (stored == SQLITE_BLOB) {
        const std::string_view bytes = textIn(row, column);
        if (type == types::data) {
            const auto* data = reinterpret_cast<const std::byte*>(bytes.data());
            return Data(data, data + bytes.size());
        }
        if (auto value = unpacked(bytes))
            if ((type == types::array && value->asArray())
                || (type == types::dictionary && value->asDictionary()))
                return *std::move(value);
    } else if (const auto number = numberIn(row, column)) {
        if (type == types::number)
            return *number;
        if (type == types::date)
            return Date(Date::duration(*number));
    }
    return {};
}

/// Columns: generation, key, type, value.
PreferencesChange changeIn(sqlite3_stmt* row)
{
    PreferencesChange change{sqlite3_column_int64(row, 0), std::nullopt, valueIn(row, 3)};
    if (textIn(row, 2) != types::cleared)
        change.key = textIn(row, 1);
    return change;
}

/// Waits for a lock of another process, unless the deadline has passed.
int waitUntil(void* deadline, int)
{
    if (Clock::now() >= *static_cast<const Clock::time_point*>(deadline))
        return 0;
    std::this_thread::sleep_for(std::chrono::microseconds(100)); // writers hold theirs for tens of those
    return 1;
}

Result<Database> connect(const fs::path& file, int flags, bool immutable = false)
{
    const std::string name =
        immutable ? URL::fileURL(file.string()).absoluteString() + "?immutable=1" : file.string();
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(name.c_str(), &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    Database database(opened);
    if (code != SQLITE_OK)
        return faultOf(opened, code);
    sqlite3_extended_result_codes(opened, 1);
    // The file may be anybody's: nothing in it is to be run.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    run(opened, "PRAGMA cell_size_check = ON");
    return database;
}

/// Whether the database is one of ours.
Result<void> identify(sqlite3* database)
{
    const Statement identity = prepare(database, "PRAGMA application_id");
    if (!identity || sqlite3_step(identity.get()) != SQLITE_ROW)
        return faultOf(database, sqlite3_extended_errcode(database));
    if (sqlite3_column_int(identity.get(), 0) != applicationID)
        return fault(Kind::damaged, "the file belongs to another application");
    return {};
}

/// Whether it is one of ours, with nothing else in it.
Result<void> verify(sqlite3* database)
{
    if (auto identified = identify(database); !identified)
        return identified;
    const Statement tables = prepare(database, "SELECT sql FROM sqlite_schema");
    if (!tables)
        return faultOf(database, sqlite3_extended_errcode(database));
    int count = 0;
    int code = sqlite3_step(tables.get());
    for (; code == SQLITE_ROW; code = sqlite3_step(tables.get()))
        if (++count > 1 || textIn(tables.get(), 0) != schema)
            return fault(Kind::damaged, "the file is laid out in another way");
    if (code != SQLITE_DONE)
        return faultOf(database, code);
    if (count == 0)
        return fault(Kind::damaged, "the file has no table");
    return {};
}

/// Whether the file is sound. One that is not may take a row and never give it back.
Result<void> examine(sqlite3* database)
{
    const Statement check = prepare(database, "PRAGMA quick_check(1)");
    if (!check || sqlite3_step(check.get()) != SQLITE_ROW)
        return faultOf(database, sqlite3_extended_errcode(database));
    if (textIn(check.get(), 0) != "ok")
        return fault(Kind::damaged, "the file is malformed");
    return {};
}

} // namespace

struct PreferencesDatabase::Native {
    // In this order: statements end before their database.
    Clock::time_point deadline;
    Database database;
    Statement changes;
    Statement begin;
    Statement update;
    Statement insert;
    Statement clear;
    Statement commit;
    Statement rollback;
    int logPages = 0;
};

PreferencesDatabase::PreferencesDatabase(std::unique_ptr<Native> native)
    : native(std::move(native))
{
}

PreferencesDatabase::~PreferencesDatabase() = default;

Result<std::unique_ptr<PreferencesDatabase>> PreferencesDatabase::open(
    const fs::path& file, Access access, Clock::time_point deadline)
{
    const bool immutable = access == Access::immutable;
    auto connection =
        connect(file, immutable ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE, immutable);
    if (!connection)
        return std::unexpected(std::move(connection).error());
    auto native = std::make_unique<Native>();
    native->database = *std::move(connection);
    sqlite3* database = native->database.get();
    native->deadline = deadline;
    sqlite3_busy_handler(database, &waitUntil, &native->deadline);
    for (const auto& test : {&verify, &examine})
        if (auto passed = test(database); !passed)
            return std::unexpected(std::move(passed).error());
    if (!immutable)
        run(database, "PRAGMA journal_mode = WAL"); // as it was made, unless somebody changed that
    run(database, "PRAGMA synchronous = NORMAL");
    // A checkpoint waits for the disk; whoever writes decides when. This takes the place of the library's own.
    sqlite3_wal_hook(
        database,
        [](void* data, sqlite3*, const char*, int pages) {
            static_cast<Native*>(data)->logPages = pages;
            return SQLITE_OK;
        },
        native.get());

    const auto prepareAll = [&] {
        const std::pair<Statement*, std::string_view> statements[] = {
            {&native->changes,
                "SELECT generation, key, type, value FROM change WHERE generation > ?1 ORDER BY generation"},
            {&native->begin, "BEGIN IMMEDIATE"},
            {&native->update,
                "UPDATE change SET generation = ?1, key = ?2, type = ?3, value = ?4 WHERE generation = ?5"},
            {&native->insert, "INSERT INTO change VALUES(?1, ?2, ?3, ?4)"},
            {&native->clear, "DELETE FROM change"},
            {&native->commit, "COMMIT"},
            {&native->rollback, "ROLLBACK"},
        };
        for (const auto& [statement, sql] : statements)
            if (!(*statement = prepare(database, sql)))
                return false;
        return true;
    };
    if (!prepareAll())
        return faultOf(database, sqlite3_extended_errcode(database));
    return std::unique_ptr<PreferencesDatabase>(new PreferencesDatabase(std::move(native)));
}

Result<void> PreferencesDatabase::create(const fs::path& file, const std::vector<PreferencesChange>& rows)
{
    const int made = ::open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    if (made < 0)
        return fault(Kind::notWritable, std::strerror(errno));
    ::close(made);
    auto database = connect(file, SQLITE_OPEN_READWRITE);
    if (!database)
        return std::unexpected(std::move(database).error());
    const std::string identity = "PRAGMA application_id = " + std::to_string(applicationID);
    for (const char* sql : {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = NORMAL", "BEGIN IMMEDIATE",
             identity.c_str(), schema})
        if (const int code = run(database->get(), sql); code != SQLITE_OK)
            return faultOf(database->get(), code);
    const Statement insert = prepare(database->get(), "INSERT INTO change VALUES(?1, ?2, ?3, ?4)");
    for (const auto& row : rows) {
        std::string storage;
        sqlite3_bind_int64(insert.get(), 1, row.generation);
        if (row.key) {
            bindText(insert.get(), 2, *row.key);
            bindValue(insert.get(), 4, row.value, storage);
        } else {
            sqlite3_bind_null(insert.get(), 2);
            bindText(insert.get(), 3, types::cleared);
            sqlite3_bind_null(insert.get(), 4);
        }
        if (const int code = run(insert.get()); code != SQLITE_OK)
            return faultOf(database->get(), code);
    }
    if (const int code = run(database->get(), "COMMIT"); code != SQLITE_OK)
        return faultOf(database->get(), code);
    return {}; // closing the only connection ends the log
}

std::vector<PreferencesChange> PreferencesDatabase::salvage(const fs::path& file)
{
    const auto database = connect(file, SQLITE_OPEN_READONLY);
    if (!database || !identify(database->get()))
        return {};
    // From both ends as far as it goes: what is broken is mostly somewhere between.
    std::map<std::int64_t, PreferencesChange> found;
    for (const char* sql :
        {"SELECT generation, key, type, value FROM change WHERE generation > 0 ORDER BY generation",
            "SELECT generation, key, type, value FROM change WHERE generation > 0 ORDER BY generation "
            "DESC"}) {
        const Statement rows = prepare(database->get(), sql);
        while (rows && sqlite3_step(rows.get()) == SQLITE_ROW) {
            auto change = changeIn(rows.get());
            if (!found.try_emplace(change.generation, std::move(change)).second)
                break; // met what came from the other end
        }
    }
    std::vector<PreferencesChange> changes;
    for (auto& [generation, change] : found)
        changes.push_back(std::move(change));
    return changes;
}

void PreferencesDatabase::checkpoint(const fs::path& file)
{
    const auto database = connect(file, SQLITE_OPEN_READWRITE);
    // The library learns of the log by reading; before that, a checkpoint does nothing.
    if (database && verify(database->get()))
        sqlite3_wal_checkpoint_v2(database->get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

void PreferencesDatabase::setDeadline(Clock::time_point deadline)
{
    native->deadline = deadline;
}

Result<std::vector<PreferencesChange>> PreferencesDatabase::changes(std::int64_t since)
{
    std::vector<PreferencesChange> changes;
    sqlite3_stmt* rows = native->changes.get();
    sqlite3_bind_int64(rows, 1, since);
    int code = sqlite3_step(rows);
    for (; code == SQLITE_ROW; code = sqlite3_step(rows))
        changes.push_back(changeIn(rows));
    sqlite3_reset(rows);
    if (code != SQLITE_DONE)
        return faultOf(native->database.get(), code);
    if (!changes.empty() && changes.back().generation > maximumGeneration)
        return fault(Kind::damaged, "the file counts its changes in another way");
    return changes;
}

Result<void> PreferencesDatabase::begin()
{
    if (const int code = run(native->begin.get()); code != SQLITE_OK)
        return faultOf(native->database.get(), code);
    return {};
}

Result<void> PreferencesDatabase::put(
    std::int64_t generation, std::string_view key, const Value& value, std::int64_t instead)
{
    std::string storage;
    const auto write = [&](sqlite3_stmt* statement) {
        sqlite3_bind_int64(statement, 1, generation);
        bindText(statement, 2, key);
        bindValue(statement, 4, value, storage);
        return run(statement);
    };
    int code = SQLITE_OK;
    bool written = false;
    if (instead > 0) {
        sqlite3_bind_int64(native->update.get(), 5, instead);
        code = write(native->update.get());
        written = code == SQLITE_OK && sqlite3_changes(native->database.get()) > 0;
    }
    if (code == SQLITE_OK && !written)
        code = write(native->insert.get());
    if (code != SQLITE_OK)
        return faultOf(native->database.get(), code);
    return {};
}

Result<void> PreferencesDatabase::clear(std::int64_t generation)
{
    sqlite3_stmt* insert = native->insert.get();
    int code = run(native->clear.get());
    if (code == SQLITE_OK) {
        sqlite3_bind_int64(insert, 1, generation);
        sqlite3_bind_null(insert, 2);
        bindText(insert, 3, types::cleared);
        sqlite3_bind_null(insert, 4);
        code = run(insert);
    }
    if (code != SQLITE_OK)
        return faultOf(native->database.get(), code);
    return {};
}

Result<void> PreferencesDatabase::commit()
{
    if (const int code = run(native->commit.get()); code != SQLITE_OK)
        return faultOf(native->database.get(), code);
    return {};
}

void PreferencesDatabase::rollback()
{
    if (sqlite3_get_autocommit(native->database.get()) == 0) // some errors have rolled back already
        run(native->rollback.get());
}

bool PreferencesDatabase::hasMoved() const
{
    int moved = 0;
    sqlite3_file_control(native->database.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

int PreferencesDatabase::logPages() const
{
    return native->logPages;
}

} // namespace LumoKit::detail
