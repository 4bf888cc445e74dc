#pragma once

#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/Foundation/URLSessionConfiguration.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace LumoKit {

/// Whom to ask for the recommended user agent, and how.
struct UserAgentService {
    /// The suite's account service, by HTTPS, in the default way. Its host is a setting of the build,
    /// `LUMOKIT_ACCOUNT_SERVICE`.
    [[nodiscard]] static UserAgentService ofTheSuite();

    URL url;
    URLSessionConfiguration configuration;
};

/// The user agent for web views: a browser's on the version of the system that runs. It sets none; a host reads
/// `UserAgentFetcher::shared()->userAgent()` and gives it to its views.
///
///     UserAgentFetcher::shared()->fetch([] {
///         DispatchQueue::main()->async([] { … });
///     });
///
/// Thread: any.
class UserAgentFetcher : public std::enable_shared_from_this<UserAgentFetcher> {
public:
    /// The one in use, made at first access.
    [[nodiscard]] static std::shared_ptr<UserAgentFetcher> shared();
    /// Puts another in its place; not null.
    static void setShared(std::shared_ptr<UserAgentFetcher> fetcher);

    /// A fetcher that asks somebody else.
    [[nodiscard]] static std::shared_ptr<UserAgentFetcher> create(UserAgentService service);

    /// What is built in, with the version that the system had when this object was made; what the service says is
    /// taken note of during `fetch` alone.
    [[nodiscard]] std::string userAgent() const;

    /// Asks the service. `completion` is called exactly once, on a background queue, whatever the service says, and
    /// five seconds from now at the latest.
    ///
    /// Lifetime: the completion comes also when this object is released before.
    void fetch(std::move_only_function<void()> completion);

private:
    explicit UserAgentFetcher(UserAgentService service);

    const UserAgentService service;
    mutable std::mutex mutex;
    std::optional<std::string> lastFetched; // guarded by mutex
    const std::string fallback;
};

} // namespace LumoKit
