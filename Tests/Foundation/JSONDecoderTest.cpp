#include "Support/Printing.h"

#include <LumoKit/Platform/Foundation/JSONDecoder.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

struct Address {
    std::string town;
    std::optional<int> number;

    bool operator==(const Address&) const = default;
    static constexpr std::tuple codingKeys{
        CodingKey{"town", &Address::town}, CodingKey{"number", &Address::number}};
};

struct Contact {
    std::string name;
    std::optional<URL> picture;
    std::vector<Address> addresses;
    std::optional<Address> work;
    int timesRead = 3; // no part of the serialised form

    bool operator==(const Contact&) const = default;
    static constexpr std::tuple codingKeys{CodingKey{"name", &Contact::name},
        CodingKey{"picture", &Contact::picture}, CodingKey{"addresses", &Contact::addresses},
        CodingKey{"work", &Contact::work}};
};

/// Cannot be made without arguments.
struct Link {
    std::string title;
    URL address;

    bool operator==(const Link&) const = default;
    static constexpr std::tuple codingKeys{
        CodingKey{"title", &Link::title}, CodingKey{"address", &Link::address}};
};

/// Cannot be assigned to.
struct Fixed {
    const std::string first;
    const std::string second;

    static constexpr std::tuple codingKeys{
        CodingKey{"first", &Fixed::first}, CodingKey{"second", &Fixed::second}};
};

/// Keeps its keys to itself.
class Sealed {
public:
    [[nodiscard]] int number() const { return content; }

private:
    friend class LumoKit::CodingAccess;
    int content = 0;
    static constexpr std::tuple codingKeys{CodingKey{"number", &Sealed::content}};
};

struct Tree {
    std::vector<Tree> children;

    static constexpr std::tuple codingKeys{CodingKey{"c", &Tree::children}};
};

struct NotARecord {
    int number = 0;
};

static_assert(Codable<Contact> && Codable<Link> && Codable<Sealed> && Codable<Tree>);
static_assert(Codable<std::vector<Contact>> && Codable<std::map<std::string, std::optional<double>>>);
static_assert(Codable<bool> && Codable<std::int8_t> && Codable<std::uint32_t> && Codable<long long>);
static_assert(Codable<Date> && Codable<Data> && Codable<std::vector<Data>>);
static_assert(!Codable<NotARecord> && !Codable<std::vector<NotARecord>> && !Codable<float>);
static_assert(!Codable<char> && !Codable<wchar_t> && !Codable<std::uint64_t> && !Codable<const char*>);
static_assert(!Codable<std::optional<std::optional<int>>> && !Codable<std::vector<std::byte*>>);

template <class T> T decoded(std::string_view text)
{
    auto value = JSONDecoder().decode<T>(text);
    if (!value)
        ADD_FAILURE() << text << ": " << value.error().description;
    return std::move(value.value());
}

template <class T> void expectError(std::string_view text, DecodingError kind, std::string_view description)
{
    const auto value = JSONDecoder().decode<T>(text);
    ASSERT_FALSE(value.has_value()) << text;
    EXPECT_EQ(value.error(),
        (Error{std::string(decodingErrorDomain), static_cast<int>(kind), std::string(description)}))
        << text;
}

using enum DecodingError;

TEST(JSONDecoder, ReadsARecordWithRecordsInIt)
{
    const auto contact = decoded<Contact>(R"({
        "name": "Ada", "picture": "https:\/\/example.com/ada.png",
        "addresses": [{"town": "London", "number": 12}, {"town": "Bath"}], "work": {"town": "Hull"}})");
    EXPECT_EQ(contact,
        (Contact{"Ada", URL::parse("https://example.com/ada.png"), {{"London", 12}, {"Bath", {}}},
            Address{"Hull", {}}}));
}

TEST(JSONDecoder, ReadsARecordThatCannotBeEmptyOrAssignedTo)
{
    EXPECT_EQ(decoded<Link>(R"({"address": "https://example.com", "title": "a"})"),
        (Link{"a", *URL::parse("https://example.com")}));
    const auto fixed = decoded<Fixed>(R"({"second": "b", "first": "a"})");
    EXPECT_EQ(fixed.first, "a");
    EXPECT_EQ(fixed.second, "b");
    EXPECT_EQ(decoded<Sealed>(R"({"number": 3})").number(), 3);
}

TEST(JSONDecoder, TakesNullAndMissingForAnAbsentOptional)
{
    const Contact expected{.name = "a", .addresses = {}};
    EXPECT_EQ(decoded<Contact>(R"({"name": "a", "addresses": []})"), expected);
    EXPECT_EQ(decoded<Contact>(R"({"name": "a", "addresses": [], "picture": null, "work": null})"), expected);
    EXPECT_EQ(decoded<std::vector<std::optional<int>>>("[1,null]"),
        (std::vector<std::optional<int>>{1, std::nullopt}));
    EXPECT_EQ(decoded<std::optional<int>>("null"), std::nullopt);
}

TEST(JSONDecoder, PassesOverUnknownKeysAndOtherLetterCases)
{
    EXPECT_EQ(decoded<Address>(R"({"town": "a", "NUMBER": "x", "extra": {"a": [1, null]}})"),
        (Address{"a", std::nullopt}));
}

TEST(JSONDecoder, TakesTheLastOfEntriesWithTheSameKey)
{
    EXPECT_EQ(decoded<Address>(R"({"town": 1, "town": "a", "town": "b"})"), (Address{"b", std::nullopt}));
    expectError<Address>(
        R"({"town": "a", "town": 1})", typeMismatch, "town: a number where a text is needed");
}

TEST(JSONDecoder, ReadsEveryKindOfValue)
{
    EXPECT_EQ(decoded<bool>("true"), true);
    EXPECT_EQ(decoded<std::vector<bool>>("[true,false]"), (std::vector<bool>{true, false}));
    EXPECT_EQ(decoded<double>("1.5"), 1.5);
    EXPECT_EQ(decoded<double>("2"), 2.0);
    EXPECT_EQ(decoded<double>("9007199254740993"), 9007199254740992.0);
    EXPECT_EQ(decoded<double>("18446744073709551615"), 18446744073709551616.0);
    EXPECT_EQ(decoded<std::string>(R"("a\u0000b")"), "a\0b"sv);
    EXPECT_EQ(decoded<URL>(R"("/a?b")").absoluteString(), "/a?b");
    EXPECT_EQ((decoded<std::map<std::string, int>>(R"({"b": 2, "a": 1})")),
        (std::map<std::string, int>{{"a", 1}, {"b", 2}}));
}

TEST(JSONDecoder, ReadsWholeNumbersHoweverTheyAreWritten)
{
    const std::vector<std::pair<std::string, std::int64_t>> cases = {{"0", 0}, {"-0", 0}, {"-0.0", 0},
        {"1.0", 1}, {"-1.0", -1}, {"1e3", 1000}, {"12.5e1", 125}, {"0e-10", 0},
        {"1e18", 1'000'000'000'000'000'000}, {"9223372036854775807", INT64_MAX},
        {"-9223372036854775808", INT64_MIN}};
    for (const auto& [text, number] : cases)
        EXPECT_EQ(decoded<std::int64_t>(text), number) << text;
}

TEST(JSONDecoder, RefusesNumbersThatAreNotWholeOrDoNotFit)
{
    for (const char* text :
        {"1.5", "1e-1", "9223372036854775808", "18446744073709551615", "1e19", "-1e300"}) {
        const auto number = JSONDecoder().decode<std::int64_t>(text);
        ASSERT_FALSE(number.has_value()) << text;
        EXPECT_EQ(number.error().code, static_cast<int>(dataCorrupted)) << text;
    }
    expectError<int>("1.5", dataCorrupted, "top level: the number 1.5 is not whole, or out of range");
    // More than 64 bits are no number to the reader.
    expectError<std::int64_t>("-9223372036854775809", dataCorrupted, "top level: the text is no JSON");
    expectError<double>("18446744073709551616", dataCorrupted, "top level: the text is no JSON");
    expectError<Address>(
        R"({"town": "a", "extra": 18446744073709551616})", dataCorrupted, "top level: the text is no JSON");
}

TEST(JSONDecoder, KeepsNumbersWithinTheRangeOfTheirType)
{
    EXPECT_EQ(decoded<std::vector<std::int8_t>>("[-128, 127]"), (std::vector<std::int8_t>{-128, 127}));
    EXPECT_EQ(decoded<std::uint32_t>("4294967295"), UINT32_MAX);
    for (const char* text : {"-129", "128"})
        EXPECT_FALSE(JSONDecoder().decode<std::int8_t>(text).has_value()) << text;
    for (const char* text : {"-1", "4294967296"})
        EXPECT_FALSE(JSONDecoder().decode<std::uint32_t>(text).has_value()) << text;
}

TEST(JSONDecoder, KeepsTypesApart)
{
    expectError<std::int64_t>("true", typeMismatch, "top level: a boolean where a whole number is needed");
    expectError<std::int64_t>(R"("1")", typeMismatch, "top level: a text where a whole number is needed");
    expectError<std::int64_t>("[1]", typeMismatch, "top level: an array where a whole number is needed");
    expectError<std::int64_t>(
        R"({"a":1})", typeMismatch, "top level: a dictionary where a whole number is needed");
    expectError<bool>("1", typeMismatch, "top level: a number where a boolean is needed");
    expectError<bool>("0.0", typeMismatch, "top level: a number where a boolean is needed");
    expectError<bool>(R"("true")", typeMismatch, "top level: a text where a boolean is needed");
    expectError<double>("false", typeMismatch, "top level: a boolean where a number is needed");
    expectError<std::string>("1", typeMismatch, "top level: a number where a text is needed");
    expectError<URL>("1", typeMismatch, "top level: a number where a URL is needed");
    expectError<Date>(R"("2001")", typeMismatch, "top level: a text where a date is needed");
    expectError<Data>("[1]", typeMismatch, "top level: an array where data is needed");
    expectError<std::vector<int>>("{}", typeMismatch, "top level: a dictionary where an array is needed");
    expectError<std::map<std::string, int>>(
        "[]", typeMismatch, "top level: an array where a dictionary is needed");
    expectError<Address>("[]", typeMismatch, "top level: an array where a dictionary is needed");
}

TEST(JSONDecoder, RefusesNullWhereAValueIsNeeded)
{
    expectError<Address>("null", valueNotFound, "top level: null where a dictionary is needed");
    expectError<Address>(R"({"town": null})", valueNotFound, "town: null where a text is needed");
    expectError<std::vector<int>>("[1, null]", valueNotFound, "[1]: null where a whole number is needed");
    for (const bool absent : {JSONDecoder().decode<bool>("null").has_value(),
             JSONDecoder().decode<double>("null").has_value(), JSONDecoder().decode<URL>("null").has_value(),
             JSONDecoder().decode<Date>("null").has_value(), JSONDecoder().decode<Data>("null").has_value()})
        EXPECT_FALSE(absent);
}

TEST(JSONDecoder, SaysWhichKeyIsMissing)
{
    expectError<Address>("{}", keyNotFound, R"(top level: no entry "town")");
    expectError<Address>(R"({"Town": "a"})", keyNotFound, R"(top level: no entry "town")");
}

TEST(JSONDecoder, RefusesTextsThatAreNoURL)
{
    for (const char* text :
        {"", " ", "http://[::1", "https://example.com/a b", "%", "https://example.com/\u00e9", "a\\nb"}) {
        const auto url = JSONDecoder().decode<Contact>(
            R"({"name": "a", "addresses": [], "picture": ")" + std::string(text) + R"("})");
        ASSERT_FALSE(url.has_value()) << text;
        EXPECT_EQ(url.error().code, static_cast<int>(dataCorrupted)) << text;
        EXPECT_EQ(url.error().description, "picture: the text is no URL") << text;
    }
}

TEST(JSONDecoder, SaysWhereTheFirstErrorIs)
{
    expectError<Contact>(R"({"name": "a", "addresses": [{"town": "b"}, {"town": 2}], "work": 3})",
        typeMismatch, "addresses[1].town: a number where a text is needed");
    expectError<Contact>(
        R"({"name": "a", "addresses": [{}]})", keyNotFound, R"(addresses[0]: no entry "town")");
    expectError<Contact>(
        R"({"addresses": 1, "name": 2})", typeMismatch, "name: a number where a text is needed");
    expectError<std::map<std::string, std::vector<int>>>(
        R"({"a b": [0, "x"]})", typeMismatch, R"(["a b"][1]: a text where a whole number is needed)");
    expectError<Contact>(R"({"name": "a", "addresses": [], "work": {"town": "b", "number": "c"}})",
        typeMismatch, "work.number: a text where a whole number is needed");
}

TEST(JSONDecoder, RefusesWhatIsNoJSON)
{
    for (const std::string_view text :
        {""sv, " "sv, "nul_"sv, "{"sv, R"({"town": "a"} x)"sv, R"({"town": "a",})"sv,
            R"({"town": "a"})"sv.substr(0, 12), "{\"town\": \"a\xFF\"}"sv, "{\"to\xFFwn\": \"a\"}"sv,
            R"({"town": "\ud834"})"sv, "{\"town\": \"a\nb\"}"sv, R"({town: "a"})"sv, "{\"town\": \"a\"}\0"sv,
            R"({"town": "a", "number": NaN})"sv, R"({"town": "a", "number": 01})"sv})
        expectError<Address>(text, dataCorrupted, "top level: the text is no JSON");
}

TEST(JSONDecoder, PassesOverOneByteOrderMark)
{
    EXPECT_EQ(decoded<int>("\xEF\xBB\xBF 7"), 7);
    EXPECT_FALSE(JSONDecoder().decode<int>("\xEF\xBB\xBF").has_value());
    EXPECT_FALSE(JSONDecoder().decode<int>("\xEF\xBB 7").has_value());
}

TEST(JSONDecoder, ReadsNestingUpToTheLimitAndNoFurther)
{
    const auto nested = [](int levels) {
        std::string text = R"({"town": "a", "x": )";
        text.append(static_cast<std::size_t>(levels), '[').append(static_cast<std::size_t>(levels), ']');
        return text + "}";
    };
    EXPECT_TRUE(JSONDecoder().decode<Address>(nested(Value::maximumDepth - 1)).has_value());
    for (const int levels : {Value::maximumDepth, 1'000'000})
        expectError<Address>(nested(levels), dataCorrupted, "top level: the text is no JSON");
}

TEST(JSONDecoder, ReadsARecordThatHoldsItself)
{
    std::string text = R"({"c":[]})";
    for (int level = 1; level < Value::maximumDepth / 2; ++level)
        text = R"({"c":[)" + text + "]}";
    Tree tree = decoded<Tree>(text);
    int levels = 1;
    while (!tree.children.empty()) {
        tree = Tree(tree.children.front());
        ++levels;
    }
    EXPECT_EQ(levels, Value::maximumDepth / 2);
}

TEST(JSONDecoder, ReadsDatesAsSecondsSince2001)
{
    const auto seconds = [](std::string_view text) { return decoded<Date>(text).time_since_epoch().count(); };
    EXPECT_EQ(seconds("0"), 978307200.0);
    EXPECT_EQ(seconds("-978307200"), 0.0);
    EXPECT_EQ(seconds("0.5"), 978307200.5);
}

TEST(JSONDecoder, ReadsDataFromBase64)
{
    const auto bytes = [](std::string_view text) {
        std::string characters;
        for (const std::byte byte : decoded<Data>("\"" + std::string(text) + "\""))
            characters += static_cast<char>(byte);
        return characters;
    };
    EXPECT_EQ(bytes(""), "");
    EXPECT_EQ(bytes("YQ=="), "a");
    EXPECT_EQ(bytes("AP8rLw=="), "\0\xFF+/"sv);
    for (const char* text : {"YQ", "YQ=", "YQ==\\n", " YQ==", "Y-==", "YR==", "!", "YQ==\\u0000"})
        expectError<Data>(
            "\"" + std::string(text) + "\"", dataCorrupted, "top level: the text is not base64");
}

} // namespace
