#include <LumoKit/Platform/Foundation/ProcessInfo.h>
#include <LumoKit/Utility/HelpRequestInfo.h>

#include <Support/Printing.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

using namespace LumoKit;

namespace {

/// A map whose own order is that in which it was filled.
using Fields = std::vector<std::pair<std::string, std::string>>;

URL url(const char* text)
{
    return URL::parse(text).value();
}

std::string prefilled(const Fields& fields, const char* base = "https://forms.example/help")
{
    return HelpRequestInfo::prefillAirtableURL(url(base), fields).absoluteString();
}

TEST(HelpRequestInfo, GivesEmptyTextsOutsideOfABundle)
{
    EXPECT_EQ(HelpRequestInfo::applicationName(), "");
    EXPECT_EQ(HelpRequestInfo::versionNumber(), "");
    EXPECT_EQ(HelpRequestInfo::buildNumber(), "");
}

TEST(HelpRequestInfo, TellsOfTheSystem)
{
    EXPECT_EQ(HelpRequestInfo::macOsVersion(), ProcessInfo::operatingSystemVersionString());
    EXPECT_NE(HelpRequestInfo::macOsVersion(), "");
}

TEST(HelpRequestInfo, GivesTheAddressItselfWithoutFields)
{
    EXPECT_EQ(prefilled({}), "https://forms.example/help");
    EXPECT_EQ(HelpRequestInfo::prefillAirtableURL(url("https://forms.example/?a#b"), {}),
        url("https://forms.example/?a#b"));
}

TEST(HelpRequestInfo, AppendsAField)
{
    EXPECT_EQ(prefilled({{"version", "1.2"}}), "https://forms.example/help?prefill_version=1%2E2");
    EXPECT_EQ(prefilled({{"name", ""}}), "https://forms.example/help?prefill_name=");
    EXPECT_EQ(prefilled({{"", "value"}}), "https://forms.example/help?prefill_=value");
}

TEST(HelpRequestInfo, EncodesEverythingButLettersAndDigits)
{
    EXPECT_EQ(prefilled({{"os_version", "a b"}}), "https://forms.example/help?prefill_os%5Fversion=a%20b");
    EXPECT_EQ(prefilled({{"a", "Az09-._~&=?#/%+\n"}, {std::string("\0", 1), "\u2713"}}),
        "https://forms.example/"
        "help?prefill_a=Az09%2D%2E%5F%7E%26%3D%3F%23%2F%25%2B%0A&prefill_%00=%E2%9C%93");
}

TEST(HelpRequestInfo, KeepsTheOrderOfTheMap)
{
    EXPECT_EQ(prefilled({{"b", "1"}, {"a", "2"}, {"c", "3"}}),
        "https://forms.example/help?prefill_b=1&prefill_a=2&prefill_c=3");
    EXPECT_EQ(
        HelpRequestInfo::prefillAirtableURL(url("https://forms.example/help"), {{"b", "1"}, {"a", "2"}}),
        url("https://forms.example/help?prefill_a=2&prefill_b=1")); // as std::map has it
}

TEST(HelpRequestInfo, SeparatesByTheFieldsPlaceAlone)
{
    EXPECT_EQ(prefilled({{"a", "1"}, {"b", "2"}}, "https://forms.example/?x=y"),
        "https://forms.example/?x=y?prefill_a=1&prefill_b=2");
    EXPECT_EQ(prefilled({{"a", "\xff"}, {"b", "2"}, {"\xc3", "3"}, {"d", "4"}}),
        "https://forms.example/help&prefill_b=2&prefill_d=4");
    EXPECT_EQ(prefilled({{"a", "\xff"}}), "https://forms.example/help");
}

TEST(HelpRequestInfo, GivesTheAddressWhenWhatResultsIsNoURL)
{
    // Letters, marks and digits of other scripts are left as they are.
    for (const char* letter : {"\u00FC", "\u0301", "\u0663", "\u6F22"})
        EXPECT_EQ(prefilled({{"a", "1"}, {"name", letter}}), "https://forms.example/help");
}

} // namespace
