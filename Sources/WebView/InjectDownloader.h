#pragma once

#include <LumoKit/Platform/Foundation/NSObject.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/Foundation/Value.h>
#include <LumoKit/Utility/ServiceInterface.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

class InjectDownloader;

/// A host's container of dependencies that has an inject downloader.
class HasInjectDownloader : public virtual ServiceInterface {
public:
    [[nodiscard]] virtual std::shared_ptr<InjectDownloader> injectDownloader() const = 0;
};

/// A host's container of dependencies that says where its inject script comes from.
class InjectDownloaderConfigurationProvider : public HasInjectDownloader {
public:
    /// Where the current script is downloaded from.
    [[nodiscard]] virtual URL injectURL() const = 0;
    /// Whatever the host wants to keep here; the kit does not read it.
    [[nodiscard]] virtual Value injectUserInfo() const = 0;
};

/// Gets the script that a host runs in its page: the current one from the network, else the last that was
/// downloaded, else the one that is shipped, so that there always is one.
///
/// The last download is the file "inject" in the application's data directory, and the shipped copy the resource
/// "inject_fallback.js" of the main bundle.
///
/// Ownership: held by `std::shared_ptr`; it keeps its configuration. A download does not keep it.
/// Thread: any.
class InjectDownloader : public NSObject {
public:
    /// Made by `std::make_shared`.
    explicit InjectDownloader(std::shared_ptr<const InjectDownloaderConfigurationProvider> config);

    /// Downloads the script past the cache of answers, and calls `completion` with it, or with a copy, once, on the
    /// main thread. Whatever is UTF-8 and not empty counts as the script, whatever the server's status, and is kept
    /// for later; where it cannot be kept, that is printed.
    ///
    /// Errors: the outcome is a copy where nothing comes for 60 seconds, and where `loadBundledInject` is needed its
    /// errors are those of this.
    /// Lifetime: not called when this object is released before the download has ended.
    virtual void downloadInject(std::function<void(const std::string& js)> completion);

    /// The last download, the shipped copy where there has been none, and nothing where the file cannot be read.
    [[nodiscard]] virtual std::optional<std::string> loadCachedInject();

    /// The shipped copy.
    /// Errors: stops the process where there is none, or where it cannot be read.
    [[nodiscard]] virtual std::string loadBundledInject();

private:
    void saveCachedInject(const std::string& js);

    const std::shared_ptr<const InjectDownloaderConfigurationProvider> config;
};

} // namespace LumoKit
