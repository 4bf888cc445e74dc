#pragma once

#include <LumoKit/Platform/Foundation/HTTPCookieStorage.h>
#include <LumoKit/Platform/Foundation/HTTPHeaderFields.h>
#include <LumoKit/Platform/Foundation/URLCache.h>
#include <LumoKit/Platform/Foundation/URLRequest.h>

#include <cstddef>
#include <filesystem>
#include <memory>

namespace LumoKit {

/// How a session goes about its tasks. A session has a copy, so that later changes do not concern it.
struct URLSessionConfiguration {
    /// With the application's shared cache and cookies.
    [[nodiscard]] static URLSessionConfiguration defaultConfiguration();
    /// With nothing on disk: cookies of its own in memory, and no cache.
    [[nodiscard]] static URLSessionConfiguration ephemeral();

    /// How long nothing may arrive before a task ends with `NSURLErrorTimedOut`, from its `resume` on.
    /// Units: seconds.
    double timeoutIntervalForRequest = 60;
    /// How long a task may take altogether, whatever arrives.
    /// Units: seconds.
    double timeoutIntervalForResource = 3600;
    /// The bytes of a body, decoded, beyond which a task ends with `NSURLErrorDataLengthExceedsMaximum`.
    std::size_t maximumBodyLength = 64 << 20;
    int httpMaximumConnectionsPerHost = 6;

    /// For tasks that are made of a URL alone.
    URLRequestCachePolicy requestCachePolicy = URLRequestCachePolicy::useProtocolCachePolicy;
    /// Fields of every request that does not have them itself.
    HTTPHeaderFields httpAdditionalHeaders;

    /// None where nothing is to be kept.
    std::shared_ptr<URLCache> urlCache;
    /// None where cookies are neither sent nor taken.
    std::shared_ptr<HTTPCookieStorage> httpCookieStorage;

    /// A file of certificates (PEM) of authorities that are trusted besides the system's; empty for none. A server
    /// has to pass the same checks with them: its name, the dates, and what the certificate is for.
    std::filesystem::path additionalAuthorities;

    bool operator==(const URLSessionConfiguration&) const = default;
};

} // namespace LumoKit
