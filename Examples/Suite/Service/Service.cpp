#include "Service.h"

#include "Attachments.h"
#include "Calendar.h"
#include "CalendarJson.h"
#include "Mailbox.h"
#include "MailboxJson.h"
#include "PageFiles.h"
#include "Sessions.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace LumoSuite {

namespace {

constexpr std::size_t largestBody = 64 * 1024;
// A client that sends more than this although it will be refused is cut off.
constexpr std::size_t largestDiscarded = 8 * 1024 * 1024;
// A connection on which nothing moves for so long is closed.
constexpr guint idleSeconds = 60;
constexpr const char* pendingBodyKey = "lumo-pending-body";
constexpr std::string_view jsonType = "application/json";
// Bytes of any kind. No page of another origin can send them without asking first, just as JSON.
constexpr std::string_view bytesType = "application/octet-stream";
constexpr std::string_view attachmentsPath = "/api/attachments";

struct UnrefObject {
    void operator()(gpointer object) const { g_object_unref(object); }
};

struct FreeError {
    void operator()(GError* error) const { g_error_free(error); }
};

struct FreeUris {
    void operator()(GSList* uris) const
    {
        g_slist_free_full(uris, [](gpointer uri) { g_uri_unref(static_cast<GUri*>(uri)); });
    }
};

template <typename T> using ObjectPointer = std::unique_ptr<T, UnrefObject>;
using ErrorPointer = std::unique_ptr<GError, FreeError>;
using UriListPointer = std::unique_ptr<GSList, FreeUris>;

// What has arrived of a request's body; it belongs to the message.
struct PendingBody {
    std::string bytes;
    std::size_t arrived = 0;
    std::size_t largest = largestBody;

    bool tooLarge() const { return arrived > largest; }
};

struct Request {
    std::string_view method;
    // The decoded path and what follows the route's path in it.
    std::string_view path;
    std::string_view rest;
    std::string_view query;
    std::string_view body;
    SoupMessageHeaders* headers;

    std::string_view cookies() const { return header("Cookie").value_or(""); }

    // Every value of a header joined by commas, as one text; nothing without the header.
    std::optional<std::string_view> header(const char* name) const
    {
        const char* value = soup_message_headers_get_list(headers, name);
        return value ? std::optional<std::string_view>(value) : std::nullopt;
    }
};

struct Response {
    int status = SOUP_STATUS_OK;
    std::string type;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
};

Response failure(int status, std::string_view message)
{
    return {.status = status, .type = std::string(jsonType), .body = errorText(message), .headers = {}};
}

// A cookie that script cannot read, for the whole service. Source: RFC 6265, section 4.1.
std::pair<std::string, std::string> setCookie(std::string_view name, std::string_view value, int seconds)
{
    return {"Set-Cookie",
        std::string(name) + "=" + std::string(value)
            + "; Path=/; HttpOnly; SameSite=Lax; Max-Age=" + std::to_string(seconds)};
}

constexpr std::size_t mostHelpRequests = 100;
constexpr int sessionSeconds = 30 * 24 * 60 * 60;

Response json(std::string text)
{
    return {.type = std::string(jsonType), .body = std::move(text), .headers = {}};
}

Response redirect(const Request& request, std::string address)
{
    // The query reaches the page at the end of the chain.
    if (!request.query.empty())
        address.append(address.contains('?') ? "&" : "?").append(request.query);
    return {
        .status = SOUP_STATUS_FOUND, .type = {}, .body = {}, .headers = {{"Location", std::move(address)}}};
}

bool readsOnly(std::string_view method)
{
    return method == "GET" || method == "HEAD";
}

std::optional<unsigned> hexDigit(char letter)
{
    if (letter >= '0' && letter <= '9')
        return static_cast<unsigned>(letter - '0');
    if (letter >= 'a' && letter <= 'f')
        return static_cast<unsigned>(letter - 'a' + 10);
    if (letter >= 'A' && letter <= 'F')
        return static_cast<unsigned>(letter - 'A' + 10);
    return std::nullopt;
}

bool hasDotSegment(std::string_view path)
{
    while (true) {
        auto slash = path.find('/');
        std::string_view segment = path.substr(0, slash);
        if (segment == "." || segment == "..")
            return true;
        if (slash == std::string_view::npos)
            return false;
        path.remove_prefix(slash + 1);
    }
}

// RFC 3986, section 2.1. Nothing where a "%" is not followed by two hexadecimal digits.
std::optional<std::string> decoded(std::string_view raw)
{
    std::string text;
    for (std::size_t index = 0; index < raw.size(); ++index) {
        if (raw[index] != '%') {
            text.push_back(raw[index]);
            continue;
        }
        const auto high = index + 2 < raw.size() ? hexDigit(raw[index + 1]) : std::nullopt;
        const auto low = index + 2 < raw.size() ? hexDigit(raw[index + 2]) : std::nullopt;
        if (!high || !low)
            return std::nullopt;
        text.push_back(static_cast<char>(*high * 16 + *low));
        index += 2;
    }
    return text;
}

// RFC 3986, section 2.1 (percent encoding) and 3.3 (path). An encoded slash or backslash, control
// characters and dot segments have no meaning here, so a path that has them is refused before any route
// sees it.
std::optional<std::string> decodedPath(std::string_view raw)
{
    if (!raw.starts_with('/'))
        return std::nullopt;
    std::string path;
    path.reserve(raw.size());
    for (std::size_t index = 0; index < raw.size(); ++index) {
        char letter = raw[index];
        if (letter == '%') {
            auto high = index + 2 < raw.size() ? hexDigit(raw[index + 1]) : std::nullopt;
            auto low = index + 2 < raw.size() ? hexDigit(raw[index + 2]) : std::nullopt;
            if (!high || !low)
                return std::nullopt;
            letter = static_cast<char>(*high * 16 + *low);
            if (letter == '/')
                return std::nullopt;
            index += 2;
        }
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f || letter == '\\')
            return std::nullopt;
        path.push_back(letter);
    }
    if (hasDotSegment(path))
        return std::nullopt;
    return path;
}

// Whether a header names a media type, with or without parameters. Source: RFC 9110, section 8.3.1.
bool namesType(std::string_view contentType, std::string_view wanted)
{
    std::string_view type = contentType.substr(0, contentType.find(';'));
    while (type.ends_with(' ') || type.ends_with('\t'))
        type.remove_suffix(1);
    return std::ranges::equal(type, wanted, [](char sent, char expected) {
        return (sent >= 'A' && sent <= 'Z' ? static_cast<char>(sent + ('a' - 'A')) : sent) == expected;
    });
}

void send(SoupServerMessage* message, const Response& response)
{
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_replace(headers, "Content-Security-Policy", "default-src 'self'");
    soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
    soup_message_headers_replace(headers, "Cache-Control", "no-cache");
    // The library keeps connections for ever on which a client has broken off.
    soup_message_headers_replace(headers, "Connection", "close");
    for (const auto& [name, value] : response.headers)
        soup_message_headers_append(headers, name.c_str(), value.c_str());
    soup_server_message_set_response(message, response.type.empty() ? nullptr : response.type.c_str(),
        SOUP_MEMORY_COPY, response.body.data(), response.body.size());
    // The one status in use here for which the library has no words.
    const char* reason = response.status == SOUP_STATUS_MISDIRECTED_REQUEST ? "Misdirected Request" : nullptr;
    soup_server_message_set_status(message, static_cast<guint>(response.status), reason);
}

// Runs a callback of the C library and lets no exception leave it.
template <typename Callback> void guarded(SoupServerMessage* message, Callback callback) noexcept
{
    try {
        callback();
    } catch (const std::exception& error) {
        g_warning("the service failed to answer a request: %s", error.what());
        soup_server_message_set_status(message, SOUP_STATUS_INTERNAL_SERVER_ERROR, nullptr);
    }
}

void cutOff(SoupServerMessage* message)
{
    // The next read on the connection finds its end, and the library drops the message in its usual way.
    if (GSocket* socket = soup_server_message_get_socket(message))
        g_socket_shutdown(socket, TRUE, TRUE, nullptr);
}

PendingBody* pendingBody(SoupServerMessage* message)
{
    return static_cast<PendingBody*>(g_object_get_data(G_OBJECT(message), pendingBodyKey));
}

void receiveChunk(SoupServerMessage* message, GBytes* chunk, gpointer)
{
    guarded(message, [&] {
        PendingBody* body = pendingBody(message);
        gsize size = 0;
        auto bytes = static_cast<const char*>(g_bytes_get_data(chunk, &size));
        if (!body || !bytes)
            return;
        body->arrived += size;
        if (body->arrived > body->largest + largestDiscarded)
            cutOff(message);
        else if (body->tooLarge())
            body->bytes = {};
        else
            body->bytes.append(bytes, size);
    });
}

Response bodyTooLarge()
{
    return failure(SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, "The body is too large.");
}

} // namespace

struct Service::Native {
    using Handler = Response (Native::*)(const Request&);

    // Whether a route answers its path only or everything below it, too.
    enum class Reach { exact, below };

    struct Route {
        std::string_view method;
        std::string_view path;
        Reach reach;
        Handler handler;
        // What the body of a request has to be that changes something.
        std::string_view takes = jsonType;

        bool covers(std::string_view asked) const
        {
            return reach == Reach::exact ? asked == path : asked.starts_with(path);
        }
    };

    static const std::array<Route, 37> routes;

    // What there is of one who can sign in.
    struct Reader {
        Mailbox mailbox;
        Calendar calendar;
        Attachments attachments;
    };

    const bool signIn;
    PageFiles pages;
    Sessions sessions;
    std::vector<Reader> readers;
    InjectState inject = InjectState::current;
    std::vector<HelpRequest> helpRequests; // in the order of their numbers, from 1 on
    ObjectPointer<SoupServer> server;
    std::uint16_t port = 0;
    std::string host;
    std::string origin;

    Native(PageFiles opened, const Options& options)
        : signIn(options.signIn)
        , pages(std::move(opened))
        , sessions(options.sessions)
    {
        const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        const auto today = std::chrono::floor<std::chrono::days>(now);
        for (std::size_t owner = 0; owner < Mailbox::sampleOwners().size(); ++owner)
            readers.push_back({Mailbox::sample(now, owner), Calendar::sample(today, owner), {}});
    }

    ~Native()
    {
        if (!server)
            return;
        // Connections that the library still holds must not reach this object.
        g_signal_handlers_disconnect_by_data(server.get(), this);
        soup_server_remove_handler(server.get(), "/");
        soup_server_disconnect(server.get());
    }

    std::expected<void, std::string> listen(std::uint16_t wanted);
    Response answer(SoupServerMessage* message);
    std::optional<Response> refusal(const Request& request, const Route& route) const;
    Response dispatch(Request request);

    Response toStart(const Request& request) { return redirect(request, "/start"); }
    Response toInbox(const Request& request) { return redirect(request, "/inbox/"); }
    Response toFolder(const Request& request) { return redirect(request, std::string(request.path) + "/"); }
    Response page(const Request& request);
    Response readersPage(const Request& request);
    Response listAccounts(const Request& request);
    Response tellUserAgent(const Request& request);
    Response takeHelpRequest(const Request& request);
    Response injectScript(const Request& request);
    Response changeInject(const Request& request);
    Response beginSession(const Request& request);
    Response endSession(const Request& request);
    Response turnSession(const Request& request);

    // What is asked for by whoever is signed in, of what is theirs.
    using ReaderHandler = Response (*)(Reader&, const Request&);
    template <ReaderHandler handler> Response of(const Request& request)
    {
        const auto reader = signIn ? sessions.account(request.cookies()) : 0;
        return reader ? handler(readers.at(*reader), request)
                      : failure(SOUP_STATUS_UNAUTHORIZED, "Nobody is signed in.");
    }
    using MailHandler = Response (*)(Mailbox&, const Request&);
    template <MailHandler handler> static Response inMailbox(Reader& reader, const Request& request)
    {
        return handler(reader.mailbox, request);
    }
    template <MailHandler handler> Response mail(const Request& request)
    {
        return of<&inMailbox<handler>>(request);
    }
    static Response listConversations(Mailbox& mailbox, const Request& request);
    static Response showConversation(Mailbox& mailbox, const Request& request);
    static Response changeConversation(Mailbox& mailbox, const Request& request);
    static Response beginConversation(Reader& reader, const Request& request);
    static Response attach(Reader& reader, const Request& request);
    static Response showAttachment(Reader& reader, const Request& request);
    static Response removeAttachment(Reader& reader, const Request& request);
    static Response tellNews(Mailbox& mailbox, const Request& request);
    static Response listEvents(Reader& reader, const Request& request);
};

// The whole of what the service answers. HEAD goes where GET goes; the first route that fits is taken.
constinit const std::array<Service::Native::Route, 37> Service::Native::routes{
    Route{"GET", "/", Reach::exact, &Native::toStart},
    Route{"GET", "/start", Reach::exact, &Native::toInbox},
    Route{"GET", "/inbox", Reach::exact, &Native::toFolder},
    Route{"GET", "/inbox/", Reach::exact, &Native::readersPage},
    Route{"GET", "/inbox/", Reach::below, &Native::page},
    Route{"GET", "/calendar", Reach::exact, &Native::toFolder},
    Route{"GET", "/calendar/", Reach::exact, &Native::readersPage},
    Route{"GET", "/calendar/", Reach::below, &Native::page},
    Route{"GET", "/mail", Reach::exact, &Native::toFolder},
    Route{"GET", "/mail/", Reach::exact, &Native::readersPage},
    Route{"GET", "/mail/", Reach::below, &Native::page},
    Route{"GET", "/dashboard", Reach::exact, &Native::toFolder},
    Route{"GET", "/dashboard/", Reach::exact, &Native::readersPage},
    Route{"GET", "/dashboard/", Reach::below, &Native::page},
    Route{"GET", "/sign-in", Reach::exact, &Native::toFolder},
    Route{"GET", "/sign-in/", Reach::below, &Native::page},
    Route{"GET", "/help", Reach::exact, &Native::toFolder},
    Route{"GET", "/help/", Reach::below, &Native::page},
    Route{"GET", "/shared/", Reach::below, &Native::page},
    Route{"GET", "/avatars/", Reach::below, &Native::page},
    Route{"GET", "/inject/", Reach::below, &Native::injectScript},
    Route{"GET", "/user_agent/v1/latest", Reach::exact, &Native::tellUserAgent},
    Route{"POST", "/api/inject", Reach::exact, &Native::changeInject},
    Route{"GET", "/api/accounts", Reach::exact, &Native::listAccounts},
    Route{"POST", "/api/sign-in", Reach::exact, &Native::beginSession},
    Route{"POST", "/api/sign-out", Reach::exact, &Native::endSession},
    Route{"POST", "/api/turn", Reach::exact, &Native::turnSession},
    Route{"POST", "/api/help", Reach::exact, &Native::takeHelpRequest},
    Route{"GET", "/api/news", Reach::exact, &Native::mail<&tellNews>},
    Route{"GET", "/api/events", Reach::exact, &Native::of<&listEvents>},
    Route{"POST", attachmentsPath, Reach::exact, &Native::of<&attach>, bytesType},
    Route{"GET", "/api/attachments/", Reach::below, &Native::of<&showAttachment>},
    Route{"DELETE", "/api/attachments/", Reach::below, &Native::of<&removeAttachment>},
    Route{"GET", "/api/conversations", Reach::exact, &Native::mail<&listConversations>},
    Route{"POST", "/api/conversations", Reach::exact, &Native::of<&beginConversation>},
    Route{"GET", "/api/conversations/", Reach::below, &Native::mail<&showConversation>},
    Route{"POST", "/api/conversations/", Reach::below, &Native::mail<&changeConversation>},
};

std::expected<void, std::string> Service::Native::listen(std::uint16_t wanted)
{
    // Raw paths, because what the library would decode cannot be told from what was sent plainly.
    server.reset(SOUP_SERVER(g_object_new(SOUP_TYPE_SERVER, "raw-paths", TRUE, nullptr)));

    auto requestStarted = +[](SoupServer*, SoupServerMessage* message, gpointer) {
        if (GSocket* socket = soup_server_message_get_socket(message))
            g_socket_set_timeout(socket, idleSeconds);
    };
    g_signal_connect(server.get(), "request-started", G_CALLBACK(requestStarted), this);

    auto headersArrived = +[](SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer) {
        guarded(message, [&] {
            auto body = std::make_unique<PendingBody>();
            GUri* uri = soup_server_message_get_uri(message);
            if (uri && attachmentsPath == g_uri_get_path(uri))
                body->largest = Attachments::largest;
            const auto largest = static_cast<goffset>(body->largest);
            g_object_set_data_full(G_OBJECT(message), pendingBodyKey, body.release(),
                [](gpointer data) { std::default_delete<PendingBody>()(static_cast<PendingBody*>(data)); });
            soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
            g_signal_connect(message, "got-chunk", G_CALLBACK(receiveChunk), nullptr);
            // A length that is told beforehand is refused before the client is asked to go on.
            SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
            if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CONTENT_LENGTH
                && soup_message_headers_get_content_length(headers) > largest)
                send(message, bodyTooLarge());
        });
    };
    soup_server_add_early_handler(server.get(), "/", headersArrived, this, nullptr);

    auto bodyArrived = +[](SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer data) {
        guarded(message, [&] { send(message, static_cast<Native*>(data)->answer(message)); });
    };
    soup_server_add_handler(server.get(), "/", bodyArrived, this, nullptr);

    ObjectPointer<GSocketAddress> address(g_inet_socket_address_new_from_string("127.0.0.1", wanted));
    GError* raised = nullptr;
    if (!soup_server_listen(server.get(), address.get(), static_cast<SoupServerListenOptions>(0), &raised)) {
        ErrorPointer error(raised);
        return std::unexpected(
            "cannot listen on 127.0.0.1: " + std::string(error ? error->message : "no reason given"));
    }

    UriListPointer uris(soup_server_get_uris(server.get()));
    int bound = uris ? g_uri_get_port(static_cast<GUri*>(uris->data)) : 0;
    if (bound <= 0 || bound > 65535)
        return std::unexpected("the port that the system chose is not known");
    port = static_cast<std::uint16_t>(bound);
    host = "127.0.0.1:" + std::to_string(port);
    // A web browser leaves out the port that the scheme implies.
    if (port == 80)
        host = "127.0.0.1";
    origin = "http://" + host;
    return {};
}

Response Service::Native::answer(SoupServerMessage* message)
{
    PendingBody* body = pendingBody(message);
    if (body && body->tooLarge())
        return bodyTooLarge();

    GUri* uri = soup_server_message_get_uri(message);
    const char* rawPath = uri ? g_uri_get_path(uri) : nullptr;
    const char* query = uri ? g_uri_get_query(uri) : nullptr;
    auto path = decodedPath(rawPath ? rawPath : "");
    if (!path)
        return failure(SOUP_STATUS_BAD_REQUEST, "The path is not usable.");

    return dispatch({
        .method = soup_server_message_get_method(message),
        .path = *path,
        .rest = {},
        .query = query ? query : "",
        .body = body ? body->bytes : std::string_view(),
        .headers = soup_server_message_get_request_headers(message),
    });
}

std::optional<Response> Service::Native::refusal(const Request& request, const Route& route) const
{
    // A foreign name that was made to resolve to this machine would give a foreign page this origin's rights.
    if (request.header("Host") != host)
        return failure(SOUP_STATUS_MISDIRECTED_REQUEST, "This is not the host that was asked for.");
    if (readsOnly(request.method))
        return std::nullopt;
    // Another page can send a form here, but neither under this origin nor as JSON without asking first.
    if (auto sender = request.header("Origin"); sender && *sender != origin)
        return failure(SOUP_STATUS_FORBIDDEN, "Other origins change nothing here.");
    if (!namesType(request.header("Content-Type").value_or(""), route.takes))
        return failure(
            SOUP_STATUS_UNSUPPORTED_MEDIA_TYPE, "The body has to be " + std::string(route.takes) + ".");
    return std::nullopt;
}

Response Service::Native::dispatch(Request request)
{
    std::string_view wanted = request.method == "HEAD" ? "GET" : request.method;
    std::string allowed;
    for (const Route& route : routes) {
        if (!route.covers(request.path))
            continue;
        if (route.method == wanted) {
            if (auto refused = refusal(request, route))
                return *refused;
            request.rest = request.path.substr(route.path.size());
            return (this->*route.handler)(request);
        }
        allowed.append(allowed.empty() ? "" : ", ")
            .append(route.method == "GET" ? "GET, HEAD" : route.method);
    }
    if (allowed.empty())
        return failure(SOUP_STATUS_NOT_FOUND, "There is nothing here.");
    Response response = failure(SOUP_STATUS_METHOD_NOT_ALLOWED, "This cannot be done here.");
    response.headers.emplace_back("Allow", std::move(allowed));
    return response;
}

Response Service::Native::page(const Request& request)
{
    auto file = pages.read(request.path.substr(1));
    if (!file)
        return failure(SOUP_STATUS_NOT_FOUND, "There is no such file.");
    return {.type = std::string(file->type), .body = std::move(file->bytes), .headers = {}};
}

Response Service::Native::readersPage(const Request& request)
{
    if (!signIn || sessions.account(request.cookies()))
        return page(request);
    // Whoever signs in comes back to the page: "/inbox/" is "inbox".
    return redirect(request, "/sign-in/?to=" + std::string(request.path.substr(1, request.path.size() - 2)));
}

Response Service::Native::listAccounts(const Request&)
{
    return json(ownersText(Mailbox::sampleOwners()));
}

Response Service::Native::tellUserAgent(const Request&)
{
    return json(
        userAgentText("Mozilla/5.0 (Macintosh; Intel Mac OS X OS_VERSION) AppleWebKit/605.1.15 (KHTML, like "
                      "Gecko) Version/18.2 Safari/605.1.15"));
}

Response Service::Native::injectScript(const Request& request)
{
    auto file = pages.read(request.path.substr(1));
    if (!file || inject == InjectState::gone)
        return failure(SOUP_STATUS_NOT_FOUND, "There is no such file.");
    if (inject == InjectState::broken)
        file->bytes = "const version = '\xFF\xFE';";
    if (inject == InjectState::next)
        file->bytes.insert(0, "const nextVersion = true;\n");
    return {.type = std::string(file->type), .body = std::move(file->bytes), .headers = {}};
}

Response Service::Native::changeInject(const Request& request)
{
    const auto state = readInjectState(request.body);
    if (!state)
        return failure(SOUP_STATUS_BAD_REQUEST, state.error());
    inject = *state;
    return {.status = SOUP_STATUS_NO_CONTENT, .type = {}, .body = {}, .headers = {}};
}

Response Service::Native::beginSession(const Request& request)
{
    const auto wanted = readSignIn(request.body);
    if (!wanted)
        return failure(SOUP_STATUS_BAD_REQUEST, wanted.error());
    const auto& owners = Mailbox::sampleOwners();
    const auto owner = std::ranges::find(owners, wanted->address, &Person::address);
    if (owner == owners.end() || wanted->password != "lumo")
        return failure(SOUP_STATUS_FORBIDDEN, "The address and the password do not belong together.");
    const auto cookies = sessions.begin(static_cast<std::size_t>(owner - owners.begin()));
    return {.type = std::string(jsonType),
        .body = ownersText({*owner}),
        .headers = {setCookie(Sessions::stayingCookie, cookies.staying, sessionSeconds),
            setCookie(Sessions::turningCookie, cookies.turning, sessionSeconds)}};
}

Response Service::Native::endSession(const Request& request)
{
    sessions.end(request.cookies());
    return {.status = SOUP_STATUS_NO_CONTENT,
        .type = {},
        .body = {},
        .headers = {setCookie(Sessions::stayingCookie, "", 0), setCookie(Sessions::turningCookie, "", 0)}};
}

Response Service::Native::turnSession(const Request& request)
{
    if (!signIn)
        return {.status = SOUP_STATUS_NO_CONTENT, .type = {}, .body = {}, .headers = {}};
    const auto next = sessions.turn(request.cookies());
    if (!next)
        return failure(SOUP_STATUS_UNAUTHORIZED, "Nobody is signed in.");
    return {.status = SOUP_STATUS_NO_CONTENT,
        .type = {},
        .body = {},
        .headers = {setCookie(Sessions::turningCookie, *next, sessionSeconds)}};
}

Response Service::Native::takeHelpRequest(const Request& request)
{
    const auto read = readHelpRequest(request.body);
    if (!read)
        return failure(SOUP_STATUS_BAD_REQUEST, read.error());
    if (helpRequests.size() == mostHelpRequests)
        return failure(SOUP_STATUS_INSUFFICIENT_STORAGE, "There are too many requests.");
    helpRequests.push_back(*read);
    return json(helpNumberText(helpRequests.size()));
}

Response Service::Native::tellNews(Mailbox& mailbox, const Request&)
{
    return json(newsText(mailbox));
}

Response Service::Native::listEvents(Reader& reader, const Request& request)
{
    const auto days = readDayRange(request.query);
    return days ? json(eventsText(reader.mailbox.owner(), reader.calendar, *days))
                : failure(SOUP_STATUS_BAD_REQUEST, days.error());
}

Response Service::Native::listConversations(Mailbox& mailbox, const Request&)
{
    return json(listText(mailbox));
}

Response Service::Native::showConversation(Mailbox& mailbox, const Request& request)
{
    const Conversation* conversation = mailbox.find(request.rest);
    return conversation ? json(recordText(*conversation))
                        : failure(SOUP_STATUS_NOT_FOUND, "There is no such conversation.");
}

Response Service::Native::changeConversation(Mailbox& mailbox, const Request& request)
{
    if (!mailbox.find(request.rest))
        return failure(SOUP_STATUS_NOT_FOUND, "There is no such conversation.");
    auto marks = readMarkChange(request.body);
    if (!marks)
        return failure(SOUP_STATUS_BAD_REQUEST, marks.error());
    return json(recordText(*mailbox.change(request.rest, *marks)));
}

Response Service::Native::beginConversation(Reader& reader, const Request& request)
{
    const auto draft = readDraft(request.body);
    if (!draft)
        return failure(SOUP_STATUS_BAD_REQUEST, draft.error());
    std::vector<AttachedFile> attached;
    for (const std::string& id : draft->attachments) {
        const Attachment* file = reader.attachments.find(id);
        if (!file)
            return failure(SOUP_STATUS_BAD_REQUEST, "There is no such attachment.");
        attached.push_back({file->id, file->name, file->bytes.size()});
    }
    const Conversation* begun = reader.mailbox.begin(*draft, std::move(attached),
        std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()));
    return begun ? json(recordText(*begun))
                 : failure(SOUP_STATUS_INSUFFICIENT_STORAGE, "There are too many conversations.");
}

Response Service::Native::attach(Reader& reader, const Request& request)
{
    const auto name = request.query.starts_with("name=") ? decoded(request.query.substr(5)) : std::nullopt;
    if (!name || !Attachments::isName(*name))
        return failure(SOUP_STATUS_BAD_REQUEST, "The query needs the file's \"name\".");
    const Attachment* file = reader.attachments.add(*name, request.body);
    return file ? json(attachedText({file->id, file->name, file->bytes.size()}))
                : failure(SOUP_STATUS_INSUFFICIENT_STORAGE, "There is no room for this file.");
}

Response Service::Native::showAttachment(Reader& reader, const Request& request)
{
    const Attachment* file = reader.attachments.find(request.rest);
    if (!file)
        return failure(SOUP_STATUS_NOT_FOUND, "There is no such attachment.");
    // Whatever it is, it is no page of this origin.
    return {.type = std::string(bytesType),
        .body = file->bytes,
        .headers = {{"Content-Disposition", "attachment"}}};
}

Response Service::Native::removeAttachment(Reader& reader, const Request& request)
{
    return reader.attachments.remove(request.rest)
        ? Response{.status = SOUP_STATUS_NO_CONTENT, .type = {}, .body = {}, .headers = {}}
        : failure(SOUP_STATUS_NOT_FOUND, "There is no such attachment.");
}

Service::Service(std::unique_ptr<Native> started)
    : native(std::move(started))
{
}

Service::~Service() = default;

std::expected<std::unique_ptr<Service>, std::string> Service::start(Options options)
{
    auto pages = PageFiles::open(options.pages);
    if (!pages)
        return std::unexpected(pages.error());
    auto native = std::make_unique<Native>(std::move(*pages), options);
    if (auto listening = native->listen(options.port); !listening)
        return std::unexpected(listening.error());
    return std::unique_ptr<Service>(new Service(std::move(native)));
}

std::uint16_t Service::port() const
{
    return native->port;
}

std::size_t Service::destroyedSessions() const
{
    return native->sessions.destroyed();
}

std::string Service::origin() const
{
    return native->origin;
}

} // namespace LumoSuite
