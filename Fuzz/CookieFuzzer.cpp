// Any properties make a cookie or none. A cookie is the same when it is made again of its properties, loses nothing but what
// a record has no place for, and is the same for the engine, as far as that takes it. The properties are read from JSON, in
// which {"date": seconds} and {"url": text} stand for what JSON has no form for.

#include "Foundation/EngineCookie.h"

#include <LumoKit/CookieJar/HTTPCookie+Serialization.h>
#include <LumoKit/Platform/Foundation/JSON.h>

#include <cstdlib>

using namespace LumoKit;

static void require(bool condition)
{
    if (!condition)
        std::abort();
}

static Value typed(const Value& value)
{
    if (const auto seconds = value["date"].asNumber())
        return Date(std::chrono::duration<double>(*seconds));
    if (const auto* text = value["url"].asText())
        if (const auto url = URL::parse(*text))
            return *url;
    return value;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto json = readJSON({reinterpret_cast<const char*>(data), size});
    if (!json || !json->asDictionary())
        return 0;
    Value::Dictionary properties;
    for (const auto& [key, value] : *json->asDictionary())
        properties.insert_or_assign(key, typed(value));

    const auto cookie = HTTPCookie::create(properties);
    if (!cookie)
        return 0;
    const auto again = HTTPCookie::create(cookie->properties());
    require(again == cookie && again->expiresDate() == cookie->expiresDate());

    const auto record = serialize(*cookie);
    require(record.size() == 12);
    const auto restored = deserialize(record);
    require(restored && serialize(*restored) == record && restored->expiresDate() == cookie->expiresDate());
    require(!restored->isHTTPOnly() && !restored->sameSitePolicy() && restored->portList().empty());

    if (const auto engine = detail::engineCookie(*cookie)) {
        const auto back = detail::cookieOf(engine.get());
        require(back && back->name() == cookie->name() && back->value() == cookie->value());
        require(back->domain() == cookie->domain() && back->path() == cookie->path());
        require(back->isSecure() == cookie->isSecure() && back->isHTTPOnly() == cookie->isHTTPOnly());
        require(back->sameSitePolicy() == cookie->sameSitePolicy()
            && back->isSessionOnly() == cookie->isSessionOnly());
    }
    return 0;
}
