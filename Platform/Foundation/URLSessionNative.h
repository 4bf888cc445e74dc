#pragma once

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>
#include <LumoKit/Platform/Foundation/URLSession.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <libsoup/soup.h>

namespace LumoKit {

/// What a session and its transfers share.
struct URLSession::Native {
    explicit Native(URLSessionConfiguration configuration);
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
    ~Native();

    /// The library's session, made at first use.
    /// Thread: the network thread.
    [[nodiscard]] SoupSession* soup();

    /// What is wrong with a certificate of a host by the additional authorities; by the system's, it is `errors`.
    /// Thread: the network thread.
    [[nodiscard]] GTlsCertificateFlags check(
        GTlsCertificate* certificate, GTlsCertificateFlags errors, GUri* address) const;

    const URLSessionConfiguration configuration;
    const std::shared_ptr<DispatchQueue> queue = DispatchQueue::create("LumoKit.URLSession");

private:
    // Network thread only, also where they are let go of:
    detail::ObjectPtr<SoupSession> session;
    detail::ObjectPtr<GTlsDatabase> authorities;
};

} // namespace LumoKit
