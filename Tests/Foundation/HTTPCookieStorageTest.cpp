#include "Support/CookieStore.h"
#include "Support/Printing.h"
#include "Support/PrivateData.h"

#include <LumoKit/Platform/Foundation/HTTPCookieStorage.h>

#include <gmock/gmock.h>

#include <thread>

using namespace LumoKit;
using Test::makeCookie;
using Test::PrivateData;
using Test::writeInPlace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

std::vector<std::string> namesOf(const std::vector<HTTPCookie>& cookies)
{
    std::vector<std::string> names;
    for (const HTTPCookie& cookie : cookies)
        names.push_back(cookie.name());
    std::ranges::sort(names);
    return names;
}

HTTPCookie named(const std::string& name, Value::Dictionary more = {})
{
    more.insert({{"Name", name}, {"Value", "abc"}, {"Domain", "mail.example"}, {"Path", "/"}});
    return HTTPCookie::create(more).value();
}

Date inSeconds(double seconds)
{
    return std::chrono::system_clock::now() + std::chrono::duration<double>(seconds);
}

TEST(HTTPCookieStorage, KeepsACookieAsItIs)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("sid", {{"Secure", true}, {"HttpOnly", true}, {"SameSite", "strict"}}));
    const auto cookies = storage->cookies();
    ASSERT_THAT(cookies, SizeIs(1));
    EXPECT_EQ(cookies[0].value(), "abc");
    EXPECT_EQ(cookies[0].domain(), "mail.example");
    EXPECT_TRUE(cookies[0].isSecure());
    EXPECT_TRUE(cookies[0].isHTTPOnly());
    EXPECT_EQ(cookies[0].sameSitePolicy(), NSHTTPCookieSameSiteStrict);
    EXPECT_TRUE(cookies[0].isSessionOnly());
}

TEST(HTTPCookieStorage, HasOneCookieOfANameDomainAndPath)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("sid"));
    storage->setCookie(named("sid", {{"Value", "new"}}));
    storage->setCookie(named("sid", {{"Path", "/mail"}}));
    EXPECT_THAT(storage->cookies(), SizeIs(2));
}

TEST(HTTPCookieStorage, DeletesACookieWhateverItsValue)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("sid", {{"Value", "new"}, {"Secure", true}}));
    storage->setCookie(named("other"));
    storage->deleteCookie(named("sid"));
    EXPECT_THAT(namesOf(storage->cookies()), ElementsAre("other"));
    storage->deleteCookie(named("nobody"));
    EXPECT_THAT(storage->cookies(), SizeIs(1));
}

TEST(HTTPCookieStorage, EveryCookieOfTheListCanBeDeleted)
{
    const auto storage = HTTPCookieStorage::inMemory();
    for (const char* domain : {"mail.example", ".mail.example", "127.0.0.1", "localhost"})
        for (const char* path : {"/", "/mail"})
            storage->setCookie(named("sid", {{"Domain", domain}, {"Path", path}, {"Secure", *path == '/'}}));
    ASSERT_THAT(storage->cookies(), SizeIs(8));
    for (const HTTPCookie& cookie : storage->cookies())
        storage->deleteCookie(cookie);
    EXPECT_THAT(storage->cookies(), IsEmpty());
}

TEST(HTTPCookieStorage, ExpiredCookiesAreGone)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("sid"));
    storage->setCookie(named("sid", {{"Expires", inSeconds(-10)}}));
    storage->setCookie(named("old", {{"Expires", inSeconds(-10)}}));
    EXPECT_THAT(storage->cookies(), IsEmpty());
}

TEST(HTTPCookieStorage, SaysWhatARequestCarries)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("all"));
    storage->setCookie(named("mail", {{"Path", "/mail"}}));
    storage->setCookie(named("secure", {{"Secure", true}}));
    storage->setCookie(named("below", {{"Domain", ".mail.example"}}));
    storage->setCookie(named("elsewhere", {{"Domain", "calendar.example"}}));
    const auto carried = [&](const char* url) { return namesOf(storage->cookies(*URL::parse(url))); };
    EXPECT_THAT(carried("https://mail.example/mail/1"), ElementsAre("all", "below", "mail", "secure"));
    EXPECT_THAT(carried("http://mail.example/"), ElementsAre("all", "below"));
    EXPECT_THAT(carried("https://www.mail.example/"), ElementsAre("below"));
    EXPECT_THAT(carried("mailto:ada@mail.example"), IsEmpty());
}

TEST(HTTPCookieStorage, LeavesOutWhatAServerWouldMisread)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("sid", {{"Value", "a;b"}}));
    storage->setCookie(named("sid", {{"Value", "a\r\nb"}}));
    storage->setCookie(named("a=b"));
    EXPECT_THAT(storage->cookies(), IsEmpty());
}

TEST(HTTPCookieStorage, AHostCannotFillIt)
{
    const auto storage = HTTPCookieStorage::inMemory();
    storage->setCookie(named("mine", {{"Domain", "calendar.example"}, {"Expires", inSeconds(10)}}));
    storage->setCookie(named("first", {{"Expires", inSeconds(10)}}));
    for (int index = 0; index < 1000; ++index)
        storage->setCookie(named("c" + std::to_string(index), {{"Expires", inSeconds(1000)}}));
    const auto names = namesOf(storage->cookies());
    EXPECT_THAT(names, SizeIs(181));
    EXPECT_THAT(names, ::testing::Contains("mine"));
    EXPECT_THAT(names, ::testing::Not(::testing::Contains("first"))) << "it expired before the others";
}

TEST(HTTPCookieStorage, ManyHostsCannotFillIt)
{
    const auto storage = HTTPCookieStorage::inMemory();
    for (int index = 0; index < 3500; ++index)
        storage->setCookie(named("sid", {{"Domain", "host" + std::to_string(index) + ".example"}}));
    EXPECT_THAT(storage->cookies(), SizeIs(3000));
}

TEST(HTTPCookieStorage, IsUsedByManyThreads)
{
    const auto storage = HTTPCookieStorage::inMemory();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int turn = 0; turn < 50; ++turn) {
                const auto cookie = named("c" + std::to_string(thread) + "-" + std::to_string(turn % 5));
                storage->setCookie(cookie);
                EXPECT_FALSE(storage->cookies().empty());
                storage->deleteCookie(cookie);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_THAT(storage->cookies(), IsEmpty());
}

// Each of these is a process of its own: a storage is loaded once.

TEST(SharedHTTPCookieStorageDeathTest, OutlivesTheApplicationWithWhatExpires)
{
    const PrivateData data;
    EXPECT_EXIT(
        {
            const auto storage = HTTPCookieStorage::shared();
            storage->setCookie(named("lasting", {{"Expires", inSeconds(1000)}}));
            storage->setCookie(named("session"));
            std::_Exit(storage->cookies().size() == 2 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    const auto storage = HTTPCookieStorage::shared();
    EXPECT_THAT(namesOf(storage->cookies()), ElementsAre("lasting"));
    storage->deleteCookie(named("lasting"));
    EXPECT_THAT(storage->cookies(), IsEmpty());
}

TEST(SharedHTTPCookieStorage, BeginsAnewWhereItsFileIsDamaged)
{
    const PrivateData data;
    const std::filesystem::path folder =
        std::filesystem::path(std::getenv("XDG_DATA_HOME")) / program_invocation_short_name / "Network";
    std::filesystem::create_directories(folder);
    writeInPlace(folder / "Cookies.db", std::string(10'000, 'x'));
    const auto storage = HTTPCookieStorage::shared();
    EXPECT_THAT(storage->cookies(), IsEmpty());
    storage->setCookie(named("lasting", {{"Expires", inSeconds(1000)}}));
    EXPECT_THAT(namesOf(storage->cookies()), ElementsAre("lasting"));
    EXPECT_TRUE(std::filesystem::exists(folder / "Cookies.db.damaged"));
}

} // namespace
