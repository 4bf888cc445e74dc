#include "Support/Loading.h"
#include "Support/Printing.h"
#include "Support/SocketServer.h"
#include "Support/TestAuthority.h"
#include "Support/TestServer.h"

#include <gtest/gtest.h>

using namespace LumoKit;
using LumoKit::Test::load;
using LumoKit::Test::TestAuthority;
using LumoKit::Test::TestServer;

namespace {

class URLSessionSecurityTest : public ::testing::Test {
protected:
    /// What a session that trusts the authority, or nobody but the system's, gets of a server with such a certificate.
    std::shared_ptr<LumoKit::Test::Load> loadFrom(
        const TestAuthority::Request& request, bool isTrusted = true)
    {
        TestServer server(authority.sign(request));
        server.serve("/", {.body = "secret"});
        auto configuration = URLSessionConfiguration::ephemeral();
        if (isTrusted)
            configuration.additionalAuthorities = authority.file();
        URLSession session(configuration);
        auto loaded = load(session, *URL::parse(server.origin() + "/"));
        version = server.requests().empty() ? "" : server.version("/");
        return loaded;
    }

    TestAuthority authority;
    std::string version; // of HTTP, where the server was asked
};

TEST_F(URLSessionSecurityTest, LoadsFromAServerThatIsWhoItSays)
{
    const auto loaded = loadFrom({});
    EXPECT_EQ(loaded->error, std::nullopt);
    EXPECT_EQ(loaded->text, "secret");
    EXPECT_EQ(version, "2");
}

TEST_F(URLSessionSecurityTest, AnAuthorityThatNobodyTrustsIsAnError)
{
    const auto loaded = loadFrom({}, false);
    EXPECT_EQ(loaded->code(), NSURLErrorServerCertificateHasUnknownRoot);
    EXPECT_EQ(loaded->text, std::nullopt);
    EXPECT_EQ(version, "") << "nothing was asked of it";
    EXPECT_EQ(loaded->calls, 1);
}

TEST_F(URLSessionSecurityTest, AnotherAuthorityIsAnError)
{
    const TestAuthority other;
    TestServer server(other.sign({}));
    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.additionalAuthorities = authority.file();
    URLSession session(configuration);
    EXPECT_EQ(
        load(session, *URL::parse(server.origin() + "/"))->code(), NSURLErrorServerCertificateHasUnknownRoot);
}

TEST_F(URLSessionSecurityTest, AnotherNameIsAnError)
{
    EXPECT_EQ(loadFrom({.name = "mail.example"})->code(), NSURLErrorServerCertificateUntrusted);
    EXPECT_EQ(version, "");
}

TEST_F(URLSessionSecurityTest, TheDatesCount)
{
    EXPECT_EQ(loadFrom({.begins = -24, .ends = -1})->code(), NSURLErrorServerCertificateHasBadDate);
    EXPECT_EQ(loadFrom({.begins = 1, .ends = 24})->code(), NSURLErrorServerCertificateNotYetValid);
}

TEST_F(URLSessionSecurityTest, AnAuthorityThatCannotBeReadTrustsNobody)
{
    TestServer server(authority.sign({}));
    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.additionalAuthorities = "/nonexistent/authority.pem";
    URLSession session(configuration);
    EXPECT_EQ(
        load(session, *URL::parse(server.origin() + "/"))->code(), NSURLErrorServerCertificateHasUnknownRoot);
}

TEST_F(URLSessionSecurityTest, OneSessionsTrustIsNotAnothers)
{
    TestServer server(authority.sign({}));
    server.serve("/", {.body = "secret"});
    auto configuration = URLSessionConfiguration::ephemeral();
    URLSession plain(configuration);
    configuration.additionalAuthorities = authority.file();
    URLSession trusting(configuration);
    const URL address = *URL::parse(server.origin() + "/");
    EXPECT_EQ(load(trusting, address)->text, "secret");
    EXPECT_EQ(load(plain, address)->code(), NSURLErrorServerCertificateHasUnknownRoot);
}

TEST_F(URLSessionSecurityTest, ARedirectToAServerThatIsNotWhoItSaysIsAnError)
{
    TestServer good(authority.sign({}));
    TestServer bad(authority.sign({.name = "mail.example"}));
    good.redirect("/", bad.origin() + "/");
    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.additionalAuthorities = authority.file();
    URLSession session(configuration);
    EXPECT_EQ(load(session, *URL::parse(good.origin() + "/"))->code(), NSURLErrorServerCertificateUntrusted);
    EXPECT_TRUE(bad.requests().empty());
}

TEST_F(URLSessionSecurityTest, AServerThatSpeaksNoTLSIsAnError)
{
    const LumoKit::Test::SocketServer plain(
        [](auto& connection) { connection.send("HTTP/1.1 200 OK\r\n\r\nhello"); });
    std::string address = plain.origin() + "/";
    address.replace(0, 4, "https");
    URLSession session(URLSessionConfiguration::ephemeral());
    EXPECT_EQ(load(session, *URL::parse(address))->code(), NSURLErrorSecureConnectionFailed);
}

TEST_F(URLSessionSecurityTest, SecureCookiesStayOnSecureConnections)
{
    TestServer secure(authority.sign({}));
    TestServer plain;
    secure.serve("/", {.headers = {{"Set-Cookie", "sid=1; Secure"}}});
    plain.serve("/", {});
    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.additionalAuthorities = authority.file();
    URLSession session(configuration);
    EXPECT_EQ(load(session, *URL::parse(secure.origin() + "/"))->status(), 200);
    EXPECT_EQ(load(session, *URL::parse(secure.origin() + "/"))->status(), 200);
    EXPECT_EQ(secure.received("cookie", "/"), "sid=1");
    std::string address = plain.origin();
    address.replace(address.find("127.0.0.1"), 9, "localhost");
    EXPECT_EQ(load(session, *URL::parse(address + "/"))->status(), 200);
    EXPECT_EQ(plain.received("cookie", "/"), std::nullopt);
}

} // namespace
