#pragma once

#include <LumoKit/Platform/Foundation/HTTPHeaderFields.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <optional>
#include <string>
#include <utility>

namespace LumoKit {

/// What the cache may do for a request.
enum class URLRequestCachePolicy {
    /// What HTTP says: an answer that is fresh is taken from the cache, and one that is stale is checked.
    useProtocolCachePolicy,
    /// Always from the network. The answer may be kept for other requests.
    reloadIgnoringLocalCacheData,
    /// From the cache however old, and from the network where there is nothing.
    returnCacheDataElseLoad,
    /// From the cache however old, and an error where there is nothing.
    returnCacheDataDontLoad,
};

/// What to ask of whom.
struct URLRequest {
    URLRequest(URL url, URLRequestCachePolicy cachePolicy = URLRequestCachePolicy::useProtocolCachePolicy,
        double timeoutInterval = 60)
        : url(std::move(url))
        , cachePolicy(cachePolicy)
        , timeoutInterval(timeoutInterval)
    {
    }

    /// Sets a header field, in place of one of that name.
    void setValue(std::string value, std::string forHTTPHeaderField)
    {
        allHTTPHeaderFields.insert_or_assign(std::move(forHTTPHeaderField), std::move(value));
    }

    URL url;
    URLRequestCachePolicy cachePolicy;
    /// How long nothing may arrive before the task ends with `NSURLErrorTimedOut`; the session's own limit counts
    /// where that is shorter.
    /// Units: seconds.
    double timeoutInterval;
    std::string httpMethod = "GET";
    /// Names that are no token, and values with a line's end or a NUL, are not sent.
    HTTPHeaderFields allHTTPHeaderFields;
    std::optional<Data> httpBody;

    bool operator==(const URLRequest&) const = default;
};

} // namespace LumoKit
