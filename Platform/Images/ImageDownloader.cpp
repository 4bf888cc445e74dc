#include "../ApplicationKit/NSImageNative.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/URLResponse.h>
#include <LumoKit/Platform/Foundation/URLSession.h>
#include <LumoKit/Platform/Images/ImageDownloader.h>

#include <mutex>
#include <utility>

namespace LumoKit {

namespace {

Error imageError(ImageError code, const std::string& description)
{
    return {"LumoKit.Image", static_cast<int>(code), description};
}

std::expected<ImageDownloader::Download, Error> imageIn(
    std::optional<Data> data, const URLResponse* response, const std::optional<Error>& error)
{
    if (error || !data)
        return std::unexpected(error.value_or(imageError(ImageError::notAnImage, "nothing was received")));
    const auto* answer = dynamic_cast<const HTTPURLResponse*>(response);
    if (answer && (answer->statusCode() < 200 || answer->statusCode() > 299))
        return std::unexpected(imageError(ImageError::badStatus,
            "the server answered with status " + std::to_string(answer->statusCode())));
    const auto file = std::make_shared<const Data>(std::move(*data));
    auto image = NSImage::create(file);
    // What cannot be decoded must not be kept for days. A pixel of it tells, for a JPEG in a fraction of the time.
    if (!image || !image->nativeImage().pixelsCovering({1, 1}))
        return std::unexpected(imageError(ImageError::notAnImage, "what was received is not an image"));
    return ImageDownloader::Download{std::move(image), file};
}

} // namespace

struct ImageDownloader::State {
    std::mutex mutex;
    URLSessionConfiguration configuration =
        URLSessionConfiguration::defaultConfiguration(); // guarded by mutex
    std::shared_ptr<URLSession> session; // guarded by mutex; null until it is needed

    /// Decoding takes long enough to keep it from what else the session delivers; one at a time bounds the memory.
    const std::shared_ptr<DispatchQueue> checks = DispatchQueue::create("image checks", DispatchQoS::utility);
};

ImageDownloader::ImageDownloader()
    : state(std::make_shared<State>())
{
}

ImageDownloader::~ImageDownloader() = default;

URLSessionConfiguration ImageDownloader::sessionConfiguration() const
{
    const std::lock_guard lock(state->mutex);
    return state->configuration;
}

void ImageDownloader::setSessionConfiguration(URLSessionConfiguration configuration)
{
    const std::lock_guard lock(state->mutex);
    state->configuration = std::move(configuration);
    state->session = nullptr;
}

void ImageDownloader::download(const URL& url, Completion completion)
{
    std::shared_ptr<URLSession> session;
    {
        const std::lock_guard lock(state->mutex);
        if (!state->session)
            state->session = std::make_shared<URLSession>(state->configuration);
        session = state->session;
    }
    session
        ->dataTask(url,
            [checks = state->checks, completion = std::move(completion)](
                auto data, auto response, auto error) mutable {
                checks->async([data = std::move(data), response = std::move(response),
                                  error = std::move(error), completion = std::move(completion)]() mutable {
                    completion(imageIn(std::move(data), response.get(), error));
                });
            })
        ->resume();
}

} // namespace LumoKit
