#include "HTTPCookieStorageNative.h"
#include "NetworkThread.h"
#include "URLSessionNative.h"
#include "URLTransfer.h"

#include <LumoKit/Platform/Foundation/URLError.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace LumoKit {

using detail::NetworkThread;
using detail::ObjectPtr;
using detail::URLTransfer;

namespace {

constexpr auto cancelled = "The task was cancelled.";

} // namespace

// ---- session

URLSession::Native::Native(URLSessionConfiguration configuration)
    : configuration(std::move(configuration))
{
}

URLSession::Native::~Native()
{
    if (!session)
        return;
    NetworkThread::shared().async([last = std::move(session), kept = std::move(authorities)] {
        soup_session_abort(last.get()); // what was cancelled may still have its connection
    });
}

SoupSession* URLSession::Native::soup()
{
    if (session)
        return session.get();
    // The transfers have time-outs of their own, which do not depend on what the connection does.
    const int connections = std::clamp(configuration.httpMaximumConnectionsPerHost, 1, 256);
    constexpr int leastOfAll = 64;
    session = ObjectPtr<SoupSession>::adopt(soup_session_new_with_options("timeout", 0, "idle-timeout", 60,
        "max-conns-per-host", connections, "max-conns", std::max(connections, leastOfAll), nullptr));
    if (configuration.httpCookieStorage)
        soup_session_add_feature(
            session.get(), SOUP_SESSION_FEATURE(configuration.httpCookieStorage->nativeStorage().jar.get()));
    if (!configuration.additionalAuthorities.empty())
        authorities = ObjectPtr<GTlsDatabase>::adopt(
            g_tls_file_database_new(configuration.additionalAuthorities.c_str(), nullptr));
    return session.get();
}

GTlsCertificateFlags URLSession::Native::check(
    GTlsCertificate* certificate, GTlsCertificateFlags errors, GUri* address) const
{
    if (!authorities)
        return errors;
    constexpr guint16 anyPort = 443; // a certificate is of a name
    const auto identity =
        ObjectPtr<GSocketConnectable>::adopt(g_network_address_new(g_uri_get_host(address), anyPort));
    return g_tls_database_verify_chain(authorities.get(), certificate,
        G_TLS_DATABASE_PURPOSE_AUTHENTICATE_SERVER, identity.get(), nullptr, G_TLS_DATABASE_VERIFY_NONE,
        nullptr, nullptr);
}

std::shared_ptr<URLSession> URLSession::shared()
{
    // Never released: transfers may be under way while the process ends.
    static const auto& session =
        *new auto(std::make_shared<URLSession>(URLSessionConfiguration::defaultConfiguration()));
    return session;
}

URLSession::URLSession(URLSessionConfiguration configuration)
    : native(std::make_shared<Native>(std::move(configuration)))
{
}

URLSession::~URLSession() = default;

const URLSessionConfiguration& URLSession::configuration() const
{
    return native->configuration;
}

// ---- task

struct URLSessionDataTask::Native : std::enable_shared_from_this<Native> {
    Native(std::shared_ptr<URLSession::Native> session, URLRequest request,
        URLSession::CompletionHandler handler)
        : session(std::move(session))
        , request(std::move(request))
        , handler(std::move(handler))
    {
    }

    void completeCancelled()
    {
        complete({.error = Error{std::string(NSURLErrorDomain), NSURLErrorCancelled, cancelled}});
    }

    /// Leads to the one call of the handler.
    void complete(URLTransfer::Outcome outcome)
    {
        session->queue->async([self = shared_from_this(), outcome = std::move(outcome)]() mutable {
            if (outcome.fresh)
                self->session->configuration.urlCache->storeCachedResponse(*outcome.fresh, *outcome.freshFor);
            auto handler = std::exchange(self->handler, nullptr);
            self->state = State::completed;
            if (handler)
                handler(std::move(outcome.data), std::move(outcome.response), std::move(outcome.error));
        });
    }

    const std::shared_ptr<URLSession::Native> session;
    const URLRequest request;
    URLSession::CompletionHandler handler; // on the session's queue, once the task has left `suspended`
    std::atomic<State> state = State::suspended;
    std::shared_ptr<URLTransfer> transfer; // network thread only
};

URLSessionDataTask::URLSessionDataTask(std::shared_ptr<Native> native)
    : native(std::move(native))
{
}

void URLSessionDataTask::resume()
{
    State expected = State::suspended;
    if (!native->state.compare_exchange_strong(expected, State::running))
        return;
    NetworkThread::shared().async([task = native] {
        if (task->state == State::canceling) // by another thread, meanwhile
            return task->completeCancelled();
        task->transfer =
            std::make_shared<URLTransfer>(task->session, task->request, [task](URLTransfer::Outcome outcome) {
                task->transfer.reset();
                task->complete(std::move(outcome));
            });
        std::shared_ptr(task->transfer)->start();
    });
}

void URLSessionDataTask::cancel()
{
    State expected = State::suspended;
    if (native->state.compare_exchange_strong(expected, State::canceling))
        return native->completeCancelled();
    if (expected != State::running || !native->state.compare_exchange_strong(expected, State::canceling))
        return;
    NetworkThread::shared().async([task = native] {
        if (const auto transfer = task->transfer)
            transfer->fail(NSURLErrorCancelled, cancelled);
    });
}

URLSessionDataTask::State URLSessionDataTask::state() const
{
    return native->state;
}

const URLRequest& URLSessionDataTask::originalRequest() const
{
    return native->request;
}

std::shared_ptr<URLSessionDataTask> URLSession::dataTask(
    const URLRequest& with, CompletionHandler completionHandler)
{
    return std::make_shared<URLSessionDataTask>(
        std::make_shared<URLSessionDataTask::Native>(native, with, std::move(completionHandler)));
}

std::shared_ptr<URLSessionDataTask> URLSession::dataTask(const URL& with, CompletionHandler completionHandler)
{
    const auto& configuration = native->configuration;
    return dataTask(
        URLRequest(with, configuration.requestCachePolicy, configuration.timeoutIntervalForRequest),
        std::move(completionHandler));
}

} // namespace LumoKit
