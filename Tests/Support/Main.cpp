#include "Support/PrivateData.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

/// Goes to the screen that ctest has given to this test for as long as it runs, if it shares screens out: who has the
/// keyboard there is then nobody else's business.
void goToOwnScreen()
{
    const char* given = std::getenv("CTEST_RESOURCE_GROUP_0_SCREENS"); // "id:101,slots:1"
    if (!given)
        return;
    const std::string text(given);
    const auto begin = text.find(':') + 1;
    ::setenv("DISPLAY", (':' + text.substr(begin, text.find(',') - begin)).c_str(), 1);
}

} // namespace

int main(int count, char** arguments)
{
    goToOwnScreen();
    // Not the caches: those of fonts and media are slow to make, and no harm to share.
    const LumoKit::Test::PrivateFolders folders({"XDG_CONFIG_HOME", "XDG_DATA_HOME"});
    // A test that expects the process to stop runs in a fresh one: this one has threads and a connection to
    // the display.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ::testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
