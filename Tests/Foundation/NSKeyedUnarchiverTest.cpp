#include "Support/BinaryList.h"
#include "Support/Printing.h"

#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <functional>
#include <map>

using namespace LumoKit;
using namespace LumoKit::Test;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

std::optional<Value> read(std::string_view archive)
{
    return NSKeyedUnarchiver::unarchiveObject(std::as_bytes(std::span(archive)));
}

Date dateAt(double seconds)
{
    return Date(std::chrono::duration<double>(seconds));
}

/// Writes keyed archives as other programs do, with classes of any name, and damaged ones. Objects get their
/// numbers in the order in which they are added; 0 is the null object.
class ArchiveWriter {
public:
    ArchiveWriter() { objects.push_back(list.ascii("$null")); }

    /// Each adds an object of the archive and gives its number.
    int add(int stored)
    {
        objects.push_back(stored);
        return static_cast<int>(objects.size()) - 1;
    }
    int plain(const std::string& bytes) { return add(list.raw(bytes)); }
    int text(const std::string& text) { return add(list.ascii(text)); }
    int classOf(const std::string& name, const std::vector<std::string>& hierarchy)
    {
        std::vector<int> names;
        for (const auto& item : hierarchy)
            names.push_back(list.ascii(item));
        return add(map({{"$classname", list.ascii(name)}, {"$classes", list.array(names)}}));
    }
    int object(int ofClass, std::map<std::string, int> fields)
    {
        fields["$class"] = list.uid(ofClass);
        return add(map(fields));
    }
    int array(int ofClass, const std::vector<int>& items)
    {
        return object(ofClass, {{"NS.objects", references(items)}});
    }
    int dictionary(int ofClass, const std::vector<int>& keys, const std::vector<int>& items)
    {
        return object(ofClass, {{"NS.keys", references(keys)}, {"NS.objects", references(items)}});
    }

    /// An array of the list, of references to objects of the archive.
    int references(const std::vector<int>& items)
    {
        std::vector<int> uids;
        for (const int item : items)
            uids.push_back(list.uid(item));
        return list.array(uids);
    }
    int map(const std::map<std::string, int>& fields)
    {
        std::vector<int> keys;
        std::vector<int> values;
        for (const auto& [key, value] : fields) {
            keys.push_back(list.ascii(key));
            values.push_back(value);
        }
        return list.dictionary(keys, values);
    }

    /// The archive with a root. `change` may alter the entries of its outermost dictionary.
    std::string archive(int root, const std::function<void(std::map<std::string, int>&)>& change = {})
    {
        std::map<std::string, int> entries{{"$archiver", list.ascii("NSKeyedArchiver")},
            {"$version", list.raw("\x12" + bigEndian(100'000, 4))}, {"$objects", list.array(objects)},
            {"$top", map({{"root", list.uid(root)}})}};
        if (change)
            change(entries);
        return list.list(map(entries));
    }

    BinaryList list;

private:
    std::vector<int> objects;
};

TEST(NSKeyedUnarchiver, ReadsWhatOthersWrote)
{
    ArchiveWriter writer;
    const int mutableArray = writer.classOf("NSMutableArray", {"NSMutableArray", "NSArray", "NSObject"});
    const int mutableDictionary =
        writer.classOf("NSMutableDictionary", {"NSMutableDictionary", "NSDictionary", "NSObject"});
    const int dictionary = writer.classOf("NSDictionary", {"NSDictionary", "NSObject"});
    const int ownDictionary = writer.classOf("Own", {"Own", "NSDictionary", "NSObject"});
    const int mutableString = writer.classOf("NSMutableString", {"NSMutableString", "NSString", "NSObject"});
    const int mutableData = writer.classOf("NSMutableData", {"NSMutableData", "NSData", "NSObject"});
    const int date = writer.classOf("NSDate", {"NSDate", "NSObject"});
    const int url = writer.classOf("NSURL", {"NSURL", "NSObject"});
    const int null = writer.classOf("NSNull", {"NSNull", "NSObject"});
    const int key = writer.text("key");
    const int base = writer.object(url,
        {{"NS.base", writer.list.uid(0)},
            {"NS.relative", writer.list.uid(writer.text("https://example.com/a/b"))}});
    const std::pair<int, Value> cases[]{
        {writer.plain("\x09"), true},
        {writer.plain("\x10\x2A"), 42},
        {writer.plain("\x13" + bigEndian(static_cast<std::uint64_t>(-3), 8)), -3},
        {writer.plain("\x23" + bigEndian(std::bit_cast<std::uint64_t>(0.5), 8)), 0.5},
        {writer.plain("\x64"s + std::string("\0t\0\xE9\0e\0s", 8)), "t\u00E9es"},
        {writer.plain("\x42\x01\x02"), Data{std::byte(1), std::byte(2)}},
        {0, nullptr},
        {writer.object(null, {}), nullptr},
        {writer.object(date, {{"NS.time", writer.list.real(-1.5)}}), dateAt(978307198.5)},
        {writer.object(date, {{"NS.time", writer.list.real(63113904000)}}), dateAt(64092211200)},
        {writer.object(date, {{"NS.time", writer.list.raw("\x10\x3C")}}), dateAt(978307260)},
        {base, *URL::parse("https://example.com/a/b")},
        {writer.object(url,
             {{"NS.base", writer.list.uid(base)}, {"NS.relative", writer.list.uid(writer.text("../c?d"))}}),
            *URL::parse("https://example.com/c?d")},
        {writer.object(mutableString, {{"NS.string", writer.list.ascii("changing")}}), "changing"},
        {writer.object(mutableString, {{"NS.bytes", writer.list.raw("\x43"s + "a\0b"s)}}), "a\0b"sv},
        {writer.object(mutableData, {{"NS.data", writer.list.raw("\x41\x07")}}), Data{std::byte(7)}},
        {writer.array(mutableArray, {key, key, 0}), Value::Array{"key", "key", nullptr}},
        {writer.dictionary(dictionary, {key}, {key}), Value::Dictionary{{"key", "key"}}},
        {writer.dictionary(mutableDictionary, {key}, {key}), Value::Dictionary{{"key", "key"}}},
        {writer.dictionary(ownDictionary, {key}, {key}), Value::Dictionary{{"key", "key"}}},
    };
    for (const auto& [root, value] : cases)
        EXPECT_EQ(read(writer.archive(root)), value) << root;
}

TEST(NSKeyedUnarchiver, ReadsAURLThatItCannotExpressAsNull)
{
    ArchiveWriter writer;
    const int url = writer.classOf("NSURL", {"NSURL", "NSObject"});
    const int array = writer.classOf("NSArray", {"NSArray", "NSObject"});
    for (const char* text : {"", "http://a b/", "%"}) {
        const int object = writer.object(
            url, {{"NS.base", writer.list.uid(0)}, {"NS.relative", writer.list.uid(writer.text(text))}});
        EXPECT_EQ(read(writer.archive(writer.array(array, {object}))), Value(Value::Array{nullptr})) << text;
    }
}

TEST(NSKeyedUnarchiver, GivesNothingForWhatIsNoArchive)
{
    for (const auto bytes : {""sv, "bplist00"sv, "text"sv, "\0"sv, "{}"sv,
             "<plist><dict><key>$archiver</key><string>NSKeyedArchiver</string></dict></plist>"sv})
        EXPECT_EQ(read(bytes), std::nullopt) << bytes;
    BinaryList list;
    EXPECT_EQ(read(list.list(list.ascii("text"))), std::nullopt);
    BinaryList empty;
    EXPECT_EQ(read(empty.list(empty.dictionary({}, {}))), std::nullopt);
}

TEST(NSKeyedUnarchiver, GivesNothingForABrokenFrame)
{
    using Entries = std::map<std::string, int>;
    const std::pair<const char*, std::function<void(ArchiveWriter&, Entries&)>> cases[]{
        {"no archiver", [](auto&, Entries& entries) { entries.erase("$archiver"); }},
        {"another archiver",
            [](auto& writer, Entries& entries) { entries["$archiver"] = writer.list.ascii("NSArchiver"); }},
        {"no objects", [](auto&, Entries& entries) { entries.erase("$objects"); }},
        {"empty objects",
            [](auto& writer, Entries& entries) { entries["$objects"] = writer.list.array({}); }},
        {"objects of another kind",
            [](auto& writer, Entries& entries) { entries["$objects"] = writer.list.ascii("text"); }},
        {"no null object",
            [](auto& writer, Entries& entries) {
                entries["$objects"] = writer.list.array({writer.list.ascii("a"), writer.list.ascii("b")});
            }},
        {"no top", [](auto&, Entries& entries) { entries.erase("$top"); }},
        {"no root", [](auto& writer, Entries& entries) { entries["$top"] = writer.map({}); }},
        {"a root that is no reference",
            [](auto& writer, Entries& entries) {
                entries["$top"] = writer.map({{"root", writer.list.raw("\x10\x01")}});
            }},
        {"a root that leads nowhere",
            [](auto& writer, Entries& entries) {
                entries["$top"] = writer.map({{"root", writer.list.uid(99)}});
            }},
    };
    for (const auto& [what, change] : cases) {
        ArchiveWriter writer;
        const int root = writer.text("root");
        ASSERT_EQ(read(writer.archive(root)), Value("root"));
        EXPECT_EQ(
            read(writer.archive(root, [&](Entries& entries) { change(writer, entries); })), std::nullopt)
            << what;
    }
}

TEST(NSKeyedUnarchiver, GivesNothingForABrokenObject)
{
    using Make = std::function<int(ArchiveWriter&)>;
    const auto array = [](ArchiveWriter& writer) {
        return writer.classOf("NSArray", {"NSArray", "NSObject"});
    };
    const auto dictionary = [](ArchiveWriter& writer) {
        return writer.classOf("NSDictionary", {"NSDictionary", "NSObject"});
    };
    const auto date = [](ArchiveWriter& writer) { return writer.classOf("NSDate", {"NSDate", "NSObject"}); };
    const auto url = [](ArchiveWriter& writer) { return writer.classOf("NSURL", {"NSURL", "NSObject"}); };
    const std::pair<const char*, Make> cases[]{
        {"a class that is none of ours",
            [](auto& writer) { return writer.object(writer.classOf("Own", {"Own", "NSObject"}), {}); }},
        {"a class without a name", [](auto& writer) { return writer.object(writer.classOf("", {}), {}); }},
        {"no class", [](auto& writer) { return writer.object(0, {}); }},
        {"a class that is the object itself", [](auto& writer) { return writer.object(1, {}); }},
        {"a class that leads nowhere", [](auto& writer) { return writer.object(99, {}); }},
        {"an array of the list", [](auto& writer) { return writer.plain("\xA0"); }},
        {"a reference for an object", [](auto& writer) { return writer.plain(std::string("\x80\x00", 2)); }},
        {"an array without items", [=](auto& writer) { return writer.object(array(writer), {}); }},
        {"an array whose items are a text",
            [=](auto& writer) {
                return writer.object(array(writer), {{"NS.objects", writer.list.ascii("text")}});
            }},
        {"an item that is no reference",
            [=](auto& writer) {
                return writer.object(
                    array(writer), {{"NS.objects", writer.list.array({writer.list.ascii("text")})}});
            }},
        {"an item that leads nowhere", [=](auto& writer) { return writer.array(array(writer), {99}); }},
        {"more keys than items",
            [=](auto& writer) {
                const int key = writer.text("key");
                return writer.dictionary(dictionary(writer), {key, key}, {key});
            }},
        {"a key that is no text",
            [=](auto& writer) {
                const int key = writer.plain("\x10\x01");
                return writer.dictionary(dictionary(writer), {key}, {key});
            }},
        {"a null key",
            [=](auto& writer) { return writer.dictionary(dictionary(writer), {0}, {writer.text("text")}); }},
        {"a dictionary without keys",
            [=](auto& writer) {
                return writer.object(dictionary(writer), {{"NS.objects", writer.references({})}});
            }},
        {"a dictionary without items",
            [=](auto& writer) {
                return writer.object(dictionary(writer), {{"NS.keys", writer.references({})}});
            }},
        {"a date without a time", [=](auto& writer) { return writer.object(date(writer), {}); }},
        {"a date of text",
            [=](auto& writer) {
                return writer.object(date(writer), {{"NS.time", writer.list.ascii("now")}});
            }},
        {"a URL without a base",
            [=](auto& writer) {
                return writer.object(
                    url(writer), {{"NS.relative", writer.list.uid(writer.text("http://a/"))}});
            }},
        {"a URL without a text",
            [=](auto& writer) { return writer.object(url(writer), {{"NS.base", writer.list.uid(0)}}); }},
        {"a text of nothing",
            [](auto& writer) {
                return writer.object(writer.classOf("NSString", {"NSString", "NSObject"}), {});
            }},
        {"data of text",
            [](auto& writer) {
                return writer.object(writer.classOf("NSData", {"NSData", "NSObject"}),
                    {{"NS.data", writer.list.ascii("text")}});
            }},
    };
    for (const auto& [what, make] : cases) {
        ArchiveWriter alone;
        EXPECT_EQ(read(alone.archive(make(alone))), std::nullopt) << what;
        ArchiveWriter within;
        const int broken = make(within);
        const int sound = within.text("sound");
        const int root = within.array(array(within), {sound, broken});
        EXPECT_EQ(read(within.archive(root)), std::nullopt) << what << ", in an array";
        EXPECT_EQ(read(within.archive(sound)), Value("sound")) << what << ", where nobody asks";
    }
}

TEST(NSKeyedUnarchiver, GivesNothingForWhatHoldsItself)
{
    for (const int distance : {0, 1, 2, 600}) {
        ArchiveWriter writer;
        const int array = writer.classOf("NSArray", {"NSArray", "NSObject"});
        const int first = array + 1;
        for (int level = 0; level < distance; ++level)
            writer.array(array, {first + level + 1});
        writer.array(array, {first});
        EXPECT_EQ(read(writer.archive(first)), std::nullopt) << distance;
    }
    ArchiveWriter keys;
    const int dictionary = keys.classOf("NSDictionary", {"NSDictionary", "NSObject"});
    EXPECT_EQ(read(keys.archive(keys.dictionary(dictionary, {dictionary + 1}, {0}))), std::nullopt);
    ArchiveWriter urls;
    const int url = urls.classOf("NSURL", {"NSURL", "NSObject"});
    const int text = urls.text("text");
    EXPECT_EQ(read(urls.archive(urls.object(
                  url, {{"NS.base", urls.list.uid(text + 1)}, {"NS.relative", urls.list.uid(text)}}))),
        std::nullopt);
}

TEST(NSKeyedUnarchiver, GivesNothingForURLsThatLeadToOneAnotherForEver)
{
    ArchiveWriter writer;
    const int url = writer.classOf("NSURL", {"NSURL", "NSObject"});
    const int text = writer.text("a");
    int base = 0;
    for (int level = 0; level < 100'000; ++level)
        base =
            writer.object(url, {{"NS.base", writer.list.uid(base)}, {"NS.relative", writer.list.uid(text)}});
    EXPECT_FALSE(read(writer.archive(base)).has_value());
}

TEST(NSKeyedUnarchiver, LooksAtFieldsThatLieOverEachOtherForABoundedTime)
{
    // Ten thousand null objects are one dictionary, whose class is found behind a hundred thousand other fields.
    ArchiveWriter writer;
    const int null = writer.classOf("NSNull", {"NSNull", "NSObject"});
    const int array = writer.classOf("NSArray", {"NSArray", "NSObject"});
    std::vector<int> keys(100'000, writer.list.ascii("field"));
    keys.push_back(writer.list.ascii("$class"));
    const int shared = writer.list.dictionary(keys, std::vector<int>(keys.size(), writer.list.uid(null)));
    const auto nulls = [&](int count) {
        std::vector<int> items;
        for (int number = 0; number < count; ++number)
            items.push_back(writer.add(shared));
        return writer.archive(writer.array(array, items));
    };
    EXPECT_TRUE(read(nulls(1)).has_value());
    EXPECT_FALSE(read(nulls(10'000)).has_value());
}

TEST(NSKeyedUnarchiver, GoesAsDeepAsEveryReaderAndNoDeeper)
{
    const auto nested = [](int levels, bool bottomFirst) {
        ArchiveWriter writer;
        const int array = writer.classOf("NSArray", {"NSArray", "NSObject"});
        std::vector<int> all{writer.text("core")};
        for (int level = 0; level < levels; ++level)
            all.push_back(writer.array(array, {all.back()}));
        // Where the lower ones are read first, none is entered from far above.
        const int inOrder = writer.array(array, all);
        return writer.archive(bottomFirst ? inOrder : all.back());
    };
    EXPECT_TRUE(read(nested(Value::maximumDepth, false)).has_value());
    EXPECT_EQ(read(nested(Value::maximumDepth + 1, false)), std::nullopt);
    EXPECT_EQ(read(nested(10'000, false)), std::nullopt);
    EXPECT_TRUE(read(nested(Value::maximumDepth - 1, true)).has_value());
    EXPECT_EQ(read(nested(Value::maximumDepth, true)), std::nullopt);
}

std::string jar(int cookies)
{
    Value::Array records;
    for (int number = 0; number < cookies; ++number)
        records.push_back(Value::Dictionary{{"Name", "name" + std::to_string(number)}, {"Comment", nullptr},
            {"Expires", dateAt(1893456000.0 + number)}, {"Secure", number % 2 == 0}});
    const auto archive = NSKeyedArchiver::archivedData(records);
    return {reinterpret_cast<const char*>(archive->data()), archive->size()};
}

TEST(NSKeyedUnarchiver, GivesNothingForAnArchiveThatIsCutOff)
{
    const std::string whole = jar(3);
    ASSERT_TRUE(read(whole).has_value());
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(read(std::string_view(whole).substr(0, length)), std::nullopt) << length;
}

TEST(NSKeyedUnarchiver, SurvivesEveryDamagedByte)
{
    const std::string whole = jar(3);
    int refused = 0;
    for (std::size_t index = 0; index < whole.size(); ++index)
        for (const int change : {0x01, 0x10, 0x80, 0xFF}) {
            std::string damaged = whole;
            damaged[index] = static_cast<char>(damaged[index] ^ change);
            refused += !read(damaged).has_value();
        }
    EXPECT_GT(refused, 100);
}

/// The most memory that this process had so far.
/// Units: megabytes.
long peakMemory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

TEST(NSKeyedUnarchiver, RefusesHugeArchivesSoonAndWithinSixtyFourMegabytes)
{
    const auto arrayOf = [](int count, bool same, const std::string& item) {
        ArchiveWriter writer;
        const int array = writer.classOf("NSArray", {"NSArray", "NSObject"});
        std::vector<int> items;
        for (int number = 0; number < count; ++number)
            items.push_back(same && number > 0 ? items.front() : writer.text(item));
        return writer.archive(writer.array(array, items));
    };
    const std::pair<const char*, std::string> cases[]{
        {"many objects", arrayOf(600'000, false, "item")},
        {"many references", arrayOf(2'000'000, true, "item")},
        {"a long text", arrayOf(1, true, std::string(30'000'000, 'x'))},
        {"a text of which there are many", arrayOf(60'000, true, std::string(100'000, 'x'))},
    };
    [[maybe_unused]] const long before = peakMemory();
    for (const auto& [what, archive] : cases) {
        const auto start = std::chrono::steady_clock::now();
        const auto value = read(archive);
        EXPECT_FALSE(value.has_value()) << what;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << what;
    }
#ifndef SANITIZED // a sanitizer keeps what was given back
    EXPECT_LT(peakMemory() - before, 64);
#endif
}

} // namespace
