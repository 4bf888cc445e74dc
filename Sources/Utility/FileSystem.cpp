#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/FileManager.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Utility/FileSystem.h>

#include <algorithm>

namespace LumoKit {

URL FileSystemUtils::applicationDataDirectoryURL()
{
    const auto places = FileManager::applicationSupportDirectories();
    if (places.empty())
        fatalError("Could not locate application support url");
    auto identifier = Bundle::main().bundleIdentifier();
    if (!identifier)
        fatalError("Could not read bundle identifier");
    std::ranges::replace(*identifier, '/', '_'); // one component, whatever the bundle says
    const std::string path = places.front().path() + "/" + *identifier;
    if (!FileManager::fileExists(path))
        if (const auto made = FileManager::createDirectory(path); !made)
            print("Error while creating application data dir: " + made.error().description);
    return URL::fileURL(path);
}

} // namespace LumoKit
