#include <Support/LinkSession.h>

namespace {

class HelpRequestInfoInABundle : public LumoKit::Test::LinkSession { };

TEST_F(HelpRequestInfoInABundle, ReadsTheMainBundlesInformation)
{
    EXPECT_EQ(run(host(), {"--facts"}).output, "Link Host|1.2|\n"); // its build number is no text
}

} // namespace
