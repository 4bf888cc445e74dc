#include "Sessions.h"

#include "Support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

using LumoSuite::Sessions;

namespace {

std::string header(const std::string& staying, const std::string& turning)
{
    return "other=1; lumo_session=" + staying + "; lumo_turn=" + turning;
}

TEST(Sessions, KnowTheAccountByBothCookies)
{
    Sessions sessions;
    const auto first = sessions.begin(0);
    const auto second = sessions.begin(1);
    EXPECT_EQ(sessions.account(header(first.staying, first.turning)), 0u);
    EXPECT_EQ(sessions.account(header(second.staying, second.turning)), 1u);
    EXPECT_EQ(sessions.account(""), std::nullopt);
    EXPECT_EQ(sessions.destroyed(), 0u);
}

TEST(Sessions, EndForARequestWithOneCookieAlone)
{
    for (const bool hasStaying : {true, false}) {
        Sessions sessions;
        const auto cookies = sessions.begin(0);
        const auto alone = hasStaying ? "lumo_session=" + cookies.staying : "lumo_turn=" + cookies.turning;
        EXPECT_EQ(sessions.account(alone), std::nullopt);
        EXPECT_EQ(sessions.account(header(cookies.staying, cookies.turning)), std::nullopt);
        EXPECT_EQ(sessions.destroyed(), 1u);
    }
}

TEST(Sessions, EndForCookiesOfTwoAccounts)
{
    Sessions sessions;
    const auto first = sessions.begin(0);
    const auto second = sessions.begin(1);
    EXPECT_EQ(sessions.account(header(first.staying, second.turning)), std::nullopt);
    EXPECT_EQ(sessions.destroyed(), 2u);
}

TEST(Sessions, ForgiveTheCookieThatWasReplacedLastAndNoOlderOne)
{
    Sessions sessions;
    const auto cookies = sessions.begin(0);
    const auto second = sessions.turn(header(cookies.staying, cookies.turning)).value();
    EXPECT_EQ(sessions.account(header(cookies.staying, cookies.turning)), 0u);
    const auto third = sessions.turn(header(cookies.staying, second)).value();
    EXPECT_EQ(sessions.account(header(cookies.staying, second)), 0u);
    EXPECT_EQ(sessions.account(header(cookies.staying, third)), 0u);
    EXPECT_EQ(sessions.account(header(cookies.staying, cookies.turning)), std::nullopt);
    EXPECT_EQ(sessions.destroyed(), 1u);
    EXPECT_EQ(sessions.account(header(cookies.staying, third)), std::nullopt);
}

TEST(Sessions, ForgiveTheCookieWhoseSuccessorGotLost)
{
    Sessions sessions;
    const auto cookies = sessions.begin(0);
    static_cast<void>(sessions.turn(header(cookies.staying, cookies.turning))); // never arrives
    const auto third = sessions.turn(header(cookies.staying, cookies.turning)).value();
    EXPECT_EQ(sessions.account(header(cookies.staying, cookies.turning)), 0u);
    EXPECT_EQ(sessions.account(header(cookies.staying, third)), 0u);
    EXPECT_EQ(sessions.destroyed(), 0u);
}

TEST(Sessions, EndWhenTheirReaderWants)
{
    Sessions sessions;
    const auto cookies = sessions.begin(0);
    sessions.end(header(cookies.staying, cookies.turning));
    EXPECT_EQ(sessions.account(header(cookies.staying, cookies.turning)), std::nullopt);
    EXPECT_EQ(sessions.destroyed(), 0u);
}

TEST(Sessions, LastInTheirFileWhichOnlyTheUserReads)
{
    const LumoKit::Test::TemporaryFolder folder;
    const auto file = folder / "sessions";
    const auto cookies = Sessions(file).begin(1);
    const auto next = Sessions(file).turn(header(cookies.staying, cookies.turning)).value();
    EXPECT_EQ(Sessions(file).account(header(cookies.staying, next)), 1u);
    EXPECT_EQ(Sessions(file).account(header(cookies.staying, cookies.turning)), 1u);
    struct stat status{};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    std::ofstream(file) << "nonsense\n\n1 2\n";
    EXPECT_EQ(Sessions(file).account(header(cookies.staying, next)), std::nullopt);
}

} // namespace
