#include <LumoKit/FileWatcher/WatchLocalInject.h>
#include <LumoKit/Platform/ApplicationKit/NSApplication.h>
#include <LumoKit/Platform/ApplicationKit/NSOpenPanel.h>
#include <LumoKit/Platform/ApplicationKit/NSWindow.h>
#include <LumoKit/Platform/Foundation/Print.h>

#include <optional>
#include <utility>

namespace LumoKit {

namespace {

void askFileURL(std::move_only_function<void(std::optional<URL>)> completion)
{
    const auto panel = std::make_shared<NSOpenPanel>();
    panel->canChooseFiles = true;
    panel->canChooseDirectories = false;
    panel->allowsMultipleSelection = false;
    const auto window = NSApplication::shared().keyWindow();
    if (!window)
        return print("[watch local inject] cannot get key window");
    panel->beginSheetModal(
        window, [panel, completion = std::move(completion)](NSModalResponse response) mutable {
            if (response == NSModalResponseOK && !panel->urls().empty())
                completion(panel->urls().front());
            else
                completion(std::nullopt);
        });
}

} // namespace

void presentFilePickerAndWatch(
    std::shared_ptr<const HasFileWatcherManager> deps, std::function<void(const std::string&)> onChange)
{
    askFileURL([deps = std::move(deps), onChange = std::move(onChange)](const std::optional<URL>& file) {
        if (!file)
            return print("[watch local inject] cannot get inject url");
        deps->fileWatcherManager()->watch(*file, onChange);
    });
}

} // namespace LumoKit
