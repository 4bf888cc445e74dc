#pragma once

#include <LumoKit/Platform/ApplicationKit/NSImage.h>
#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/Foundation/URLSessionConfiguration.h>

#include <expected>
#include <functional>
#include <memory>

namespace LumoKit {

/// Why there is no image, in the domain "LumoKit.Image"; what went wrong on the way has the session's own domain.
enum class ImageError : int {
    badStatus = 1, // the server answered with another status than one that means success
    notAnImage = 2, // or one that is damaged, cut off, moving in a way that is not read, or too large
    notCached = 3,
};

/// Downloads images.
///
/// Thread: any.
class ImageDownloader {
public:
    /// The downloaded image, and the file that it came as.
    struct Download {
        std::shared_ptr<NSImage> image;
        std::shared_ptr<const Data> file;
    };
    using Completion = std::move_only_function<void(std::expected<Download, Error>)>;

    /// With the default configuration.
    ImageDownloader();
    ~ImageDownloader();
    ImageDownloader(const ImageDownloader&) = delete;
    ImageDownloader& operator=(const ImageDownloader&) = delete;

    [[nodiscard]] URLSessionConfiguration sessionConfiguration() const;
    /// For downloads that begin from now on.
    void setSessionConfiguration(URLSessionConfiguration configuration);

    /// Downloads an image and decodes it once, to see that it is one.
    /// Thread of `completion`: one of the downloader's own; it is called once.
    void download(const URL& url, Completion completion);

private:
    struct State;
    const std::shared_ptr<State> state;
};

} // namespace LumoKit
