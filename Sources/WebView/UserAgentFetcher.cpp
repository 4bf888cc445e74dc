#include "UserAgentTexts.h"

#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/ProcessInfo.h>
#include <LumoKit/Platform/Foundation/URLSession.h>
#include <LumoKit/WebView/UserAgentFetcher.h>

#include <utility>

namespace LumoKit {

namespace {

/// The one in use, and what guards it.
struct Shared {
    std::mutex mutex;
    std::shared_ptr<UserAgentFetcher> fetcher;
};

Shared& inUse()
{
    static auto& shared = *new Shared; // never destroyed: it is read from any thread while the process ends
    return shared;
}

} // namespace

UserAgentService UserAgentService::ofTheSuite()
{
    auto url = URL::parse("https://" LUMOKIT_ACCOUNT_SERVICE "/user_agent/v1/latest");
    if (!url)
        fatalError("The account service's host is none: " LUMOKIT_ACCOUNT_SERVICE);
    return {*std::move(url), URLSessionConfiguration::defaultConfiguration()};
}

UserAgentFetcher::UserAgentFetcher(UserAgentService service)
    : service(std::move(service))
    , fallback(detail::fallbackUserAgent(ProcessInfo::operatingSystemVersion()))
{
}

std::shared_ptr<UserAgentFetcher> UserAgentFetcher::create(UserAgentService service)
{
    return std::shared_ptr<UserAgentFetcher>(new UserAgentFetcher(std::move(service)));
}

std::shared_ptr<UserAgentFetcher> UserAgentFetcher::shared()
{
    Shared& shared = inUse();
    const std::lock_guard lock(shared.mutex);
    if (!shared.fetcher)
        shared.fetcher = create(UserAgentService::ofTheSuite());
    return shared.fetcher;
}

void UserAgentFetcher::setShared(std::shared_ptr<UserAgentFetcher> fetcher)
{
    if (!fetcher)
        fatalError("The user agent fetcher must be one");
    Shared& shared = inUse();
    const std::lock_guard lock(shared.mutex);
    shared.fetcher.swap(fetcher); // the one before is released after the lock
}

std::string UserAgentFetcher::userAgent() const
{
    const std::lock_guard lock(mutex);
    return lastFetched.value_or(fallback);
}

void UserAgentFetcher::fetch(std::move_only_function<void()> completion)
{
    URLSessionConfiguration configuration = service.configuration;
    configuration.timeoutIntervalForResource = 5;
    const auto session = std::make_shared<URLSession>(std::move(configuration));
    session
        ->dataTask(service.url,
            [self = shared_from_this(), completion = std::move(completion)](
                const std::optional<Data>& data, const auto&, const std::optional<Error>& error) mutable {
                if (!error && data) {
                    const std::string_view answer(reinterpret_cast<const char*>(data->data()), data->size());
                    if (auto read = detail::userAgentIn(answer, ProcessInfo::operatingSystemVersion())) {
                        const std::lock_guard lock(self->mutex);
                        self->lastFetched = std::move(read);
                        // The service is asked, but what is built in stays in force.
                        self->lastFetched.reset();
                    }
                }
                completion();
            })
        ->resume();
}

} // namespace LumoKit
