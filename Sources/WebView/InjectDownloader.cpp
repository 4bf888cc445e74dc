#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/Bundle.h>
#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/FileManager.h>
#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Platform/Foundation/URLSession.h>
#include <LumoKit/Utility/FileSystem.h>
#include <LumoKit/WebView/InjectDownloader.h>

#include <utility>

namespace LumoKit {

namespace {

std::string cachedInjectPath()
{
    return FileSystemUtils::applicationDataDirectoryURL().path() + "/inject";
}

/// The script in a download; nothing where there is none.
std::optional<std::string> scriptIn(const std::optional<Data>& data, const std::optional<Error>& error)
{
    if (error || !data || data->empty())
        return std::nullopt;
    std::string text(reinterpret_cast<const char*>(data->data()), data->size());
    return isUTF8(text) ? std::optional(std::move(text)) : std::nullopt;
}

} // namespace

InjectDownloader::InjectDownloader(std::shared_ptr<const InjectDownloaderConfigurationProvider> config)
    : config(std::move(config))
{
}

void InjectDownloader::downloadInject(std::function<void(const std::string& js)> completion)
{
    const URLRequest request(config->injectURL(), URLRequestCachePolicy::reloadIgnoringLocalCacheData, 60);
    const auto weak = std::weak_ptr(std::static_pointer_cast<InjectDownloader>(shared_from_this()));
    URLSession::shared()
        ->dataTask(request,
            [weak, completion = std::move(completion)](
                const std::optional<Data>& data, const auto&, const std::optional<Error>& error) mutable {
                const auto self = weak.lock();
                if (!self)
                    return;
                auto script = scriptIn(data, error);
                if (script)
                    self->saveCachedInject(*script);
                else
                    script = self->loadCachedInject();
                DispatchQueue::main()->async(
                    [completion = std::move(completion),
                        js = script ? *std::move(script) : self->loadBundledInject()] { completion(js); });
            })
        ->resume();
}

void InjectDownloader::saveCachedInject(const std::string& js)
{
    if (const auto written = writeFile(cachedInjectPath(), js); !written)
        print("Error while saving cached inject: " + written.error().description);
}

std::optional<std::string> InjectDownloader::loadCachedInject()
{
    const std::string path = cachedInjectPath();
    if (!FileManager::fileExists(path))
        return loadBundledInject();
    return readText(path);
}

std::string InjectDownloader::loadBundledInject()
{
    const auto file = Bundle::main().path("inject_fallback", "js");
    if (!file)
        fatalError("There is no inject fallback in the bundle!");
    auto script = readText(*file);
    if (!script)
        fatalError("The inject fallback in the bundle cannot be read: " + file->string());
    return *std::move(script);
}

} // namespace LumoKit
