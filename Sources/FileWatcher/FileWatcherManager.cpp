#include <LumoKit/FileWatcher/FileWatcherManager.h>
#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <string_view>

namespace LumoKit {

void FileWatcherManager::watch(const URL& file, std::function<void(const std::string&)> onChange)
{
    constexpr double refreshInterval = 1.0 / 60;
    auto& watcher = watchers_.emplace_back(
        std::make_unique<FileWatcher::Local>(file.path(), refreshInterval, DispatchQueue::main()));
    const auto started =
        watcher->start([onChange = std::move(onChange)](const FileWatcher::RefreshResult& result) {
            if (!result.updated || !result.contents)
                return;
            const std::string text(
                reinterpret_cast<const char*>(result.contents->data()), result.contents->size());
            if (isUTF8(text))
                onChange(text);
            else
                print("[FileWatcherManager] cannot read changed file data");
        });
    if (!started)
        print("[FileWatcherManager] cannot start file watcher, because of: " + started.error().description);
}

} // namespace LumoKit
