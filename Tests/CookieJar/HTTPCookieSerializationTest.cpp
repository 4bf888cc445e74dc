#include "Support/Printing.h"

#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>
#include <LumoKit/Platform/Foundation/NSKeyedArchiver.h>
#include <LumoKit/Platform/Foundation/NSKeyedUnarchiver.h>

#include <gtest/gtest.h>

using namespace LumoKit;

namespace {

Value::Dictionary with(Value::Dictionary more)
{
    more.insert({{"Name", "sid"}, {"Value", "abc"}, {"Domain", "mail.example"}, {"Path", "/inbox"}});
    return more;
}

HTTPCookie cookie(const Value::Dictionary& more = {})
{
    auto made = HTTPCookie::create(with(more));
    EXPECT_TRUE(made.has_value());
    return made.value();
}

const Date expiry{std::chrono::seconds(1893456000)};

TEST(HTTPCookieSerialization, GivesTwelveEntriesWithNullForWhatIsMissing)
{
    EXPECT_EQ(Value(serialize(cookie())),
        Value(Value::Dictionary{{"Comment", nullptr}, {"CommentURL", nullptr}, {"Discard", nullptr},
            {"Domain", "mail.example"}, {"Expires", nullptr}, {"Max-Age", nullptr}, {"OriginURL", nullptr},
            {"Path", "/inbox"}, {"Name", "sid"}, {"Secure", false}, {"Value", "abc"}, {"Version", 0}}));
}

TEST(HTTPCookieSerialization, TakesEachEntryFromTheCookieInItsType)
{
    const auto url = URL::parse("https://example.com/why").value();
    const auto record = serialize(cookie(
        {{"Comment", "c"}, {"CommentURL", url.absoluteString()}, {"Discard", "FALSE"}, {"Expires", expiry},
            {"Max-Age", "60"}, {"OriginURL", url}, {"Secure", "TRUE"}, {"Version", "1"}}));
    EXPECT_EQ(Value(record),
        Value(Value::Dictionary{{"Comment", "c"}, {"CommentURL", url}, {"Discard", "FALSE"},
            {"Domain", "mail.example"}, {"Expires", expiry}, {"Max-Age", "60"}, {"OriginURL", url},
            {"Path", "/inbox"}, {"Name", "sid"}, {"Secure", true}, {"Value", "abc"}, {"Version", 1}}));
}

TEST(HTTPCookieSerialization, TakesWhatComesFromThePropertiesUnconverted)
{
    for (const Value& discard : {Value(true), Value("TRUE"), Value(1), Value(false)})
        EXPECT_EQ(serialize(cookie({{"Discard", discard}}))["Discard"], discard) << discard.description();
    for (const Value& age : {Value("60"), Value(60), Value(0.5)})
        EXPECT_EQ(serialize(cookie({{"Max-Age", age}}))["Max-Age"], age) << age.description();
    EXPECT_EQ(
        serialize(cookie({{"OriginURL", "http://a.example/"}}))["OriginURL"], Value("http://a.example/"));
}

TEST(HTTPCookieSerialization, LeavesOutWhoMaySeeAndSendTheCookie)
{
    const HTTPCookie limited = cookie(
        {{"HttpOnly", true}, {"SameSite", "strict"}, {"Port", "80,443"}, {"Version", 1}, {"Created", 5}});
    ASSERT_TRUE(limited.isHTTPOnly());
    const auto record = serialize(limited);
    EXPECT_EQ(record.size(), 12u);
    const auto restored = deserialize(record);
    ASSERT_TRUE(restored.has_value());
    EXPECT_FALSE(restored->isHTTPOnly());
    EXPECT_EQ(restored->sameSitePolicy(), std::nullopt);
    EXPECT_TRUE(restored->portList().empty());
}

TEST(HTTPCookieSerialization, GivesBackTheSameCookieOtherwise)
{
    const Value::Dictionary cases[]{
        {},
        {{"Expires", expiry}},
        {{"Expires", "Wed, 01 Jan 2020 12:30:00 GMT"}},
        {{"Max-Age", "3600"}},
        {{"Max-Age", 3600}, {"Version", "1"}},
        {{"Discard", "TRUE"}, {"Expires", expiry}},
        {{"Secure", true}},
        {{"Secure", false}},
        {{"Secure", "TRUE"}},
        {{"Version", 1}, {"Comment", "c"}, {"CommentURL", "https://example.com/why"}},
        {{"Domain", ".example.com"}},
        {{"OriginURL", "https://WWW.example.com/"}},
    };
    for (const auto& more : cases) {
        const HTTPCookie before = cookie(more);
        const auto after = deserialize(serialize(before));
        ASSERT_TRUE(after.has_value()) << Value(more).description();
        EXPECT_EQ(after->name(), "sid");
        EXPECT_EQ(after->value(), "abc");
        EXPECT_EQ(after->path(), "/inbox");
        EXPECT_EQ(after->domain(), before.domain());
        EXPECT_EQ(after->version(), before.version());
        EXPECT_EQ(after->comment(), before.comment());
        EXPECT_EQ(after->commentURL(), before.commentURL());
        EXPECT_EQ(after->isSecure(), before.isSecure()) << Value(more).description();
        EXPECT_EQ(after->expiresDate(), before.expiresDate()) << Value(more).description();
        EXPECT_EQ(serialize(*after), serialize(before)) << Value(more).description();
    }
}

TEST(HTTPCookieSerialization, KeepsASessionCookieASessionCookie)
{
    const auto restored = deserialize(serialize(cookie()));
    ASSERT_TRUE(restored.has_value());
    EXPECT_TRUE(restored->isSessionOnly());
    EXPECT_EQ(restored->expiresDate(), std::nullopt);
}

TEST(HTTPCookieSerialization, GivesNoCookieWithoutWhatACookieNeeds)
{
    const auto whole = serialize(cookie());
    for (const char* key : {"Name", "Value", "Path", "Domain"}) {
        auto record = whole;
        record.erase(key);
        EXPECT_EQ(deserialize(record), std::nullopt) << key;
        record[key] = nullptr;
        EXPECT_EQ(deserialize(record), std::nullopt) << key;
    }
    auto record = whole;
    record.erase("Domain");
    record["OriginURL"] = "https://other.example/";
    EXPECT_EQ(deserialize(record)->domain(), "other.example");
    EXPECT_EQ(deserialize({}), std::nullopt);
}

TEST(HTTPCookieSerialization, PassesOverWhatNoCookieHas)
{
    auto record = serialize(cookie());
    record["Unknown"] = "x";
    record["name"] = Value::Array{1};
    record["Null"] = nullptr;
    const auto restored = deserialize(record);
    ASSERT_TRUE(restored.has_value());
    EXPECT_EQ(*restored, deserialize(serialize(cookie())));
}

TEST(HTTPCookieSerialization, TakesPropertiesThatNoRecordHas)
{
    const auto restored = deserialize(with({{"HttpOnly", true}}));
    ASSERT_TRUE(restored.has_value());
    EXPECT_TRUE(restored->isHTTPOnly());
}

TEST(HTTPCookieSerialization, SurvivesAnArchive)
{
    const Value records = Value::Array{serialize(cookie()),
        serialize(cookie({{"Expires", expiry}, {"Secure", true}, {"CommentURL", "https://example.com/"}}))};
    const auto archive = NSKeyedArchiver::archivedData(records);
    ASSERT_TRUE(archive.has_value());
    const auto read = NSKeyedUnarchiver::unarchiveObject(*archive);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(*read, records);
    for (const Value& record : *read->asArray())
        EXPECT_TRUE(deserialize(*record.asDictionary()).has_value());
}

} // namespace
