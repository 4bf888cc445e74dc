#include "Support/Printing.h"

#include <LumoKit/Models/Account.h>
#include <LumoKit/Platform/Foundation/JSON.h>
#include <LumoKit/Platform/Foundation/JSONEncoder.h>
#include <LumoKit/Utility/DictionaryToCodable.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace LumoKit;

namespace {

/// A record with a date and data, which JSON has not.
struct Window {
    double width = 0;
    std::vector<std::string> tabs;
    std::optional<Date> closed;
    Data icon;

    static constexpr std::tuple codingKeys{CodingKey{"width", &Window::width},
        CodingKey{"tabs", &Window::tabs}, CodingKey{"closed", &Window::closed},
        CodingKey{"icon", &Window::icon}};
};

const Value::Dictionary plain = {{"fullname", "Ada"}, {"email", "ada@example.com"}, {"accountNumber", 7}};

Value::Dictionary with(const std::string& key, const Value& value)
{
    Value::Dictionary dictionary = plain;
    dictionary.insert_or_assign(key, value);
    return dictionary;
}

TEST(ConvertDictionaryToCodable, MakesAnAccountWithoutAPicture)
{
    const auto account = convertDictionaryToCodable<Account>(plain);
    ASSERT_TRUE(account.has_value()) << account.error().description;
    EXPECT_EQ(*account, Account("Ada", "ada@example.com", 7));
    EXPECT_EQ(readJSON(*JSONEncoder().encode(*account))->asDictionary()->size(), 3U);
}

TEST(ConvertDictionaryToCodable, MakesAnAccountWithAPicture)
{
    Account expected("Ada", "ada@example.com", 7);
    expected.setImageURL(URL::parse("https://example.com/a"));
    EXPECT_EQ(convertDictionaryToCodable<Account>(with("imageURL", "https://example.com/a")), expected);
}

TEST(ConvertDictionaryToCodable, TakesNullForAnAbsentPicture)
{
    EXPECT_EQ(
        convertDictionaryToCodable<Account>(with("imageURL", nullptr)), Account("Ada", "ada@example.com", 7));
}

TEST(ConvertDictionaryToCodable, TakesWholeNumbersThatAreKeptAsFractionalOnes)
{
    for (const double number : {0.0, 1.0, -3.0, 4611686018427387904.0})
        EXPECT_EQ(convertDictionaryToCodable<Account>(with("accountNumber", number)),
            Account("Ada", "ada@example.com", static_cast<std::int64_t>(number)));
}

TEST(ConvertDictionaryToCodable, GivesTheErrorOfTheStepThatFails)
{
    struct Case {
        Value::Dictionary dictionary;
        Error error;
    };
    const auto encoding = [](EncodingError kind, const std::string& description) {
        return Error{std::string(encodingErrorDomain), static_cast<int>(kind), description};
    };
    const auto decoding = [](DecodingError kind, const std::string& description) {
        return Error{std::string(decodingErrorDomain), static_cast<int>(kind), description};
    };
    Value deep = 1;
    for (int level = 0; level < Value::maximumDepth; ++level)
        deep = Value::Array{deep};
    const std::vector<Case> cases = {
        {with("accountNumber", "7"),
            decoding(DecodingError::typeMismatch, "accountNumber: a text where a whole number is needed")},
        {with("accountNumber", true),
            decoding(DecodingError::typeMismatch, "accountNumber: a boolean where a whole number is needed")},
        {with("accountNumber", 1.5),
            decoding(
                DecodingError::dataCorrupted, "accountNumber: the number 1.5 is not whole, or out of range")},
        {with("fullname", nullptr),
            decoding(DecodingError::valueNotFound, "fullname: null where a text is needed")},
        {with("imageURL", "not a URL"),
            decoding(DecodingError::dataCorrupted, "imageURL: the text is no URL")},
        {with("imageURL", ""), decoding(DecodingError::dataCorrupted, "imageURL: the text is no URL")},
        {{}, decoding(DecodingError::keyNotFound, R"(top level: no entry "fullname")")},
        {with("since", Date()), encoding(EncodingError::unsupportedType, "since: JSON has no dates")},
        {with("key", Data{}), encoding(EncodingError::unsupportedType, "key: JSON has no data")},
        {with("imageURL", *URL::parse("https://example.com")),
            encoding(EncodingError::unsupportedType, "imageURL: JSON has no URLs")},
        {with("accountNumber", std::nan("")),
            encoding(EncodingError::numberNotFinite, "accountNumber: JSON has no such number")},
        {with("fullname", "\xFF"), encoding(EncodingError::textNotUTF8, "fullname: the text is not UTF-8")},
    };
    for (const auto& [dictionary, error] : cases) {
        const auto account = convertDictionaryToCodable<Account>(dictionary);
        ASSERT_FALSE(account.has_value()) << error.description;
        EXPECT_EQ(account.error(), error);
    }
    const auto tooDeep = convertDictionaryToCodable<Account>(with("extra", deep));
    ASSERT_FALSE(tooDeep.has_value());
    EXPECT_EQ(tooDeep.error().code, static_cast<int>(EncodingError::tooDeep));
}

TEST(ConvertDictionaryToCodable, MakesARecordOfTheHosts)
{
    const auto window = convertDictionaryToCodable<Window>(
        {{"width", 640}, {"tabs", Value::Array{"inbox", "drafts"}}, {"closed", 0.5}, {"icon", "AP8="}});
    ASSERT_TRUE(window.has_value()) << window.error().description;
    EXPECT_EQ(window->width, 640.0);
    EXPECT_EQ(window->tabs, (std::vector<std::string>{"inbox", "drafts"}));
    EXPECT_EQ(window->closed, Date(std::chrono::duration<double>(978307200.5)));
    EXPECT_EQ(window->icon, (Data{std::byte{0}, std::byte{255}}));
}

TEST(ConvertDictionaryToCodable, LeavesTheDictionaryAsItIs)
{
    const Value::Dictionary dictionary = with("extra", Value::Array{1, "two"});
    const Value::Dictionary before = dictionary;
    EXPECT_TRUE(convertDictionaryToCodable<Account>(dictionary).has_value());
    EXPECT_EQ(dictionary, before);
}

} // namespace
