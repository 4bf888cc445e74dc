#pragma once

#include "NetworkTimer.h"
#include "URLSessionNative.h"

#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/SignalConnection.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>

namespace LumoKit::detail {

/// One request on its way, with its redirects.
///
/// Thread: the network thread.
/// Lifetime: it keeps itself alive until it has ended.
class URLTransfer : public std::enable_shared_from_this<URLTransfer> {
public:
    struct Outcome {
        std::optional<Data> data;
        std::shared_ptr<const HTTPURLResponse> response;
        std::optional<Error> error;
        /// What the cache should keep, for this request.
        std::optional<CachedURLResponse> fresh;
        std::optional<URLRequest> freshFor;
    };
    using Completion = std::move_only_function<void(Outcome)>;

    URLTransfer(std::shared_ptr<URLSession::Native> session, URLRequest request, Completion completion);

    /// Begins. The completion is called exactly once, maybe within this call.
    void start();

    /// Ends it with an error, if it has not ended.
    void fail(int code, std::string description);

private:
    using NetworkClock = std::chrono::steady_clock;
    /// The allocator tidies its whole heap up whenever a block of twice that size is freed.
    using Buffer = std::array<std::byte, 32768>;

    [[nodiscard]] bool finishFromCache();
    [[nodiscard]] ObjectPtr<SoupMessage> makeMessage() const;
    void observe();
    void didProgress();
    [[nodiscard]] double timeLeft() const;
    void checkTime();
    void didRestart();
    void didSend(GInputStream* opened, const GErrorPtr& error);
    void readMore();
    void didRead(gssize count, const GErrorPtr& error);
    [[nodiscard]] bool isCutOff() const;
    void fail(const GErrorPtr& error);
    void finish(Outcome outcome);
    void finishWithBody();

    const std::shared_ptr<URLSession::Native> session;
    URLRequest request; // with the session's additional fields
    Completion completion; // until it is called
    std::optional<CachedURLResponse> cached; // what the server is asked about

    ObjectPtr<GCancellable> cancellable;
    ObjectPtr<SoupMessage> message;
    ObjectPtr<GInputStream> stream;
    std::shared_ptr<const HTTPURLResponse> response;
    std::unique_ptr<Buffer> buffer;
    Data body;
    GTlsCertificateFlags certificateErrors = G_TLS_CERTIFICATE_NO_FLAGS;

    std::array<SignalConnection, 3> connections;
    NetworkTimer timer;
    NetworkClock::time_point began;
    NetworkClock::time_point didArrive; // anything, last
};

} // namespace LumoKit::detail
