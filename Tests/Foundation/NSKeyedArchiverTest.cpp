#include "Support/Printing.h"
#include "Support/TemporaryFolder.h"

#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

using namespace LumoKit;
using namespace LumoKit::Test;
using namespace std::string_view_literals;

namespace {

Date dateAt(double seconds)
{
    return Date(std::chrono::duration<double>(seconds));
}

Data dataOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

/// What a reader that shares nothing with the archiver sees: see the script.
std::string asOthersRead(const Value& value)
{
    const auto archive = NSKeyedArchiver::archivedData(value);
    if (!archive)
        return "no archive";
    const TemporaryFolder folder;
    writeInPlace(folder / "archive",
        std::string_view(reinterpret_cast<const char*>(archive->data()), archive->size()));
    const std::string command = READ_ARCHIVE " '" + (folder / "archive").string() + "' 2>&1";
    FILE* output = ::popen(command.c_str(), "r");
    std::string text;
    for (int character; output && (character = std::fgetc(output)) != EOF;)
        text += static_cast<char>(character);
    const int status = ::pclose(output);
    while (text.ends_with('\n'))
        text.pop_back();
    return status == 0 ? text : "failed: " + text;
}

TEST(NSKeyedArchiver, WritesWhatOtherReadersRead)
{
    const Value jar = Value::Array{Value::Dictionary{{"Name", "sid"}, {"Comment", nullptr}, {"Secure", true},
        {"Discard", false}, {"Version", 0}, {"Expires", dateAt(978307200 + 60.5)},
        {"CommentURL", *URL::parse("https://example.com/why")}, {"Value", "t\u00E9\U0001F600"},
        {"Max-Age", -5}, {"Created", -0.25}, {"Port", Data{dataOf("\x00\xFF"sv)}}, {"Path", ""}}};
    EXPECT_EQ(asOthersRead(jar),
        R"({"objects": 33, "root": [{"Comment": null, "CommentURL": {"url": "https://example.com/why"}, )"
        R"("Created": -0.25, "Discard": false, "Expires": {"date": 60.5}, "Max-Age": -5, "Name": "sid", "Path": "", )"
        R"("Port": {"data": "00ff"}, "Secure": true, "Value": "t\u00e9\ud83d\ude00", "Version": 0}]})");
}

TEST(NSKeyedArchiver, WritesWholeNumbersWithTheirSign)
{
    EXPECT_EQ(asOthersRead(Value::Array{std::numeric_limits<std::int64_t>::min(), -4294967296, -1, 0, 255,
                  256, 65536, 4294967296, std::numeric_limits<std::int64_t>::max()}),
        R"({"objects": 12, "root": [-9223372036854775808, -4294967296, -1, 0, 255, 256, 65536, 4294967296, )"
        R"(9223372036854775807]})");
}

TEST(NSKeyedArchiver, WritesTextsThatNoPropertyListHoldsAsBytes)
{
    EXPECT_EQ(asOthersRead(Value::Array{"a\0b"sv, "\xFF", "$null", "$class"}),
        R"({"objects": 8, "root": [{"text of bytes": "a\u0000b"}, {"text of bytes": "\\xff"}, )"
        R"({"text of bytes": "$null"}, "$class"]})");
}

TEST(NSKeyedArchiver, WritesEqualTextsAndSharedContainersOnce)
{
    const Value shared = Value::Dictionary{{"key", "text"}};
    EXPECT_EQ(asOthersRead(Value::Array{shared, shared, "key", "text", nullptr, nullptr}),
        R"({"objects": 9, "root": [{"key": "text"}, {"key": "text"}, "key", "text", null, null]})");

    Value tangle = Value::Array{"core"};
    for (int level = 0; level < 100; ++level)
        tangle = Value::Array{tangle, tangle};
    const auto archive = NSKeyedArchiver::archivedData(tangle);
    ASSERT_TRUE(archive.has_value());
    EXPECT_LT(archive->size(), 10'000u);
    EXPECT_TRUE(NSKeyedUnarchiver::unarchiveObject(*archive).has_value());
}

TEST(NSKeyedArchiver, WritesEveryKindOfRoot)
{
    const std::pair<Value, std::string> cases[]{
        {nullptr, R"({"objects": 3, "root": null})"},
        {true, R"({"objects": 2, "root": true})"},
        {"text", R"({"objects": 2, "root": "text"})"},
        {Value::Array{}, R"({"objects": 3, "root": []})"},
        {Value::Dictionary{}, R"({"objects": 3, "root": {}})"},
    };
    for (const auto& [value, read] : cases)
        EXPECT_EQ(asOthersRead(value), read);
}

TEST(NSKeyedArchiver, GivesBackWhatItWasGiven)
{
    const Value cases[]{
        nullptr,
        true,
        false,
        0,
        -1,
        std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max(),
        0.0,
        1.5,
        -1e300,
        std::numeric_limits<double>::infinity(),
        "",
        "text",
        "t\u00E9\U0001F600",
        "a\0b"sv,
        "\0"sv,
        "\xFF\xFE",
        "$null",
        std::string(100'000, 'x'),
        dateAt(0),
        dateAt(-62135596800.0),
        dateAt(64092211200.0),
        dateAt(1893456000.25),
        dataOf(""),
        dataOf("\x00\x01\xFF"sv),
        *URL::parse("https://example.com/a?b#c"),
        *URL::parse("relative/reference"),
        Value::Array{},
        Value::Array{Value(Value::Array{Value(Value::Array{})})},
        Value::Dictionary{
            {"", nullptr}, {"$class", 1}, {"a\0b", 2}, {"NS.keys", Value::Array{1, 1.0, true, "1"}}},
    };
    for (const Value& value : cases)
        for (const Value& root :
            {value, Value(Value::Array{value, value}), Value(Value::Dictionary{{"key", value}})}) {
            const auto archive = NSKeyedArchiver::archivedData(root);
            ASSERT_TRUE(archive.has_value()) << root.description();
            EXPECT_EQ(NSKeyedUnarchiver::unarchiveObject(*archive), root) << root.description();
        }
}

TEST(NSKeyedArchiver, KeepsNumbersThatAreNone)
{
    const auto archive = NSKeyedArchiver::archivedData(std::numeric_limits<double>::quiet_NaN());
    ASSERT_TRUE(archive.has_value());
    const auto read = NSKeyedUnarchiver::unarchiveObject(*archive);
    ASSERT_TRUE(read && read->asNumber());
    EXPECT_TRUE(std::isnan(*read->asNumber()));
}

Value nested(int levels)
{
    Value value = "core";
    for (int level = 0; level < levels; ++level)
        value = level % 2 ? Value(Value::Array{value}) : Value(Value::Dictionary{{"below", value}});
    return value;
}

TEST(NSKeyedArchiver, WritesNothingThatCouldNotBeRead)
{
    const auto deepest = NSKeyedArchiver::archivedData(nested(Value::maximumDepth));
    ASSERT_TRUE(deepest.has_value());
    EXPECT_EQ(NSKeyedUnarchiver::unarchiveObject(*deepest), nested(Value::maximumDepth));
    EXPECT_EQ(NSKeyedArchiver::archivedData(nested(Value::maximumDepth + 1)), std::nullopt);
    // Also where the depth is that of two branches of a tangle, neither of which is too deep.
    const Value half = nested(Value::maximumDepth - 10);
    EXPECT_EQ(
        NSKeyedArchiver::archivedData(Value::Array{half, Value::Array{nested(20), half}}).has_value(), true);
    Value above = half;
    for (int level = 0; level < 20; ++level)
        above = Value::Array{half, above};
    EXPECT_EQ(NSKeyedArchiver::archivedData(above), std::nullopt);

    EXPECT_EQ(NSKeyedArchiver::archivedData(std::string(60'000'000, 'x')), std::nullopt);
    EXPECT_EQ(NSKeyedArchiver::archivedData(Value::Array(1'000'000, 1)), std::nullopt);
    EXPECT_EQ(NSKeyedArchiver::archivedData(Value::Array(2'000, std::string(100'000, 'x'))), std::nullopt);
}

TEST(NSKeyedArchiver, WritesAllThatCanBeRead)
{
    // Each list is longer than the one before, until one is refused: all before it are read.
    int written = 0;
    for (int count = 1000;; count += 4'000) {
        Value::Array array;
        for (int number = 0; number < count; ++number)
            array.emplace_back(std::string(1000, 'x') + std::to_string(number));
        const auto archive = NSKeyedArchiver::archivedData(array);
        if (!archive)
            break;
        const auto read = NSKeyedUnarchiver::unarchiveObject(*archive);
        ASSERT_TRUE(read.has_value()) << count;
        EXPECT_EQ(read->asArray()->size(), static_cast<std::size_t>(count));
        ++written;
    }
    EXPECT_GT(written, 3);
}

} // namespace
