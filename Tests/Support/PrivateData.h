#pragma once

#include "TemporaryFolder.h"

#include <cstdlib>

namespace LumoKit::Test {

/// Folders of the user's data and caches for one test alone, for tests of what an application keeps: tests of one
/// program run beside each other. A process that a test starts has those of the test. Make it before anything else.
class PrivateData {
public:
    PrivateData()
        : isOwner(!std::getenv(mark))
    {
        if (!isOwner)
            return;
        ::setenv(mark, "1", 1);
        ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
        ::setenv("XDG_CACHE_HOME", (folder / "cache").c_str(), 1);
    }
    PrivateData(const PrivateData&) = delete;
    PrivateData& operator=(const PrivateData&) = delete;
    ~PrivateData()
    {
        if (isOwner)
            ::unsetenv(mark);
    }

private:
    static constexpr const char* mark = "LUMOKIT_TEST_HAS_PRIVATE_DATA";
    TemporaryFolder folder;
    const bool isOwner;
};

} // namespace LumoKit::Test
