#include <LumoKit/Platform/Images/ImageManager.h>
#include <LumoKit/Utility/AccountImageDownload.h>

#include <utility>

namespace LumoKit::AccountImageDownloader {

namespace {

using Then = std::move_only_function<void(std::shared_ptr<NSImage>)>;

/// Another configuration may have been set, with which pictures would not arrive.
ImageManager& manager()
{
    auto& shared = ImageManager::shared();
    if (const auto usual = URLSessionConfiguration::defaultConfiguration();
        shared.downloader().sessionConfiguration() != usual)
        shared.downloader().setSessionConfiguration(usual);
    return shared;
}

void fetchProfileImage(const URL& url, const char* cacheKeySuffix, double radius, double side, Then then)
{
    manager().retrieveImage({url, url.absoluteString() + cacheKeySuffix}, {}, nullptr,
        [radius, side, then = std::move(then)](auto retrieved) mutable {
            if (!retrieved)
                return then(nullptr);
            ImageManager::shared().image(std::move(retrieved->image), radius, {side, side}, RectCorner::all,
                std::nullopt, std::move(then));
        });
}

} // namespace

void fetchProfileImageForAccountMenu(const URL& url, Then then)
{
    fetchProfileImage(url, "account_menu", 10, 20, std::move(then));
}

void fetchProfileImageForDashboard(const URL& url, Then then)
{
    fetchProfileImage(url, "dashboard", 28, 56, std::move(then));
}

} // namespace LumoKit::AccountImageDownloader
