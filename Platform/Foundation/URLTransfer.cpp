#include "URLTransfer.h"

#include "HTTPCaching.h"
#include "URLTransferError.h"

#include <LumoKit/Platform/Foundation/Characters.h>
#include <LumoKit/Platform/Foundation/URLError.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace LumoKit::detail {

namespace {

using Policy = URLRequestCachePolicy;
using GURI = std::unique_ptr<GUri, FreedBy<g_uri_unref>>;

/// "token = 1*tchar" (RFC 9110, section 5.6.2).
bool isToken(std::string_view text)
{
    constexpr std::string_view others = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::ranges::all_of(text, [&](char character) {
        return g_ascii_isalnum(character) || others.find(character) != others.npos;
    });
}

bool isFieldValue(std::string_view text)
{
    return text.find_first_of(std::string_view("\r\n\0", 3)) == text.npos;
}

/// Any bytes as UTF-8: what is none is replaced by U+FFFD, as the library does with most of them already.
std::string readable(const char* bytes)
{
    return isUTF8(bytes) ? bytes : GText(g_utf8_make_valid(bytes, -1)).get();
}

/// The head of the answer that a message has got.
std::shared_ptr<const HTTPURLResponse> responseOf(SoupMessage* message, const URL& asked)
{
    HTTPHeaderFields fields;
    soup_message_headers_foreach(
        soup_message_get_response_headers(message),
        +[](const char* name, const char* value, gpointer into) {
            const auto [place, isFirst] =
                static_cast<HTTPHeaderFields*>(into)->try_emplace(readable(name), readable(value));
            if (!isFirst)
                place->second += ", " + readable(value);
        },
        &fields);
    const GText written(g_uri_to_string(soup_message_get_uri(message)));
    return std::make_shared<HTTPURLResponse>(URL::parse(written.get()).value_or(asked),
        static_cast<int>(soup_message_get_status(message)), std::move(fields));
}

bool areOfOneOrigin(GUri* first, GUri* second)
{
    return g_strcmp0(g_uri_get_scheme(first), g_uri_get_scheme(second)) == 0
        && g_strcmp0(g_uri_get_host(first), g_uri_get_host(second)) == 0
        && g_uri_get_port(first) == g_uri_get_port(second);
}

bool isOfTheCache(std::string_view field)
{
    static const HTTPHeaderFields names{{"Cache-Control", ""}, {"If-Match", ""}, {"If-Modified-Since", ""},
        {"If-None-Match", ""}, {"If-Range", ""}, {"If-Unmodified-Since", ""}, {"Range", ""}};
    return names.contains(field);
}

} // namespace

URLTransfer::URLTransfer(std::shared_ptr<URLSession::Native> session, URLRequest asked, Completion completion)
    : session(std::move(session))
    , request(std::move(asked))
    , completion(std::move(completion))
    , cancellable(ObjectPtr<GCancellable>::adopt(g_cancellable_new()))
{
    const auto& additional = this->session->configuration.httpAdditionalHeaders;
    request.allHTTPHeaderFields.insert(additional.begin(), additional.end());
    std::erase_if(request.allHTTPHeaderFields,
        [](const auto& field) { return !isToken(field.first) || !isFieldValue(field.second); });
}

void URLTransfer::start()
{
    const auto scheme = request.url.scheme();
    const auto isScheme = [&](const char* name) {
        return scheme && g_ascii_strcasecmp(scheme->c_str(), name) == 0;
    };
    if (!isScheme("http") && !isScheme("https"))
        return fail(NSURLErrorUnsupportedURL, "This is no address of HTTP: " + request.url.absoluteString());
    message = makeMessage();
    if (!message)
        return fail(NSURLErrorBadURL, "This address leads nowhere: " + request.url.absoluteString());
    if (finishFromCache())
        return;

    began = didArrive = NetworkClock::now();
    timer = NetworkTimer([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->checkTime();
    });
    timer.set(timeLeft());
    observe();
    soup_session_send_async(
        session->soup(), message.get(), G_PRIORITY_DEFAULT, cancellable.get(),
        [](GObject* source, GAsyncResult* sent, gpointer data) noexcept {
            const std::unique_ptr<std::shared_ptr<URLTransfer>> self(
                static_cast<std::shared_ptr<URLTransfer>*>(data));
            GErrorPtr error;
            GInputStream* stream = soup_session_send_finish(SOUP_SESSION(source), sent, error.out());
            (*self)->didSend(stream, error);
        },
        new std::shared_ptr(shared_from_this()));
}

/// Answers from the cache where the policy says so; otherwise prepares the question whether what is there is current.
bool URLTransfer::finishFromCache()
{
    URLCache* cache = session->configuration.urlCache.get();
    const Policy policy = request.cachePolicy;
    const bool isAsked = policy != Policy::reloadIgnoringLocalCacheData
        && (policy != Policy::useProtocolCachePolicy
            || std::ranges::none_of(
                request.allHTTPHeaderFields, [](const auto& field) { return isOfTheCache(field.first); }));
    cached = cache && isAsked ? cache->cachedResponse(request) : std::nullopt;
    if (cached
        && (policy != Policy::useProtocolCachePolicy || isFresh(*cached, std::chrono::system_clock::now()))) {
        finish({.data = std::move(cached->data), .response = cached->response});
        return true;
    }
    if (policy == Policy::returnCacheDataDontLoad) {
        fail(NSURLErrorResourceUnavailable, "The cache has no answer.");
        return true;
    }
    if (cached) {
        const HTTPHeaderFields questions = validators(*cached->response);
        for (const auto& [name, value] : questions)
            if (isFieldValue(value))
                soup_message_headers_replace(
                    soup_message_get_request_headers(message.get()), name.c_str(), value.c_str());
        if (questions.empty())
            cached.reset();
    }
    return false;
}

/// Errors: nothing for an address or a method that no request can have.
ObjectPtr<SoupMessage> URLTransfer::makeMessage() const
{
    const GURI address(g_uri_parse(
        request.url.absoluteString().c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr));
    if (!address || !g_uri_get_host(address.get()) || !*g_uri_get_host(address.get())
        || !isToken(request.httpMethod))
        return {};
    auto made =
        ObjectPtr<SoupMessage>::adopt(soup_message_new_from_uri(request.httpMethod.c_str(), address.get()));
    soup_message_add_flags(made.get(), SOUP_MESSAGE_COLLECT_METRICS); // for isCutOff()
    SoupMessageHeaders* headers = soup_message_get_request_headers(made.get());
    if (request.httpBody) {
        GBytes* bytes = g_bytes_new(request.httpBody->data(), request.httpBody->size());
        soup_message_set_request_body_from_bytes(made.get(), nullptr, bytes);
        g_bytes_unref(bytes);
    }
    for (const auto& [name, value] : request.allHTTPHeaderFields)
        if (g_ascii_strcasecmp(name.c_str(), "Content-Length") != 0) // the body has one
            soup_message_headers_replace(headers, name.c_str(), value.c_str());
    return made;
}

void URLTransfer::observe()
{
    // The connections go before this object does.
    SoupMessage* emitter = message.get();
    connections = {
        SignalConnection::connect<void(SoupMessage*)>(emitter, "restarted", [this](auto*) { didRestart(); }),
        SignalConnection::connect<gboolean(SoupMessage*, GTlsCertificate*, GTlsCertificateFlags)>(emitter,
            "accept-certificate",
            [this](
                SoupMessage* asking, GTlsCertificate* certificate, GTlsCertificateFlags errors) -> gboolean {
                certificateErrors = session->check(certificate, errors, soup_message_get_uri(asking));
                return certificateErrors == G_TLS_CERTIFICATE_NO_FLAGS;
            }),
        request.httpBody ? SignalConnection::connect<void(SoupMessage*, guint)>(
                               emitter, "wrote-body-data", [this](auto...) { didProgress(); })
                         : SignalConnection(),
    };
}

/// Gives the server its time anew.
void URLTransfer::didProgress()
{
    didArrive = NetworkClock::now();
}

double URLTransfer::timeLeft() const
{
    const auto& limits = session->configuration;
    const auto now = NetworkClock::now();
    const auto since = [&](NetworkClock::time_point moment) {
        return std::chrono::duration<double>(now - moment).count();
    };
    return std::fmin(std::fmin(request.timeoutInterval, limits.timeoutIntervalForRequest) - since(didArrive),
        limits.timeoutIntervalForResource - since(began));
}

/// The timer is not set anew at each progress, which would wake the thread, but looks at the time when it comes.
void URLTransfer::checkTime()
{
    const double left = timeLeft();
    if (left > 0)
        return timer.set(left);
    const bool isLong = std::chrono::duration<double>(NetworkClock::now() - began).count()
        >= session->configuration.timeoutIntervalForResource;
    fail(NSURLErrorTimedOut, isLong ? "It took too long altogether." : "Nothing arrived for too long.");
}

/// What was meant for one server must not reach another.
void URLTransfer::didRestart()
{
    didProgress();
    const GURI asked(g_uri_parse(
        request.url.absoluteString().c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr));
    SoupMessageHeaders* headers = soup_message_get_request_headers(message.get());
    if (asked && !areOfOneOrigin(asked.get(), soup_message_get_uri(message.get())))
        soup_message_headers_remove(headers, "Authorization");
    if (cached)
        for (const auto& [name, value] : validators(*cached->response))
            soup_message_headers_remove(headers, name.c_str());
    cached.reset();
}

void URLTransfer::didSend(GInputStream* opened, const GErrorPtr& error)
{
    stream = ObjectPtr<GInputStream>::adopt(opened);
    if (!completion)
        return;
    if (!stream)
        return fail(error);
    didProgress();
    response = responseOf(message.get(), request.url);
    const auto most = session->configuration.maximumBodyLength;
    const auto announced = response->expectedContentLength();
    if (announced > 0 && std::cmp_greater(announced, most)
        && !response->valueForHTTPHeaderField("Content-Encoding") && request.httpMethod != "HEAD")
        return fail(NSURLErrorDataLengthExceedsMaximum, "The body is too long.");
    buffer = std::make_unique_for_overwrite<Buffer>();
    readMore();
}

void URLTransfer::readMore()
{
    g_input_stream_read_async(
        stream.get(), buffer->data(), buffer->size(), G_PRIORITY_DEFAULT, cancellable.get(),
        [](GObject* source, GAsyncResult* read, gpointer data) noexcept {
            const std::unique_ptr<std::shared_ptr<URLTransfer>> self(
                static_cast<std::shared_ptr<URLTransfer>*>(data));
            GErrorPtr error;
            const gssize count = g_input_stream_read_finish(G_INPUT_STREAM(source), read, error.out());
            (*self)->didRead(count, error);
        },
        new std::shared_ptr(shared_from_this()));
}

void URLTransfer::didRead(gssize count, const GErrorPtr& error)
{
    if (!completion)
        return;
    if (count < 0)
        return fail(error);
    if (count == 0)
        return isCutOff() ? fail(NSURLErrorNetworkConnectionLost, "The connection ended before the body did.")
                          : finishWithBody();
    didProgress();
    const auto size = static_cast<std::size_t>(count);
    if (size > session->configuration.maximumBodyLength - body.size())
        return fail(NSURLErrorDataLengthExceedsMaximum, "The body is too long.");
    if (body.capacity() - body.size() < size) // twice as much, but never more than may come
        body.reserve(std::min(session->configuration.maximumBodyLength, (body.size() + size) * 2));
    body.insert(body.end(), buffer->begin(), buffer->begin() + count);
    readMore();
}

/// Whether less came than was announced, which the library forgives servers that close the connection.
bool URLTransfer::isCutOff() const
{
    constexpr int noContent = 204;
    constexpr int notModified = 304;
    const int status = response->statusCode();
    return request.httpMethod != "HEAD" && status != noContent && status != notModified
        && !response->valueForHTTPHeaderField("Transfer-Encoding")
        && std::cmp_less(
            soup_message_metrics_get_response_body_bytes_received(soup_message_get_metrics(message.get())),
            response->expectedContentLength());
}

void URLTransfer::finishWithBody()
{
    const Date now = std::chrono::system_clock::now();
    Outcome outcome{.response = response};
    URLRequest key = request;
    key.url = response->url();
    constexpr int notModified = 304;
    if (cached && response->statusCode() == notModified) {
        outcome.fresh = updated(*cached, *response, now);
        outcome.response = outcome.fresh->response;
        outcome.data = outcome.fresh->data;
        key.url = request.url;
    } else {
        if (session->configuration.urlCache && mayBeStored(key, *response)) {
            CachedURLResponse answer{response, {}, {}, now};
            if (isFresh(answer, now) || !validators(*response).empty()) {
                answer.data = body;
                outcome.fresh = std::move(answer);
            }
        }
        outcome.data = std::move(body);
    }
    if (outcome.fresh)
        outcome.freshFor = std::move(key);
    finish(std::move(outcome));
}

void URLTransfer::fail(const GErrorPtr& error)
{
    finish({.response = response, .error = transferError(*error.get(), certificateErrors)});
}

void URLTransfer::fail(int code, std::string description)
{
    finish(
        {.response = response, .error = Error{std::string(NSURLErrorDomain), code, std::move(description)}});
}

void URLTransfer::finish(Outcome outcome)
{
    if (!completion)
        return;
    const auto self = shared_from_this();
    auto complete = std::exchange(completion, nullptr);
    timer = {};
    connections = {};
    if (outcome.error)
        g_cancellable_cancel(cancellable.get());
    stream = {}; // an operation of its own that is under way keeps it
    body = {};
    complete(std::move(outcome));
}

} // namespace LumoKit::detail
