#pragma once

#include <string_view>

namespace LumoKit {

/// The domain of what goes wrong between a session and a server.
inline constexpr std::string_view NSURLErrorDomain = "NSURLErrorDomain";

/// The codes of that domain that are reported.
enum NSURLErrorCode : int {
    NSURLErrorUnknown = -1,
    NSURLErrorCancelled = -999,
    NSURLErrorBadURL = -1000,
    NSURLErrorTimedOut = -1001,
    /// Another scheme than "http" and "https".
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    /// The resolver has no answer, which may be another one later.
    NSURLErrorDNSLookupFailed = -1006,
    NSURLErrorHTTPTooManyRedirects = -1007,
    /// Nothing in the cache for a request that must not load.
    NSURLErrorResourceUnavailable = -1008,
    NSURLErrorNotConnectedToInternet = -1009,
    NSURLErrorRedirectToNonExistentLocation = -1010,
    NSURLErrorBadServerResponse = -1011,
    /// The body is not what its encoding says, such as damaged gzip.
    NSURLErrorCannotDecodeRawData = -1015,
    NSURLErrorCannotParseResponse = -1017,
    NSURLErrorDataLengthExceedsMaximum = -1103,
    NSURLErrorSecureConnectionFailed = -1200,
    NSURLErrorServerCertificateHasBadDate = -1201,
    /// For another host, or not to be trusted for another reason.
    NSURLErrorServerCertificateUntrusted = -1202,
    NSURLErrorServerCertificateHasUnknownRoot = -1203,
    NSURLErrorServerCertificateNotYetValid = -1204,
};

} // namespace LumoKit
