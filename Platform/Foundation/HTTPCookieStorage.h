#pragma once

#include <LumoKit/Platform/Foundation/HTTPCookie.h>
#include <LumoKit/Platform/Foundation/NSObject.h>

#include <memory>
#include <vector>

namespace LumoKit {

/// The cookies that sessions send and receive. Those of web views are kept apart, in their data stores.
///
/// A host's cookies are 180 at most, and all together 3000; beyond that, those go that expire soonest.
///
/// Thread: any.
/// Source: RFC 6265.
class HTTPCookieStorage : public NSObject {
public:
    /// The application's cookies: those with an expiry last beyond its end, in its data folder. Where that cannot
    /// be written, they last until then.
    [[nodiscard]] static std::shared_ptr<HTTPCookieStorage> shared();

    /// A storage that keeps nothing on disk.
    [[nodiscard]] static std::shared_ptr<HTTPCookieStorage> inMemory();

    ~HTTPCookieStorage() override;

    /// All cookies that have not expired, in no order that is said.
    [[nodiscard]] std::vector<HTTPCookie> cookies() const;

    /// The cookies that a request for the address carries, in the order in which they are sent.
    [[nodiscard]] std::vector<HTTPCookie> cookies(const URL& forURL) const;

    /// Takes a cookie in, in place of one of the same name, domain and path. One that has expired takes that away,
    /// and one that a server would read as something else is left out, as `WKHTTPCookieStore` does.
    void setCookie(const HTTPCookie& cookie);

    /// Takes away the cookie of the same name, domain and path, whatever its value.
    void deleteCookie(const HTTPCookie& cookie);

    struct Native;
    /// For the platform layer itself.
    explicit HTTPCookieStorage(std::unique_ptr<Native> native);
    [[nodiscard]] const Native& nativeStorage() const { return *native; }

private:
    std::unique_ptr<Native> native; // never null; let go of on the network thread
};

} // namespace LumoKit
