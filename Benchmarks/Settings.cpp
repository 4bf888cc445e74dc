#include "Compare.h"
#include "Foundation/GenerationCounter.h"

#include <LumoKit/Utility/Settings.h>

#include <sqlite3.h>
#include <stdlib.h>
#include <unistd.h>

#include <QSettings>
#include <QVariant>
#include <filesystem>
#include <unordered_map>

namespace LumoKit::Bench {

namespace {

namespace fs = std::filesystem;

/// Keeps a result from being left out.
template <class T> void use(const T& value)
{
    asm volatile("" : : "r"(&value) : "memory");
}

template <class Work> double nanosecondsEach(int times, Work work)
{
    return secondsOf([&] {
        for (int time = 0; time < times; ++time)
            work();
    }) * 1e9
        / times;
}

const fs::path& folder()
{
    static const fs::path made = [] {
        std::string pattern = fs::temp_directory_path() / "bench-XXXXXX";
        const fs::path path = ::mkdtemp(pattern.data());
        ::setenv("XDG_CONFIG_HOME", path.c_str(), 1);
        return path;
    }();
    return made;
}

const std::string text = "automatic";
const Value::Dictionary dictionary{{"name", "Ada"}, {"number", 3}, {"open", true}, {"size", 1.5}};

/// What each of the peers keeps: so many keys, three of which are asked for.
struct Stores {
    explicit Stores(int count)
        : count(count)
    {
        const std::string name = "com.example.bench" + std::to_string(count);
        auto defaults = (folder(), UserDefaults::create(name));
        for (int number = 0; number < count - 3; ++number)
            defaults->setValue(number, "key " + std::to_string(number));
        settings = Settings::create(defaults);
        settings->set(textKey, text);
        settings->set(numberKey, 42);
        settings->set(dictionaryKey, dictionary);

        qt = std::make_unique<QSettings>(
            QString::fromStdString(folder() / (name + ".ini")), QSettings::IniFormat);
        for (int number = 0; number < count - 3; ++number)
            qt->setValue("key " + QString::number(number), number);
        qt->setValue("text", QString::fromStdString(text));
        qt->setValue("number", 42);
        qt->setValue(
            "dictionary", QVariantMap{{"name", "Ada"}, {"number", 3}, {"open", true}, {"size", 1.5}});
        qt->sync();

        for (int number = 0; number < count; ++number) {
            const std::string key = "key " + std::to_string(number);
            map.emplace(key, number);
        }
        map["text"] = text;
        map["number"] = 42;
        map["dictionary"] = dictionary;

        sqlite3_open((folder() / (name + ".db")).c_str(), &database);
        sqlite3_exec(database,
            "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
            "CREATE TABLE preferences(key TEXT PRIMARY KEY, value)",
            nullptr, nullptr, nullptr);
        sqlite3_prepare_v2(database,
            "INSERT INTO preferences VALUES(?1, ?2) ON CONFLICT(key) DO UPDATE SET value = excluded.value",
            -1, &upsert, nullptr);
        sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr);
        for (int number = 0; number < count; ++number)
            setBare("key " + std::to_string(number), number);
        sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
    }

    void setBare(const std::string& key, int number)
    {
        sqlite3_bind_text(upsert, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
        sqlite3_bind_int64(upsert, 2, number);
        sqlite3_step(upsert);
        sqlite3_reset(upsert);
    }

    static Stores& few()
    {
        static Stores stores(10);
        return stores;
    }
    static Stores& many()
    {
        static Stores stores(10'000);
        return stores;
    }

    static constexpr int gets = 200'000;
    static constexpr int sets = 2'000;

    double getText() const
    {
        return nanosecondsEach(gets, [&] { use(settings->get(textKey)); });
    }
    double getNumber() const
    {
        return nanosecondsEach(gets, [&] { use(settings->get(numberKey)); });
    }
    double getDictionary() const
    {
        return nanosecondsEach(gets, [&] { use(settings->get(dictionaryKey)); });
    }
    double qtText() const
    {
        return nanosecondsEach(gets, [&] { use(qt->value("text").toString()); });
    }
    double qtNumber() const
    {
        return nanosecondsEach(gets, [&] { use(qt->value("number").toInt()); });
    }
    double qtDictionary() const
    {
        return nanosecondsEach(gets, [&] { use(qt->value("dictionary")); });
    }
    double copyOut(const std::string& key) const
    {
        return nanosecondsEach(gets, [&] { use(Value(map.find(key)->second)); });
    }
    double set()
    {
        int number = 0;
        return nanosecondsEach(sets, [&] { settings->set(numberKey, ++number); }) / 1e3;
    }
    double setSpread()
    {
        return nanosecondsEach(sets, [&] { settings->userDefaults->setValue(++next, spreadKey()); }) / 1e3;
    }
    double setBare()
    {
        int number = 0;
        return nanosecondsEach(sets, [&] { setBare("key 5", ++number); }) / 1e3;
    }
    double setBareSpread()
    {
        return nanosecondsEach(sets, [&] { setBare(spreadKey(), ++next); }) / 1e3;
    }
    double setQt() const
    {
        int number = 0;
        return nanosecondsEach(10, [&] {
            qt->setValue("number", ++number);
            qt->sync();
        }) / 1e3;
    }

    /// One key after another, far apart.
    std::string spreadKey() { return "key " + std::to_string((next += 7919) % (count - 3)); }

    const int count;
    const std::shared_ptr<SettingsKeys::KeyWithDefaultValue<std::string>> textKey =
        SettingsKeys::KeyWithDefaultValue<std::string>::create("text", "");
    const std::shared_ptr<SettingsKeys::KeyWithDefaultValue<int>> numberKey =
        SettingsKeys::KeyWithDefaultValue<int>::create("number", 0);
    const std::shared_ptr<SettingsKeys::Key<Value>> dictionaryKey =
        SettingsKeys::Key<Value>::create("dictionary");
    std::shared_ptr<Settings> settings;
    std::unique_ptr<QSettings> qt;
    std::unordered_map<std::string, Value> map;
    sqlite3* database = nullptr; // until the program ends
    sqlite3_stmt* upsert = nullptr;
    int next = 0;
};

double freshness()
{
    static const auto counter = detail::GenerationCounter::open(folder() / "counter");
    std::int64_t known = 0;
    use(known);
    return nanosecondsEach(Stores::gets, [&] {
        const bool fresh = counter->load() == known;
        use(fresh);
    });
}

/// A domain that keeps nothing, so that what is measured is the telling.
class Nothing : public UserDefaults {
public:
    Nothing()
        : UserDefaults(*UserDefaults::create((folder(), "com.example.nothing")))
    {
    }
    void setValue(const Value&, std::string_view) override { }
};

double notifyHundred()
{
    static int told = 0;
    static const auto key = SettingsKeys::KeyWithDefaultValue<int>::create("number", 0);
    static const auto settings = [] {
        auto made = Settings::create(std::make_shared<Nothing>());
        for (int number = 0; number < 100; ++number)
            made->subscribe(key, false, [](int value) { told += value; });
        return made;
    }();
    return nanosecondsEach(20'000, [] { settings->set(key, 1); });
}

double callHundred()
{
    static int told = 0;
    static const std::vector<std::function<void(const int&)>> handlers(100, [](int value) { told += value; });
    return nanosecondsEach(20'000, [] {
        for (const auto& handler : handlers)
            handler(1);
    });
}

/// Milliseconds that a set takes which finds the database held by somebody else.
double setWhileHeld()
{
    static int round = 0;
    const std::string name = "com.example.held" + std::to_string(++round); // one in which nothing waits yet
    const auto defaults = (folder(), UserDefaults::create(name));
    defaults->setValue(0, "key");
    sqlite3* holder = nullptr;
    sqlite3_open((folder() / "lumokit/preferences" / name / "preferences.db").c_str(), &holder);
    sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    const double seconds = secondsOf([&] { defaults->setValue(1, "key"); });
    sqlite3_close(holder);
    while (!defaults->synchronize()) { }
    return seconds * 1e3;
}

Row row(std::string name, std::string unit, std::string peer, double goal, double (Stores::*ours)() const,
    double (Stores::*theirs)() const, Stores& (*stores)())
{
    return {std::move(name), std::move(unit), std::move(peer), goal, 15, [=] { return (stores().*ours)(); },
        [=] { return (stores().*theirs)(); }};
}

} // namespace

std::vector<Row> settingsRows()
{
    std::vector<Row> rows;
    for (const auto& [suffix, stores] : {std::pair{"", &Stores::few}, std::pair{"-10k", &Stores::many}}) {
        const std::string end = suffix;
        rows.push_back(row("settings/get-text" + end, "ns", "QSettings value", 0.25, &Stores::getText,
            &Stores::qtText, stores));
        rows.push_back(row("settings/get-number" + end, "ns", "QSettings value", 0.25, &Stores::getNumber,
            &Stores::qtNumber, stores));
        rows.push_back(row("settings/get-dictionary" + end, "ns", "QSettings value", 0.25,
            &Stores::getDictionary, &Stores::qtDictionary, stores));
        rows.push_back({"settings/map-text" + end, "ns", "a copy out of a hash map", 2.5, 15,
            [=] { return stores().getText(); }, [=] { return stores().copyOut("text"); }});
        rows.push_back({"settings/map-number" + end, "ns", "a copy out of a hash map", 2.5, 15,
            [=] { return stores().getNumber(); }, [=] { return stores().copyOut("number"); }});
        rows.push_back({"settings/map-dictionary" + end, "ns", "a copy out of a hash map", 2.5, 15,
            [=] { return stores().getDictionary(); }, [=] { return stores().copyOut("dictionary"); }});
        rows.push_back({"settings/set-sync" + end, "µs", "QSettings set and sync", 0.02, 15,
            [=] { return stores().set(); }, [=] { return stores().setQt(); }});
        rows.push_back({"settings/set" + end, "µs", "a bare prepared statement", 1.2, 15,
            [=] { return stores().set(); }, [=] { return stores().setBare(); }});
        rows.push_back({"settings/set-spread" + end, "µs", "a bare prepared statement", 1.2, 15,
            [=] { return stores().setSpread(); }, [=] { return stores().setBareSpread(); }});
    }
    rows.push_back({"settings/get-flat", "ns", "the same with 10 keys", 1.2, 15,
        [] { return Stores::many().getText(); }, [] { return Stores::few().getText(); }});
    rows.push_back({"settings/set-flat", "µs", "the same with 10 keys", 1.2, 15,
        [] { return Stores::many().set(); }, [] { return Stores::few().set(); }});
    rows.push_back({"settings/freshness", "ns", "the limit", 1, 15, freshness, [] { return 5.0; }});
    rows.push_back({"settings/notify-100", "ns", "100 plain calls", 2, 15, notifyHundred, callHundred});
    rows.push_back({"settings/set-held", "ms", "the limit", 1, 3, setWhileHeld, [] { return 100.0; }});
    return rows;
}

} // namespace LumoKit::Bench
