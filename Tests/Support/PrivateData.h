#pragma once

#include "TemporaryFolder.h"

#include <cstdlib>
#include <initializer_list>

namespace LumoKit::Test {

/// Folders of the user's for one test alone: tests of one program run beside each other. A process that a test starts has
/// those of the test. Make it before anything else.
class PrivateFolders {
public:
    /// The variables of the environment that lead to the folders.
    explicit PrivateFolders(std::initializer_list<const char*> variables)
        : mark(std::string("LUMOKIT_TEST_HAS_") + *variables.begin())
        , isOwner(!std::getenv(mark.c_str()))
    {
        if (!isOwner)
            return;
        ::setenv(mark.c_str(), "1", 1);
        for (const char* variable : variables)
            ::setenv(variable, (folder / variable).c_str(), 1);
    }
    PrivateFolders(const PrivateFolders&) = delete;
    PrivateFolders& operator=(const PrivateFolders&) = delete;
    ~PrivateFolders()
    {
        if (isOwner)
            ::unsetenv(mark.c_str());
    }

private:
    const std::string mark;
    TemporaryFolder folder;
    const bool isOwner;
};

/// The user's data and caches, for tests of what an application keeps.
class PrivateData : PrivateFolders {
public:
    PrivateData()
        : PrivateFolders({"XDG_CACHE_HOME", "XDG_DATA_HOME"})
    {
    }
};

} // namespace LumoKit::Test
