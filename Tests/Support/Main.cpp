#include "Support/PrivateData.h"

#include <gtest/gtest.h>

int main(int count, char** arguments)
{
    // Not the caches: those of fonts and media are slow to make, and no harm to share.
    const LumoKit::Test::PrivateFolders folders({"XDG_CONFIG_HOME", "XDG_DATA_HOME"});
    // A test that expects the process to stop runs in a fresh one: this one has threads and a connection to
    // the display.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ::testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
