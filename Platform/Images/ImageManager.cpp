#include "../ApplicationKit/NSImageNative.h"
#include "../Foundation/UserFolders.h"
#include "ImageFolder.h"
#include "ImageMemory.h"

#include <LumoKit/Platform/Foundation/Print.h>
#include <LumoKit/Platform/Images/ImageManager.h>

#include <map>
#include <utility>
#include <vector>

namespace LumoKit {

namespace {

/// One who asked for an image.
struct Waiting {
    std::string cacheKey;
    std::shared_ptr<DispatchQueue> queue;
    ImageManager::Progress progress;
    ImageManager::Completion completion;

    void deliver(std::expected<RetrievedImage, Error> outcome)
    {
        queue->async([completion = std::move(completion), outcome = std::move(outcome)]() mutable {
            completion(std::move(outcome));
        });
    }
};

std::string keyOfCopy(const NSImage& from, double radius, const CGSize& fit, const RectCorner& corners,
    const std::optional<NSColor>& background)
{
    std::string key = std::to_string(from.nativeImage().serial);
    for (const double number : {radius, fit.width, fit.height})
        key += ' ' + std::to_string(number);
    for (const bool isRound : {corners.topLeft, corners.topRight, corners.bottomLeft, corners.bottomRight})
        key += isRound ? 'r' : '.';
    if (background)
        for (const double number : {background->redComponent, background->greenComponent,
                 background->blueComponent, background->alphaComponent})
            key += ' ' + std::to_string(number);
    return key;
}

} // namespace

struct ImageManager::State : std::enable_shared_from_this<State> {
    State(std::filesystem::path folder, const ImageCacheLimits& limits)
        : memory(limits.memory)
        , copies(limits.memory)
        , files(std::move(folder), limits.disk, limits.age)
    {
    }

    void retrieve(const URL& url, Waiting waiting, bool forceRefresh, bool onlyFromCache);
    void finish(const URL& url, const std::expected<ImageDownloader::Download, Error>& outcome);

    ImageDownloader downloader;
    detail::ImageMemory memory;
    detail::ImageMemory copies;
    const std::shared_ptr<DispatchQueue> processing =
        DispatchQueue::create("image copies", DispatchQoS::userInitiated);
    const std::shared_ptr<DispatchQueue> queue = DispatchQueue::create("images", DispatchQoS::userInitiated);
    // Both used on the queue alone, so that nothing comes between a look at what is kept and what is under way:
    detail::ImageFolder files;
    std::map<std::string, std::vector<Waiting>> underWay; // by the addresses
};

void ImageManager::State::retrieve(const URL& url, Waiting waiting, bool forceRefresh, bool onlyFromCache)
{
    if (!forceRefresh) {
        if (auto image = memory.image(waiting.cacheKey)) // it came while this was queued
            return waiting.deliver(RetrievedImage{std::move(image), ImageSource::memory});
        if (auto file = files.read(waiting.cacheKey))
            if (auto image = NSImage::create(std::move(*file))) {
                memory.store(waiting.cacheKey, image);
                return waiting.deliver(RetrievedImage{std::move(image), ImageSource::disk});
            }
    }
    if (onlyFromCache)
        return waiting.deliver(std::unexpected(
            Error{"LumoKit.Image", static_cast<int>(ImageError::notCached), "the image is not kept"}));
    auto& waitingForURL = underWay[url.absoluteString()];
    waitingForURL.push_back(std::move(waiting));
    if (waitingForURL.size() > 1)
        return;
    downloader.download(url, [self = shared_from_this(), url](auto outcome) {
        self->queue->async([self, url, outcome = std::move(outcome)] { self->finish(url, outcome); });
    });
}

void ImageManager::State::finish(
    const URL& url, const std::expected<ImageDownloader::Download, Error>& outcome)
{
    auto all = std::move(underWay.extract(url.absoluteString()).mapped());
    std::map<std::string, bool> keys;
    for (Waiting& waiting : all) {
        if (!outcome) {
            waiting.deliver(std::unexpected(outcome.error()));
            continue;
        }
        if (keys.emplace(waiting.cacheKey, true).second)
            memory.store(waiting.cacheKey, outcome->image);
        if (waiting.progress)
            waiting.queue->async(
                [progress = std::move(waiting.progress),
                    bytes = static_cast<std::int64_t>(outcome->file->size())] { progress(bytes, bytes); });
        waiting.deliver(RetrievedImage{outcome->image, ImageSource::network});
    }
    for (const auto& [key, isStored] : keys) // nobody waits for that
        if (const auto written = files.write(key, *outcome->file); !written)
            print("[ImageManager] cannot keep an image: " + written.error().description);
}

ImageManager& ImageManager::shared()
{
    // Never released: images may arrive while the process ends.
    static auto& manager = *new ImageManager([] {
        const auto folder = detail::applicationFolder("XDG_CACHE_HOME", ".cache");
        return folder ? *folder / "Images" : std::filesystem::path();
    }());
    return manager;
}

ImageManager::ImageManager(std::filesystem::path folder, ImageCacheLimits limits)
    : state(std::make_shared<State>(std::move(folder), limits))
{
}

ImageManager::~ImageManager() = default;

ImageDownloader& ImageManager::downloader()
{
    return state->downloader;
}

void ImageManager::retrieveImage(
    ImageResource with, const ImageOptions& options, Progress progress, Completion completion)
{
    Waiting waiting{
        std::move(with.cacheKey), options.callbackQueue, std::move(progress), std::move(completion)};
    if (!options.forceRefresh)
        if (auto image = state->memory.image(waiting.cacheKey))
            return waiting.deliver(RetrievedImage{std::move(image), ImageSource::memory});
    state->queue->async(
        [state = state, url = std::move(with.downloadURL), waiting = std::move(waiting),
            forceRefresh = options.forceRefresh, onlyFromCache = options.onlyFromCache]() mutable {
            state->retrieve(url, std::move(waiting), forceRefresh, onlyFromCache);
        });
}

void ImageManager::image(std::shared_ptr<NSImage> from, double withRoundRadius, const CGSize& fit,
    const RectCorner& roundingCorners, const std::optional<NSColor>& backgroundColor,
    std::move_only_function<void(std::shared_ptr<NSImage>)> completion)
{
    auto deliver = [completion = std::move(completion)](std::shared_ptr<NSImage> copy) mutable {
        DispatchQueue::main()->async([completion = std::move(completion), copy = std::move(copy)]() mutable {
            completion(std::move(copy));
        });
    };
    auto key = keyOfCopy(*from, withRoundRadius, fit, roundingCorners, backgroundColor);
    if (auto copy = state->copies.image(key))
        return deliver(std::move(copy));
    state->processing->async([=, state = state, key = std::move(key), from = std::move(from),
                                 deliver = std::move(deliver)]() mutable {
        auto copy = state->copies.image(key);
        if (!copy) {
            copy = LumoKit::image(*from, withRoundRadius, fit, roundingCorners, backgroundColor);
            if (copy)
                state->copies.store(key, copy);
        }
        deliver(std::move(copy));
    });
}

void ImageManager::removeImage(const std::string& cacheKey)
{
    state->memory.remove(cacheKey);
    state->queue->async([state = state, cacheKey] {
        state->memory.remove(cacheKey);
        state->files.remove(cacheKey);
    });
}

void ImageManager::clearCache()
{
    clearMemoryCache();
    state->queue->async([state = state] {
        state->memory.removeAll();
        state->files.removeAll();
    });
}

void ImageManager::clearMemoryCache()
{
    state->memory.removeAll();
    state->copies.removeAll();
}

} // namespace LumoKit
