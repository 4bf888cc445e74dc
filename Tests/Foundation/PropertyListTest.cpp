#include "Support/BinaryList.h"

#include <LumoKit/Platform/Foundation/PropertyList.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using namespace LumoKit;
using namespace LumoKit::Test;
using namespace std::string_view_literals;

namespace {

using Type = Value::Type;

std::optional<Value> read(std::string_view text)
{
    return readPropertyList(std::as_bytes(std::span(text)));
}

/// An XML property list around `content`.
std::string xml(std::string_view content)
{
    std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist SYSTEM "file://localhost/System/Library/DTDs/PropertyList.dtd">
<plist version="1.0">
)";
    return text.append(content).append("\n</plist>\n");
}

Date dateAt(double seconds)
{
    return Date(std::chrono::duration<double>(seconds));
}

Data dataOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

constexpr double referenceDate = 978307200; // 2001-01-01, from where property lists count

// ---- XML
// ------------------------------------------------------------------------------------------------------------

TEST(XMLPropertyList, GivesEveryTypeAsWhatItIs)
{
    struct Case {
        std::string_view content;
        Value value;
    };
    const Case cases[]{
        {"<true/>", true},
        {"<false/>", false},
        {"<integer>0</integer>", 0},
        {"<integer>1</integer>", 1},
        {"<integer>-5</integer>", -5},
        {"<integer>9223372036854775807</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
        {"<integer>0x1F</integer>", 31},
        {"<real>1.5</real>", 1.5},
        {"<real>-0.25</real>", -0.25},
        {"<real>2</real>", 2.0},
        {"<real>1e10</real>", 1e10},
        {"<string>tea</string>", "tea"},
        {"<string></string>", ""},
        {"<string/>", ""},
        {"<string>a &amp; b &lt;c&gt; \u00FC \U0001F600</string>", "a & b <c> \u00FC \U0001F600"},
        {"<string> kept  blanks </string>", " kept  blanks "},
        {"<string><![CDATA[<raw>]]></string>", "<raw>"},
        {"<date>2001-01-01T00:00:00Z</date>", dateAt(referenceDate)},
        {"<date>2024-02-29T12:30:45Z</date>", dateAt(1709209845)},
        {"<date>1969-12-31T23:59:59Z</date>", dateAt(-1)},
        {"<data>AQID/w==</data>", dataOf("\x01\x02\x03\xFF"sv)},
        {"<data>\n\tAQID\n\t/w==\n\t</data>", dataOf("\x01\x02\x03\xFF"sv)},
        {"<data></data>", Data{}},
        {"<array/>", Value::Array{}},
        {"<array><integer>1</integer><string>two</string></array>", Value::Array{1, "two"}},
        {"<dict/>", Value::Dictionary{}},
        {"<dict><key>a</key><integer>1</integer><key>b</key><array><true/></array></dict>",
            Value::Dictionary{{"a", 1}, {"b", Value::Array{true}}}},
        {"<dict><key>\u00FC &amp; b</key><false/></dict>", Value::Dictionary{{"\u00FC & b", false}}},
    };
    for (const auto& [content, value] : cases) {
        const auto list = read(xml(content));
        ASSERT_TRUE(list.has_value()) << content;
        EXPECT_EQ(*list, value) << content << ": " << list->description();
    }
}

TEST(XMLPropertyList, TurnsAnIntegerBeyondTheRangeIntoTheNearestNumber)
{
    const auto list = read(xml("<integer>18446744073709551615</integer>"));
    ASSERT_TRUE(list.has_value());
    EXPECT_EQ(*list, Value(std::numeric_limits<std::uint64_t>::max())) << list->description();
}

TEST(XMLPropertyList, ReadsDatesOfTheFarFutureAndPast)
{
    EXPECT_EQ(read(xml("<date>2100-01-01T00:00:00Z</date>")), Value(dateAt(4102444800)));
    EXPECT_EQ(read(xml("<date>4001-01-01T00:00:00Z</date>")), Value(dateAt(64092211200)));
    EXPECT_EQ(read(xml("<date>1900-01-01T00:00:00Z</date>")), Value(dateAt(-2208988800)));
}

TEST(XMLPropertyList, NeedsNoDeclaration)
{
    EXPECT_EQ(read("<plist version=\"1.0\"><string>tea</string></plist>"), Value("tea"));
    EXPECT_EQ(read("<plist><!-- a comment --><true/></plist>"), Value(true));
}

TEST(XMLPropertyList, TakesTheLastOfEqualKeys)
{
    const auto list = read(xml("<dict><key>a</key><true/><key>a</key><false/></dict>"));
    ASSERT_TRUE(list.has_value());
    EXPECT_EQ(list->asDictionary()->size(), 1u);
}

// ---- binary
// ---------------------------------------------------------------------------------------------------------

TEST(BinaryPropertyList, GivesEveryTypeAsWhatItIs)
{
    struct Case {
        const char* what;
        std::string object;
        Value value;
    };
    const Case cases[]{
        {"false", "\x08", false},
        {"true", "\x09", true},
        {"one byte", "\x10\x05", 5},
        {"one byte is never negative", "\x10\xFF", 255},
        {"two bytes", "\x11\x12\x34", 0x1234},
        {"four bytes", "\x12\xFF\xFF\xFF\xFF", 4294967295},
        {"eight bytes", "\x13" + bigEndian(std::uint64_t(1) << 40, 8), std::int64_t(1) << 40},
        {"minus five", "\x13" + bigEndian(static_cast<std::uint64_t>(-5), 8), -5},
        {"the least", "\x13" + bigEndian(std::uint64_t(1) << 63, 8),
            std::numeric_limits<std::int64_t>::min()},
        {"the greatest", "\x13" + bigEndian(~std::uint64_t(0) >> 1, 8),
            std::numeric_limits<std::int64_t>::max()},
        {"real", "\x23" + bigEndian(std::bit_cast<std::uint64_t>(-1.25), 8), -1.25},
        {"short real", "\x22" + bigEndian(std::bit_cast<std::uint32_t>(0.5F), 4), 0.5},
        {"date", "\x33" + bigEndian(std::bit_cast<std::uint64_t>(60.5), 8), dateAt(referenceDate + 60.5)},
        {"data", std::string("\x43\x00\x01\xFF", 4), dataOf("\x00\x01\xFF"sv)},
        {"no data", "\x40", Data{}},
        {"ASCII", "\x53tea", "tea"},
        {"empty text", "\x50", ""},
        {"UTF-16", std::string("\x64\x00t\x00\xE9\xD8\x3D\xDE\x00", 9), "t\u00E9\U0001F600"},
        {"identifier", "\x80\x07", 7},
        {"empty array", "\xA0", Value::Array{}},
        {"empty dictionary", "\xD0", Value::Dictionary{}},
    };
    for (const auto& [what, object, value] : cases) {
        BinaryList writer;
        const auto list = read(writer.list(writer.raw(object)));
        ASSERT_TRUE(list.has_value()) << what;
        EXPECT_EQ(*list, value) << what << ": " << list->description();
    }
}

TEST(BinaryPropertyList, ReadsContainers)
{
    BinaryList writer;
    const int key = writer.ascii("a key that is longer than fifteen bytes");
    const int other = writer.ascii("other");
    const int text = writer.ascii("tea");
    const int items = writer.array({text, text, key});
    const auto list = read(writer.list(writer.dictionary({key, other}, {items, text})));
    ASSERT_TRUE(list.has_value());
    EXPECT_EQ(*list,
        Value(Value::Dictionary{
            {"a key that is longer than fifteen bytes",
                Value::Array{"tea", "tea", "a key that is longer than fifteen bytes"}},
            {"other", "tea"},
        }));
}

TEST(BinaryPropertyList, TurnsAnIntegerBeyondTheRangeIntoTheNearestNumber)
{
    BinaryList writer;
    const int number = writer.raw("\x14" + std::string(8, '\0') + std::string(8, '\xFF'));
    const auto list = read(writer.list(number));
    ASSERT_TRUE(list.has_value());
    EXPECT_EQ(*list, Value(std::numeric_limits<std::uint64_t>::max())) << list->description();
}

TEST(BinaryPropertyList, ReadsEveryDate)
{
    for (const double seconds : {0.0, 0.5, -0.5, -1.75, -3187296000.25, 3124224000.0, 63113904000.0}) {
        BinaryList writer;
        const auto list = read(writer.list(writer.date(seconds)));
        ASSERT_TRUE(list.has_value()) << seconds;
        ASSERT_TRUE(list->asDate().has_value()) << seconds;
        EXPECT_NEAR(list->asDate()->time_since_epoch().count(), referenceDate + seconds, 1e-5) << seconds;
    }
}

TEST(BinaryPropertyList, IsNothingWhenItIsCutOff)
{
    BinaryList writer;
    const int text = writer.ascii("tea");
    const std::string whole =
        writer.list(writer.dictionary({text}, {writer.array({text, writer.real(1.5)})}));
    ASSERT_TRUE(read(whole).has_value());
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(read(std::string_view(whole).substr(0, size)), std::nullopt) << size;
}

TEST(BinaryPropertyList, SurvivesEveryDamagedByte)
{
    BinaryList writer;
    const int text = writer.ascii("tea");
    const std::string whole =
        writer.list(writer.dictionary({text}, {writer.array({text, writer.real(1.5)})}));
    int refused = 0;
    for (std::size_t index = 0; index < whole.size(); ++index)
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string damaged = whole;
            damaged[index] = static_cast<char>(damaged[index] ^ change);
            refused += !read(damaged).has_value();
        }
    EXPECT_GT(refused, 0);
}

TEST(BinaryPropertyList, IsNothingWhenItContainsItself)
{
    BinaryList writer;
    EXPECT_EQ(read(writer.list(writer.array({0}))), std::nullopt);
}

// ---- either
// ---------------------------------------------------------------------------------------------------------

TEST(PropertyList, IsNothingForBytesOfAnotherKind)
{
    for (const auto text : {""sv, " "sv, "\0"sv, "tea"sv, "{ a = 1; }"sv, "{\"a\": 1}"sv, "<"sv, "<plist"sv,
             "<plist></plist>"sv, "<html><body/></html>"sv, "<?xml version=\"1.0\"?>"sv, "bplist"sv,
             "bplist00"sv, "bplist99 and more than thirty-two bytes of text that is no list"sv,
             "\xFF\xFE\xFD"sv, "<plist><unknown/></plist>"sv, "<plist><string>never ended"sv,
             "<plist><dict><key>a</key></plist>"sv})
        EXPECT_EQ(read(text), std::nullopt) << text;
    EXPECT_EQ(readPropertyList({}), std::nullopt);
}

/// The number of arrays that hold one another, the outermost included.
int nesting(const Value& list)
{
    int depth = 0;
    for (const Value* level = &list; level->asArray(); level = &(*level)[0])
        ++depth;
    return depth;
}

std::string nestedXML(int levels)
{
    std::string content;
    for (int level = 0; level < levels; ++level)
        content += "<array>";
    content += "<string>core</string>";
    for (int level = 0; level < levels; ++level)
        content += "</array>";
    return xml(content);
}

TEST(PropertyList, ReadsWhatIsNestedTooDeeplyAsNull)
{
    const auto within = read(nestedXML(Value::maximumDepth));
    ASSERT_TRUE(within.has_value());
    EXPECT_EQ(nesting(*within), Value::maximumDepth);
    EXPECT_NE(within->description().find("core"), std::string::npos);

    const auto beyond = read(nestedXML(Value::maximumDepth + 100));
    ASSERT_TRUE(beyond.has_value());
    EXPECT_EQ(nesting(*beyond), Value::maximumDepth + 1);
}

TEST(PropertyList, SurvivesAnyNesting)
{
    static_cast<void>(read(nestedXML(200'000)));
    BinaryList writer;
    int top = writer.ascii("core");
    for (int level = 0; level < 60'000; ++level)
        top = writer.array({top});
    static_cast<void>(read(writer.list(top)));
}

TEST(PropertyList, ReadsALongOne)
{
    std::string content = "<array>";
    for (int number = 0; number < 20'000; ++number)
        content += "<string>" + std::to_string(number) + "</string>";
    const auto list = read(xml(content + "</array>"));
    ASSERT_TRUE(list.has_value());
    ASSERT_EQ(list->asArray()->size(), 20'000u);
    EXPECT_EQ((*list)[19'999], Value("19999"));
}

TEST(BinaryPropertyList, KeepsZeroBytesOfTextsAndKeys)
{
    const std::string nul("a\0b", 3);
    BinaryList list;
    const int text = list.ascii(nul);
    EXPECT_EQ(read(list.list(list.dictionary({text}, {text}))), Value(Value::Dictionary{{nul, nul}}));
}

TEST(BinaryPropertyList, ReadsTextsOfUTF16)
{
    const std::pair<std::string, std::string> cases[]{
        {std::string("\0a\0\xE9\x20\xAC", 6), "a\u00E9\u20AC"},
        {std::string("\xD8\x3D\xDE\0", 4), "\U0001F600"},
        {std::string("\xD8\x3D\0a", 4), "\uFFFDa"}, // half a pair
        {std::string("\xDE\x00\xD8\x3D", 4), "\uFFFD\uFFFD"},
    };
    for (const auto& [bytes, text] : cases) {
        BinaryList list;
        EXPECT_EQ(read(list.list(list.sized(6, bytes.size() / 2, bytes))), Value(text));
    }
}

TEST(BinaryPropertyList, IsNothingWithAnObjectThatIsNone)
{
    for (const std::string& bytes :
        {std::string(1, '\0'), std::string("\x0F"), std::string("\x15"), std::string("\x24"),
            std::string("\x70"), std::string("\x90"), std::string("\xE0"), std::string("\xF0")}) {
        BinaryList list;
        EXPECT_EQ(read(list.list(list.raw(bytes))), std::nullopt);
        EXPECT_EQ(read(list.list(list.array({0}))), std::nullopt);
    }
    BinaryList missing;
    EXPECT_EQ(read(missing.list(missing.array({99}))), std::nullopt);
    BinaryList numbered;
    const int number = numbered.raw("\x10\x01");
    EXPECT_EQ(read(numbered.list(numbered.dictionary({number}, {number}))), std::nullopt); // a key is a text
}

/// A list of arrays; each item is the list of the objects that it refers to, and the last one is the top.
std::string arrays(const std::vector<std::vector<int>>& arrays)
{
    BinaryList list;
    int top = 0;
    for (const auto& items : arrays)
        top = list.array(items);
    return list.list(top);
}

TEST(BinaryPropertyList, IsNothingInALongCircle)
{
    EXPECT_EQ(read(arrays({{2}, {0}, {1}})), std::nullopt);
    EXPECT_EQ(read(arrays({{2, 2}, {0, 0}, {1, 1}})), std::nullopt);
}

TEST(BinaryPropertyList, IsBoundedInWhatItIsWrittenOut)
{
    const auto doubling = [](int levels) {
        std::vector<std::vector<int>> all = {{}};
        for (int level = 1; level < levels; ++level)
            all.push_back({level - 1, level - 1});
        return arrays(all);
    };
    EXPECT_TRUE(read(doubling(18)).has_value());
    EXPECT_EQ(read(doubling(23)), std::nullopt);
    EXPECT_EQ(read(doubling(4000)), std::nullopt);
}

TEST(BinaryPropertyList, CountsEachTextAsOftenAsItIsReferredTo)
{
    const auto texts = [](int times, bool asKeys) {
        BinaryList list;
        const std::vector<int> items(
            static_cast<std::size_t>(times), list.ascii(std::string(1'000'000, 'x')));
        const std::vector<int> small(static_cast<std::size_t>(times), list.ascii("x"));
        return list.list(asKeys ? list.dictionary(items, small) : list.array(items));
    };
    for (const bool asKeys : {false, true}) {
        EXPECT_TRUE(read(texts(20, asKeys)).has_value());
        EXPECT_EQ(read(texts(1000, asKeys)), std::nullopt);
    }
}

TEST(BinaryPropertyList, IsReadSoonWhereItsObjectsOverlap)
{
    // Each object is an array that begins a little later in the same bytes and refers to the next one first.
    constexpr int count = 4000;
    constexpr int size = 2'000'000;
    std::string bytes = "bplist00";
    std::string offsets;
    for (int object = 0; object < count; ++object) {
        offsets += bigEndian(bytes.size(), 4);
        bytes += "\xAF\x12" + bigEndian(static_cast<std::uint64_t>(size), 4)
            + bigEndian(static_cast<std::uint64_t>(object) + 1, 2);
    }
    bytes += std::string(2 * size + 16, '\0');
    const std::size_t table = bytes.size();
    bytes += offsets + std::string(6, '\0') + "\x04\x02" + bigEndian(count, 8) + bigEndian(0, 8)
        + bigEndian(table, 8);
    EXPECT_EQ(read(bytes), std::nullopt); // within the limit of time that every test has
}

} // namespace
