#include "Support/Printing.h"

#include <LumoKit/Utility/URLConvertible.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace LumoKit;
using namespace std::string_view_literals;

// A type of a host's, which knows its address.
namespace Host {

struct Page {
    std::string name;
};

std::optional<URL> asURL(const Page& page)
{
    return URL::parse("https://example.com/" + page.name);
}

} // namespace Host

namespace {

/// As whoever takes "anything that can give a URL" is written.
std::optional<URL> given(const URLConvertible auto& value)
{
    return asURL(value);
}

TEST(URLConvertible, IsAURLWhichGivesItself)
{
    const URL url = *URL::parse("https://example.com/a?b#c");
    EXPECT_EQ(given(url), url);
    EXPECT_EQ(given(*URL::parse("a")), URL::parse("a"));
}

TEST(URLConvertible, IsATextWhichGivesTheURLThatItIs)
{
    const URL url = *URL::parse("https://example.com/%20");
    EXPECT_EQ(given("https://example.com/%20"sv), url);
    EXPECT_EQ(given(std::string("https://example.com/%20")), url);
    EXPECT_EQ(given("https://example.com/%20"), url);
}

TEST(URLConvertible, GivesNothingForATextThatIsNoURL)
{
    for (const auto text : {""sv, " "sv, "https://a b/"sv, "x:%4"sv, "x:\0"sv, "x:\xFF"sv, "x:\u00FC"sv})
        EXPECT_EQ(given(text), std::nullopt) << text;
}

TEST(URLConvertible, IsATypeOfAHosts)
{
    EXPECT_EQ(given(Host::Page{"inbox"}), URL::parse("https://example.com/inbox"));
    EXPECT_EQ(given(Host::Page{"not a page"}), std::nullopt);
}

static_assert(!URLConvertible<int>);
static_assert(!URLConvertible<std::optional<URL>>);

TEST(StaticURL, IsTheURLThatStandsInTheProgram)
{
    EXPECT_EQ(staticURL("https://example.com/a%20b"), URL::parse("https://example.com/a%20b"));
    EXPECT_EQ(staticURL("ldap://[2001:db8::7]/c=GB?objectClass?one").host(), "2001:db8::7");
    static constexpr const char* constant = "mailto:ada@example.com#f";
    EXPECT_EQ(staticURL(constant), URL::parse(constant));
}

// What does not compile; that it does not is a test of its own, StaticURL.DoesNotCompileWithoutAURL.
static_assert(detail::hasCharactersOfURL("https://u:p@[::1]:80/a%2fB;c=d?e&f#g!$'()*+,-._~"));
static_assert(!detail::hasCharactersOfURL(""));
static_assert(!detail::hasCharactersOfURL("https://example.com/a b"));
static_assert(!detail::hasCharactersOfURL("https://example.com/\\"));
static_assert(!detail::hasCharactersOfURL("https://example.com/\u00FC"));
static_assert(!detail::hasCharactersOfURL("%"));
static_assert(!detail::hasCharactersOfURL("%4"));
static_assert(!detail::hasCharactersOfURL("a%4g"));
static_assert(!detail::hasCharactersOfURL("a%g4"));
static_assert(!detail::hasCharactersOfURL("a#b#c"));
static_assert(!detail::hasCharactersOfURL("a\nb"));
static_assert(!detail::hasCharactersOfURL("\"<>^`{|}"));

TEST(StaticURLDeathTest, StopsTheProcessForWhatTheCompilerCannotSee)
{
    const auto report = ::testing::StartsWith(
        "Tests/Utility/URLConvertibleTest.cpp:" + std::to_string(__LINE__ + 1) + ": Fatal error: ");
    EXPECT_DEATH(static_cast<void>(staticURL("https://[::g]/")), report);
    EXPECT_DEATH(static_cast<void>(staticURL("https://example.com:port/")), "https://example.com:port/");
    EXPECT_DEATH(static_cast<void>(staticURL("1x:y")), "Fatal error: ");
    EXPECT_DEATH(static_cast<void>(staticURL("https://example.com/[")), "Fatal error: ");
}

} // namespace
