#include "Support/Printing.h"

#include <LumoKit/Platform/Foundation/HTTPCookie.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace LumoKit;
using namespace std::string_view_literals;

namespace {

Date dateAt(double seconds)
{
    return Date(std::chrono::duration<double>(seconds));
}

double now()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// The properties that every cookie needs, and more, which may replace or (null) take away some of them.
Value::Dictionary with(Value::Dictionary more)
{
    more.insert({{"Name", "sid"}, {"Value", "abc"}, {"Domain", "mail.example"}, {"Path", "/"}});
    return more;
}

std::optional<HTTPCookie> cookie(const Value::Dictionary& more = {})
{
    return HTTPCookie::create(with(more));
}

TEST(HTTPCookie, IsPlainWhereNothingElseIsSaid)
{
    const auto plain = cookie();
    ASSERT_TRUE(plain.has_value());
    EXPECT_EQ(plain->name(), "sid");
    EXPECT_EQ(plain->value(), "abc");
    EXPECT_EQ(plain->domain(), "mail.example");
    EXPECT_EQ(plain->path(), "/");
    EXPECT_EQ(plain->version(), 0);
    EXPECT_EQ(plain->comment(), std::nullopt);
    EXPECT_EQ(plain->commentURL(), std::nullopt);
    EXPECT_TRUE(plain->portList().empty());
    EXPECT_EQ(plain->expiresDate(), std::nullopt);
    EXPECT_TRUE(plain->isSessionOnly());
    EXPECT_FALSE(plain->isSecure());
    EXPECT_FALSE(plain->isHTTPOnly());
    EXPECT_EQ(plain->sameSitePolicy(), std::nullopt);
    EXPECT_EQ(plain->properties(), with({}));
}

TEST(HTTPCookie, NeedsANameAValueAPathAndADomain)
{
    for (const char* key : {"Name", "Value", "Path", "Domain"}) {
        auto properties = with({});
        properties.erase(key);
        EXPECT_EQ(HTTPCookie::create(properties), std::nullopt) << key;
        EXPECT_EQ(cookie({{key, nullptr}}), std::nullopt) << key;
        EXPECT_TRUE(cookie({{key, ""}}).has_value()) << key;
    }
    EXPECT_EQ(HTTPCookie::create({}), std::nullopt);
}

TEST(HTTPCookie, IsOfTheHostItCameFromWhereNoDomainIsGiven)
{
    struct Case {
        Value domain;
        Value origin;
        std::optional<std::string> expected;
    };
    const Case cases[]{
        {nullptr, *URL::parse("https://WWW.Example.com:8080/x?y"), "www.example.com"},
        {nullptr, "https://example.com", "example.com"},
        {nullptr, "http://[::1]/", "::1"},
        {nullptr, "no url at all", std::nullopt},
        {nullptr, "/path", std::nullopt},
        {nullptr, "file:///path", std::nullopt},
        {nullptr, "", std::nullopt},
        {"a.example", "https://b.example/", "a.example"},
        {"a.example", "no url at all", "a.example"},
        {".Example.COM", nullptr, ".example.com"},
        {".", nullptr, "."},
        {"*", nullptr, "*"},
        {"\u00C4.example", nullptr, "\u00C4.example"},
    };
    for (const auto& [domain, origin, expected] : cases) {
        const auto made = cookie({{"Domain", domain}, {"OriginURL", origin}});
        EXPECT_EQ(made ? std::optional(made->domain()) : std::nullopt, expected)
            << domain.description() << " " << origin.description();
    }
}

TEST(HTTPCookie, ReadsFlagsOfEveryType)
{
    const std::pair<Value, bool> cases[]{
        {true, true},
        {false, false},
        {1, true},
        {0, false},
        {-1, true},
        {0.5, true},
        {0.0, false},
        {std::numeric_limits<std::int64_t>::max(), true},
        {"TRUE", true},
        {"YES", true},
        {"Y", true},
        {"1", true},
        {"secure", true},
        {"FALSE", false},
        {"false", false},
        {"NO", false},
        {"n", false},
        {"F", false},
        {"0", false},
        {"", false},
        {nullptr, false},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(cookie({{"Secure", value}})->isSecure(), expected) << value.description();
        EXPECT_EQ(cookie({{"HttpOnly", value}})->isHTTPOnly(), expected) << value.description();
        EXPECT_EQ(cookie({{"Discard", value}, {"Max-Age", "60"}})->isSessionOnly(), expected)
            << value.description();
    }
}

TEST(HTTPCookie, ReadsItsVersion)
{
    const std::pair<Value, int> cases[]{{"0", 0}, {"1", 1}, {0, 0}, {1, 1}, {1.0, 1}, {"2", 0}, {2, 0},
        {-1, 0}, {"", 0}, {"one", 0}, {"1x", 0}, {" 1", 0}, {nullptr, 0}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(cookie({{"Version", value}})->version(), expected) << value.description();
}

TEST(HTTPCookie, KeepsCommentsInEveryVersion)
{
    for (const char* version : {"0", "1"}) {
        const auto made =
            cookie({{"Version", version}, {"Comment", "why"}, {"CommentURL", "https://example.com/why"}});
        ASSERT_TRUE(made.has_value());
        EXPECT_EQ(made->comment(), "why");
        EXPECT_EQ(made->commentURL(), URL::parse("https://example.com/why"));
    }
    const auto url = *URL::parse("https://example.com/why");
    EXPECT_EQ(cookie({{"CommentURL", url}})->commentURL(), url);
    EXPECT_EQ(cookie({{"CommentURL", "no url"}})->commentURL(), std::nullopt);
}

TEST(HTTPCookie, ListsItsPorts)
{
    struct Case {
        Value ports;
        std::vector<std::int64_t> first; // what version 0 has
        std::vector<std::int64_t> all;
    };
    const Case cases[]{
        {"80", {80}, {80}},
        {"443,8443", {443}, {443, 8443}},
        {8080, {8080}, {8080}},
        {"x,443,,80x,70000,-1,0", {443}, {443, 0}},
        {"", {}, {}},
        {",", {}, {}},
        {nullptr, {}, {}},
    };
    for (const auto& [ports, first, all] : cases) {
        EXPECT_EQ(cookie({{"Port", ports}})->portList(), first) << ports.description();
        EXPECT_EQ(cookie({{"Port", ports}, {"Version", 1}})->portList(), all) << ports.description();
    }
}

TEST(HTTPCookie, ExpiresWhenItSays)
{
    const std::pair<Value, std::optional<double>> cases[]{
        {dateAt(1893456000), 1893456000},
        {dateAt(1893456000.4), 1893456000},
        {dateAt(1893456000.6), 1893456001},
        {dateAt(-62135596800), -62135596800},
        {dateAt(64092211200), 64092211200},
        {dateAt(0), 0},
        {dateAt(std::numeric_limits<double>::infinity()), std::nullopt},
        {dateAt(std::numeric_limits<double>::quiet_NaN()), std::nullopt},
        {"Wed, 01 Jan 2020 12:30:00 GMT", 1577881800},
        {"Wed, 01-Jan-2020 12:30:00 GMT", 1577881800},
        {"Wed Jan 1 12:30:00 2020", 1577881800},
        {"not a date", std::nullopt},
        {"", std::nullopt},
        {"Wed, 01 Jan 2020 12:30:00 GMT\0"sv, std::nullopt},
        {std::string(100'000, '1'), std::nullopt},
        {nullptr, std::nullopt},
    };
    for (const char* version : {"0", "1"})
        for (const auto& [value, expected] : cases) {
            const auto made = cookie({{"Expires", value}, {"Version", version}});
            ASSERT_TRUE(made.has_value());
            EXPECT_EQ(made->expiresDate(), expected ? std::optional(dateAt(*expected)) : std::nullopt)
                << value.description();
            EXPECT_EQ(made->isSessionOnly(), !expected) << value.description();
        }
}

TEST(HTTPCookie, ExpiresAfterItsAge)
{
    const std::pair<Value, std::optional<double>> cases[]{
        {"3600", 3600},
        {3600, 3600},
        {3600.0, 3600},
        {"0", 0},
        {"-5", -5},
        {"99999999999999999999", 9223372036854775807.0},
        {"-99999999999999999999", -9223372036854775808.0},
        {"an hour", std::nullopt},
        {"", std::nullopt},
        {"5 ", std::nullopt},
        {std::numeric_limits<double>::infinity(), std::nullopt},
    };
    for (const char* version : {"0", "1"})
        for (const auto& [value, expected] : cases) {
            const auto made = cookie({{"Max-Age", value}, {"Version", version}});
            ASSERT_TRUE(made.has_value());
            EXPECT_EQ(made->isSessionOnly(), !expected) << value.description();
            if (!expected)
                continue;
            const double seconds = made->expiresDate()->time_since_epoch().count();
            EXPECT_NEAR(seconds, now() + *expected, 2 + std::abs(*expected) * 1e-9) << value.description();
            EXPECT_EQ(seconds, std::round(seconds));
        }
}

TEST(HTTPCookie, BelievesADateMoreThanAnAgeAndDiscardMoreThanBoth)
{
    const auto date = dateAt(1893456000);
    EXPECT_EQ(cookie({{"Expires", date}, {"Max-Age", "60"}})->expiresDate(), date);
    EXPECT_EQ(cookie({{"Expires", date}, {"Max-Age", "60"}, {"Version", 1}})->expiresDate(), date);
    EXPECT_NE(cookie({{"Expires", "not a date"}, {"Max-Age", "60"}})->expiresDate(), std::nullopt);
    for (const int version : {0, 1}) {
        const auto discarded =
            cookie({{"Expires", date}, {"Max-Age", "60"}, {"Discard", "TRUE"}, {"Version", version}});
        EXPECT_TRUE(discarded->isSessionOnly());
        EXPECT_EQ(discarded->expiresDate(), std::nullopt);
    }
    EXPECT_EQ(cookie({{"Expires", date}, {"Discard", "FALSE"}})->expiresDate(), date);
    EXPECT_TRUE(cookie({{"Discard", "FALSE"}})->isSessionOnly()); // until when, nobody says
}

TEST(HTTPCookie, HasTheSameSitePoliciesThatThereAre)
{
    const std::pair<Value, std::optional<std::string_view>> cases[]{{"lax", NSHTTPCookieSameSiteLax},
        {"Lax", NSHTTPCookieSameSiteLax}, {"STRICT", NSHTTPCookieSameSiteStrict}, {"none", std::nullopt},
        {"", std::nullopt}, {"other", std::nullopt}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(cookie({{"SameSite", value}})->sameSitePolicy(), expected) << value.description();
}

TEST(HTTPCookie, IsNoneWhenAPropertyIsOfATypeThatItCannotBe)
{
    const Value text = "text";
    const Value number = 5;
    const Value boolean = true;
    const Value date = dateAt(1893456000);
    const Value url = *URL::parse("https://example.com/");
    const Value list = Value::Array{"text"};
    const std::pair<const char*, std::vector<Value>> cases[]{
        {"Name", {number, boolean, date, url, list}},
        {"Value", {number, boolean, date, url, list}},
        {"Path", {number, boolean, date, url, list}},
        {"Domain", {number, boolean, date, url, list}},
        {"OriginURL", {number, boolean, date, list}},
        {"Comment", {number, boolean, date, url, list}},
        {"CommentURL", {number, boolean, date, list}},
        {"Version", {boolean, date, url, list}},
        {"Created", {boolean, date, url, list}},
        {"Expires", {number, boolean, url, list}},
        {"Max-Age", {boolean, date, url, list}},
        {"Discard", {date, url, list}},
        {"Secure", {date, url, list}},
        {"HttpOnly", {date, url, list}},
        {"SameSite", {number, boolean, date, url, list}},
        {"Port", {boolean, date, url, list, 0.5}},
    };
    for (const auto& [key, values] : cases)
        for (const Value& value : values)
            EXPECT_EQ(cookie({{key, value}}), std::nullopt) << key << ": " << value.description();
}

TEST(HTTPCookie, KeepsWhatItWasMadeOfAndNothingElse)
{
    const auto url = *URL::parse("https://example.com/");
    const auto given = with({{"Comment", "c"}, {"CommentURL", "https://example.com/"}, {"OriginURL", url},
        {"Discard", "FALSE"}, {"Secure", "Y"}, {"HttpOnly", 1}, {"SameSite", "Lax"}, {"Port", "80"},
        {"Version", "1"}, {"Created", 100000}, {"Expires", dateAt(1893456000)}, {"Max-Age", 60}});
    auto more = given;
    more["Unknown"] = "x";
    more["name"] = 5;
    const auto made = HTTPCookie::create(more);
    ASSERT_TRUE(made.has_value());
    EXPECT_EQ(Value(made->properties()), Value(given));

    auto unread = with({{"Expires", "never"}, {"Max-Age", "long"}, {"Version", "x"}, {"CommentURL", "no url"},
        {"OriginURL", "no url"}});
    EXPECT_EQ(Value(HTTPCookie::create(unread)->properties()), Value(with({})));
}

TEST(HTTPCookie, CanBeMadeAgainOfItsProperties)
{
    const Value::Dictionary cases[]{
        {},
        {{"Domain", ".Example.COM"}},
        {{"Domain", nullptr}, {"OriginURL", "https://Example.com/a"}},
        {{"Secure", "TRUE"}},
        {{"Secure", false}},
        {{"HttpOnly", true}},
        {{"Discard", "TRUE"}, {"Expires", dateAt(1893456000)}},
        {{"Expires", dateAt(1893456000.7)}},
        {{"Expires", "Wed, 01 Jan 2020 12:30:00 GMT"}},
        {{"Max-Age", "60"}},
        {{"Max-Age", "60"}, {"Version", "1"}},
        {{"Port", "80,443"}, {"Version", 1}},
        {{"SameSite", "Strict"}},
        {{"Comment", "c"}, {"CommentURL", "https://example.com/"}, {"Created", 0.5}},
    };
    for (const auto& more : cases) {
        const auto made = cookie(more);
        ASSERT_TRUE(made.has_value());
        const auto again = HTTPCookie::create(made->properties());
        ASSERT_TRUE(again.has_value()) << Value(more).description();
        EXPECT_EQ(*again, *made) << Value(more).description();
        EXPECT_EQ(again->expiresDate(), made->expiresDate());
        EXPECT_EQ(again->domain(), made->domain());
        EXPECT_EQ(again->portList(), made->portList());
        EXPECT_EQ(again->isSecure(), made->isSecure());
        EXPECT_EQ(again->isHTTPOnly(), made->isHTTPOnly());
    }
    auto changed = cookie()->properties();
    changed["Domain"] = "localhost";
    changed["Value"] = "other";
    const auto other = HTTPCookie::create(changed);
    EXPECT_EQ(other->domain(), "localhost");
    EXPECT_EQ(other->value(), "other");
    EXPECT_NE(*other, *cookie());
}

} // namespace
