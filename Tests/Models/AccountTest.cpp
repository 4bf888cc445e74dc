#include "Support/Printing.h"

#include <LumoKit/Models/Account.h>
#include <LumoKit/Platform/Foundation/JSONDecoder.h>
#include <LumoKit/Platform/Foundation/JSONEncoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <vector>

using namespace LumoKit;

namespace {

Account pictured(Account account, std::string_view url)
{
    account.setImageURL(URL::parse(url));
    return account;
}

const Account ada("Ada Lovelace", "ada@example.com", 1);

/// One account a field in which it differs from the first.
const std::vector<Account>& different()
{
    static const std::vector<Account> accounts = {ada, Account("Ada", "ada@example.com", 1),
        Account("Ada Lovelace", "ada@example.org", 1), Account("Ada Lovelace", "ada@example.com", 2),
        pictured(ada, "https://example.com/a"), pictured(ada, "https://example.com/b")};
    return accounts;
}

TEST(Account, HasWhatItWasMadeOfAndNoPicture)
{
    EXPECT_EQ(ada.fullname(), "Ada Lovelace");
    EXPECT_EQ(ada.email(), "ada@example.com");
    EXPECT_EQ(ada.accountNumber(), 1);
    EXPECT_EQ(ada.imageURL(), std::nullopt);
    EXPECT_EQ(Account("", "", INT64_MIN).accountNumber(), INT64_MIN);
}

TEST(Account, TakesAPictureLater)
{
    Account account = ada;
    account.setImageURL(URL::parse("https://example.com/a"));
    EXPECT_EQ(account.imageURL(), URL::parse("https://example.com/a"));
    account.setImageURL(std::nullopt);
    EXPECT_EQ(account, ada);
}

TEST(Account, HasNothingElseThatChanges)
{
    static_assert(!std::is_assignable_v<decltype(std::declval<Account&>().fullname()), std::string>);
    static_assert(!std::is_assignable_v<decltype(std::declval<Account&>().email()), std::string>);
    static_assert(!std::is_assignable_v<decltype(std::declval<Account&>().imageURL()), std::optional<URL>>);
    static_assert(!std::is_constructible_v<Account, std::string, std::string, int, std::optional<URL>>);
    static_assert(!std::is_default_constructible_v<Account>);
}

TEST(Account, CanBeReplacedInAList)
{
    std::vector<Account> accounts = {Account("b", "b@example.com", 2), ada};
    std::ranges::sort(accounts, {}, &Account::accountNumber);
    EXPECT_EQ(accounts.front(), ada);
    accounts[0] = accounts[1];
    EXPECT_EQ(accounts[0].fullname(), "b");
}

TEST(Account, IsEqualToOneWithTheSameFields)
{
    for (std::size_t one = 0; one < different().size(); ++one)
        for (std::size_t other = 0; other < different().size(); ++other)
            EXPECT_EQ(different()[one] == different()[other], one == other) << one << " and " << other;
    EXPECT_EQ(ada, Account("Ada Lovelace", "ada@example.com", 1));
    EXPECT_EQ(pictured(ada, "https://example.com/a"), pictured(ada, "https://example.com/a"));
}

TEST(Account, HashesAllOfItsFields)
{
    std::unordered_set<std::size_t> hashes;
    for (const Account& account : different())
        hashes.insert(std::hash<Account>()(account));
    EXPECT_EQ(hashes.size(), different().size());
    EXPECT_EQ(std::hash<Account>()(ada), std::hash<Account>()(Account("Ada Lovelace", "ada@example.com", 1)));
    EXPECT_EQ(std::hash<Account>()(pictured(ada, "https://example.com/a")),
        std::hash<Account>()(pictured(ada, "https://example.com/a")));
}

TEST(Account, HashesItsFieldsInOrder)
{
    const std::hash<Account> hash;
    EXPECT_NE(hash(Account("a", "b", 1)), hash(Account("b", "a", 1)));
    EXPECT_NE(hash(Account("a", "b", 0)), hash(pictured(Account("a", "b", 0), "a")));
}

TEST(Account, IsAKeyOfHashedContainers)
{
    std::unordered_set<Account> accounts(different().begin(), different().end());
    accounts.insert(ada);
    EXPECT_EQ(accounts.size(), different().size());
    EXPECT_TRUE(accounts.contains(pictured(ada, "https://example.com/b")));
    EXPECT_FALSE(accounts.contains(pictured(ada, "https://example.com/c")));
}

TEST(Account, IsWrittenWithItsPictureOnlyWhereThereIsOne)
{
    EXPECT_EQ(JSONEncoder().encode(ada),
        R"({"fullname":"Ada Lovelace","email":"ada@example.com","accountNumber":1})");
    EXPECT_EQ(JSONEncoder().encode(pictured(ada, "https://example.com/a%20b")),
        R"({"fullname":"Ada Lovelace","email":"ada@example.com","accountNumber":1,)"
        R"("imageURL":"https://example.com/a%20b"})");
}

TEST(Account, IsReadAsItWasWritten)
{
    for (const Account& account : different())
        EXPECT_EQ(JSONDecoder().decode<Account>(*JSONEncoder().encode(account)), account);
    for (const std::int64_t number : {INT64_MIN, std::int64_t(0), (std::int64_t(1) << 53) + 1, INT64_MAX}) {
        const Account account("é😀\"\\\n", std::string(1, '\0'), number);
        EXPECT_EQ(JSONDecoder().decode<Account>(*JSONEncoder().encode(account)), account);
    }
}

TEST(Account, CannotBeWrittenWithBytesThatAreNoText)
{
    const auto text = JSONEncoder().encode(Account("a", "\xFF", 1));
    ASSERT_FALSE(text.has_value());
    EXPECT_EQ(text.error().description, "email: the text is not UTF-8");
}

TEST(Account, NeedsItsNameItsAddressAndItsNumber)
{
    struct Case {
        std::string text;
        DecodingError kind;
        std::string description;
    };
    using enum DecodingError;
    const std::vector<Case> cases = {
        {R"({"email": "b", "accountNumber": 1})", keyNotFound, R"(top level: no entry "fullname")"},
        {R"({"fullname": "a", "accountNumber": 1})", keyNotFound, R"(top level: no entry "email")"},
        {R"({"fullname": "a", "email": "b"})", keyNotFound, R"(top level: no entry "accountNumber")"},
        {R"({"fullName": "a", "email": "b", "account_number": 1})", keyNotFound,
            R"(top level: no entry "fullname")"},
        {R"({"fullname": null, "email": "b", "accountNumber": 1})", valueNotFound,
            "fullname: null where a text is needed"},
        {R"({"fullname": "a", "email": 1, "accountNumber": 1})", typeMismatch,
            "email: a number where a text is needed"},
        {R"({"fullname": "a", "email": "b", "accountNumber": "1"})", typeMismatch,
            "accountNumber: a text where a whole number is needed"},
        {R"({"fullname": "a", "email": "b", "accountNumber": true})", typeMismatch,
            "accountNumber: a boolean where a whole number is needed"},
        {R"({"fullname": "a", "email": "b", "accountNumber": 1.5})", dataCorrupted,
            "accountNumber: the number 1.5 is not whole, or out of range"},
        {R"({"fullname": "a", "email": "b", "accountNumber": 1, "imageURL": 1})", typeMismatch,
            "imageURL: a number where a URL is needed"},
        {R"({"fullname": "a", "email": "b", "accountNumber": 1, "imageURL": ""})", dataCorrupted,
            "imageURL: the text is no URL"},
        {R"({"fullname": "a", "email": "b", "accountNumber": 1, "imageURL": "a b"})", dataCorrupted,
            "imageURL: the text is no URL"},
        {R"([{"fullname": "a", "email": "b", "accountNumber": 1}])", typeMismatch,
            "top level: an array where a dictionary is needed"},
    };
    for (const auto& [text, kind, description] : cases) {
        const auto account = JSONDecoder().decode<Account>(text);
        ASSERT_FALSE(account.has_value()) << text;
        EXPECT_EQ(
            account.error(), (Error{std::string(decodingErrorDomain), static_cast<int>(kind), description}))
            << text;
    }
}

TEST(Account, IgnoresKeysThatItDoesNotKnow)
{
    EXPECT_EQ(JSONDecoder().decode<Account>(
                  R"({"a": [], "fullname": "a", "email": "b", "accountNumber": 1e3, "imageurl": 7})"),
        Account("a", "b", 1000));
}

} // namespace
