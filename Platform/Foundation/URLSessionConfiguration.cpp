#include <LumoKit/Platform/Foundation/URLSessionConfiguration.h>

namespace LumoKit {

URLSessionConfiguration URLSessionConfiguration::defaultConfiguration()
{
    URLSessionConfiguration configuration;
    configuration.urlCache = URLCache::shared();
    configuration.httpCookieStorage = HTTPCookieStorage::shared();
    return configuration;
}

URLSessionConfiguration URLSessionConfiguration::ephemeral()
{
    URLSessionConfiguration configuration;
    configuration.httpCookieStorage = HTTPCookieStorage::inMemory();
    return configuration;
}

} // namespace LumoKit
