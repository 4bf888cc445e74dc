#include "Support/PreferencesTest.h"

#include <LumoKit/Extensions/UserDefaults+LumoSuite.h>

namespace {

using namespace LumoKit;

class LumoSuiteTest : public LumoKit::Test::PreferencesTest { };

TEST_F(LumoSuiteTest, IsOneDomainForAllApplications)
{
    EXPECT_EQ(lumoSuitePersistentDomainName, "com.lumosuite.shared");
    EXPECT_NE(lumoSuite(), lumoSuite()) << "a new object each time";
    lumoSuite()->setValue("ours", "key");
    EXPECT_EQ(lumoSuite()->value("key"), Value("ours"));
    LumoKit::Test::Peer other({"com.lumosuite.shared"});
    EXPECT_EQ(other.ask("get key"), "ours");
    ASSERT_EQ(other.ask("set key \"theirs\""), "ok");
    EXPECT_EQ(lumoSuite()->value("key"), Value("theirs"));
    EXPECT_TRUE(UserDefaults::standard()->value("key").isNull()) << "apart from the application's own";
}

TEST_F(LumoSuiteTest, StopsWhereItCannotBeHad)
{
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    EXPECT_DEATH(static_cast<void>(lumoSuite()), "Fatal error: there is no place for the preferences");
}

} // namespace
