#include <gtest/gtest.h>

int main(int count, char** arguments)
{
    // A test that expects the process to stop runs in a fresh one: this one has threads and a connection to
    // the display.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ::testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
