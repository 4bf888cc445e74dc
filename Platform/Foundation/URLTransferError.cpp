#include "URLTransferError.h"

#include <LumoKit/Platform/Foundation/URLError.h>

#include <libsoup/soup.h>

namespace LumoKit::detail {

namespace {

/// The worst first: who signed it, when, for whom.
NSURLErrorCode codeOfCertificate(GTlsCertificateFlags errors)
{
    if (errors & G_TLS_CERTIFICATE_UNKNOWN_CA)
        return NSURLErrorServerCertificateHasUnknownRoot;
    if (errors & G_TLS_CERTIFICATE_EXPIRED)
        return NSURLErrorServerCertificateHasBadDate;
    if (errors & G_TLS_CERTIFICATE_NOT_ACTIVATED)
        return NSURLErrorServerCertificateNotYetValid;
    return NSURLErrorServerCertificateUntrusted;
}

NSURLErrorCode codeOfInputOutput(int code)
{
    switch (code) {
    case G_IO_ERROR_CANCELLED:
        return NSURLErrorCancelled;
    case G_IO_ERROR_TIMED_OUT:
        return NSURLErrorTimedOut;
    case G_IO_ERROR_HOST_NOT_FOUND:
        return NSURLErrorCannotFindHost;
    case G_IO_ERROR_NETWORK_UNREACHABLE:
        return NSURLErrorNotConnectedToInternet;
    case G_IO_ERROR_CONNECTION_REFUSED:
    case G_IO_ERROR_HOST_UNREACHABLE:
        return NSURLErrorCannotConnectToHost;
    case G_IO_ERROR_CONNECTION_CLOSED: // also a pipe that is broken
    case G_IO_ERROR_PARTIAL_INPUT:
        return NSURLErrorNetworkConnectionLost;
    case G_IO_ERROR_INVALID_DATA:
        return NSURLErrorCannotDecodeRawData;
    case G_IO_ERROR_PROXY_FAILED:
    case G_IO_ERROR_PROXY_AUTH_FAILED:
    case G_IO_ERROR_PROXY_NEED_AUTH:
    case G_IO_ERROR_PROXY_NOT_ALLOWED:
        return NSURLErrorCannotConnectToHost;
    default:
        return NSURLErrorUnknown;
    }
}

NSURLErrorCode codeOfSession(int code)
{
    switch (code) {
    case SOUP_SESSION_ERROR_PARSING:
        return NSURLErrorCannotParseResponse;
    case SOUP_SESSION_ERROR_ENCODING:
        return NSURLErrorCannotDecodeRawData;
    case SOUP_SESSION_ERROR_TOO_MANY_REDIRECTS:
        return NSURLErrorHTTPTooManyRedirects;
    case SOUP_SESSION_ERROR_REDIRECT_NO_LOCATION:
    case SOUP_SESSION_ERROR_REDIRECT_BAD_URI:
        return NSURLErrorRedirectToNonExistentLocation;
    default:
        return NSURLErrorUnknown;
    }
}

NSURLErrorCode codeOf(const GError& error, GTlsCertificateFlags certificateErrors)
{
    if (error.domain == G_TLS_ERROR)
        return certificateErrors ? codeOfCertificate(certificateErrors) : NSURLErrorSecureConnectionFailed;
    if (error.domain == G_RESOLVER_ERROR)
        return error.code == G_RESOLVER_ERROR_NOT_FOUND ? NSURLErrorCannotFindHost
                                                        : NSURLErrorDNSLookupFailed;
    if (error.domain == G_IO_ERROR)
        return codeOfInputOutput(error.code);
    if (error.domain == SOUP_SESSION_ERROR)
        return codeOfSession(error.code);
    return NSURLErrorUnknown;
}

} // namespace

Error transferError(const GError& error, GTlsCertificateFlags certificateErrors)
{
    return {std::string(NSURLErrorDomain), codeOf(error, certificateErrors), error.message};
}

} // namespace LumoKit::detail
