#pragma once

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Images/ImageDownloader.h>
#include <LumoKit/Platform/Images/RoundedImage.h>

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace LumoKit {

/// An image on the web, and the name under which it is kept.
struct ImageResource {
    URL downloadURL;
    std::string cacheKey;
};

/// Where an image came from.
enum class ImageSource { network, memory, disk };

struct RetrievedImage {
    std::shared_ptr<NSImage> image;
    ImageSource source = ImageSource::network;
};

/// How an image is retrieved.
struct ImageOptions {
    /// From the network, whatever is kept.
    bool forceRefresh = false;
    /// Only what is kept.
    bool onlyFromCache = false;
    /// Where completions are called.
    std::shared_ptr<DispatchQueue> callbackQueue = DispatchQueue::main();
};

/// What is kept, where, and for how long.
struct ImageCacheLimits {
    /// Of images as they came, and of copies that were made of them, each.
    /// Units: bytes.
    std::size_t memory = 32 << 20;
    /// Units: bytes.
    std::uint64_t disk = 64 << 20;
    std::chrono::seconds age = std::chrono::days(7);
};

/// Images from the web, kept in memory and on disk.
///
/// Those who ask for the same address while it is being downloaded share the download. What is downloaded is an image that
/// can be decoded, or is not kept.
///
/// Thread: any.
/// Lifetime: what was asked for is delivered also if the manager is released before.
class ImageManager {
public:
    using Completion = std::move_only_function<void(std::expected<RetrievedImage, Error>)>;
    /// Units: bytes received, and bytes altogether.
    using Progress = std::function<void(std::int64_t, std::int64_t)>;

    /// The application's manager, with a folder of the application's cache.
    [[nodiscard]] static ImageManager& shared();

    /// An empty folder's name stands for none, so that nothing is kept on disk.
    explicit ImageManager(std::filesystem::path folder, ImageCacheLimits limits = {});
    ~ImageManager();
    ImageManager(const ImageManager&) = delete;
    ImageManager& operator=(const ImageManager&) = delete;

    [[nodiscard]] ImageDownloader& downloader();

    /// Takes an image from memory, from disk or from the network, and keeps it under the resource's key.
    ///
    /// `progress` is called before the completion and where that is, when the bytes have arrived; not for what was kept.
    /// `completion` is called once, never within this call.
    /// Errors: those of `ImageError` and of the session.
    void retrieveImage(
        ImageResource with, const ImageOptions& options, Progress progress, Completion completion);

    /// Makes a copy of an image with rounded corners, as the function `image` does, but on another thread. The copy is kept
    /// in memory beside the image, and made once.
    /// `completion` is called once, on the main queue and never within this call, with null for an image that cannot be
    /// decoded.
    void image(std::shared_ptr<NSImage> from, double withRoundRadius, const CGSize& fit,
        const RectCorner& roundingCorners, const std::optional<NSColor>& backgroundColor,
        std::move_only_function<void(std::shared_ptr<NSImage>)> completion);

    /// Forgets an image, in memory and on disk, or all.
    void removeImage(const std::string& cacheKey);
    void clearCache();
    /// Forgets what is kept in memory.
    void clearMemoryCache();

private:
    struct State;
    const std::shared_ptr<State> state;
};

} // namespace LumoKit
