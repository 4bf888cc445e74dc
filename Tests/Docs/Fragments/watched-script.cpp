#include <LumoKit/FileWatcher/FileWatcherManager.h>

void watchTheScript(const HasFileWatcherManager& services, const std::function<void(const std::string&)>& run)
{
    // the fragment
}
