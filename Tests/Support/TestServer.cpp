#include "TestServer.h"

#include <LumoKit/Platform/Foundation/FatalError.h>

#include <libsoup/soup.h>

namespace LumoKit::Test {

struct TestServer::Native {
    struct Request {
        std::string method;
        std::string body;
        std::string version;
    };

    SoupServer* server = soup_server_new(nullptr, nullptr);
    std::map<std::string, Request> last; // for a path
    std::map<std::string, Answer> answers;
    std::vector<std::string> requests;
    std::map<std::string, std::map<std::string, std::string>>
        headers; // of the last request for a path, in lower case
    std::string origin;

    static void handle(
        SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer data) noexcept
    {
        auto* self = static_cast<Native*>(data);
        self->requests.emplace_back(path);
        const SoupMessageBody* body = soup_server_message_get_request_body(message);
        const auto version = soup_server_message_get_http_version(message);
        self->last[path] = {soup_server_message_get_method(message),
            std::string(
                body->data ? body->data : "", body->data ? static_cast<std::size_t>(body->length) : 0),
            version == SOUP_HTTP_2_0       ? "2"
                : version == SOUP_HTTP_1_1 ? "1.1"
                                           : "1.0"};
        auto& headers = self->headers[path];
        headers.clear();
        soup_message_headers_foreach(
            soup_server_message_get_request_headers(message),
            +[](const char* name, const char* value, gpointer into) {
                char* lower = g_ascii_strdown(name, -1);
                static_cast<std::map<std::string, std::string>*>(into)->insert_or_assign(lower, value);
                g_free(lower);
            },
            &headers);
        const auto found = self->answers.find(path);
        if (found == self->answers.end())
            return soup_server_message_set_status(message, 404, nullptr);
        const Answer& answer = found->second;
        soup_server_message_set_status(message, static_cast<guint>(answer.status), nullptr);
        for (const auto& [name, value] : answer.headers)
            soup_message_headers_replace(
                soup_server_message_get_response_headers(message), name.c_str(), value.c_str());
        soup_server_message_set_response(
            message, answer.type.c_str(), SOUP_MEMORY_COPY, answer.body.data(), answer.body.size());
    }
};

TestServer::TestServer()
    : native(std::make_unique<Native>())
{
    listen(false);
}

TestServer::TestServer(const std::string& certificate)
    : native((::setenv("SOUP_SERVER_HTTP2", "1", 1),
          std::make_unique<Native>())) // it does not offer that by itself
{
    GTlsCertificate* made =
        g_tls_certificate_new_from_pem(certificate.data(), static_cast<gssize>(certificate.size()), nullptr);
    if (!made)
        fatalError("the test server cannot read its certificate");
    soup_server_set_tls_certificate(native->server, made);
    g_object_unref(made);
    listen(true);
}

void TestServer::listen(bool encrypted)
{
    const int options = SOUP_SERVER_LISTEN_IPV4_ONLY | (encrypted ? SOUP_SERVER_LISTEN_HTTPS : 0);
    if (!soup_server_listen_local(native->server, 0, static_cast<SoupServerListenOptions>(options), nullptr))
        fatalError("the test server cannot listen");
    soup_server_add_handler(native->server, nullptr, &Native::handle, native.get(), nullptr);
    GSList* addresses = soup_server_get_uris(native->server);
    native->origin = (encrypted ? "https://localhost:" : "http://127.0.0.1:")
        + std::to_string(g_uri_get_port(static_cast<GUri*>(addresses->data)));
    g_slist_free_full(addresses, [](gpointer address) { g_uri_unref(static_cast<GUri*>(address)); });
}

TestServer::~TestServer()
{
    soup_server_disconnect(native->server);
    g_object_unref(native->server);
}

std::string TestServer::origin() const
{
    return native->origin;
}

void TestServer::serve(const std::string& path, Answer answer)
{
    native->answers[path] = std::move(answer);
}

const std::vector<std::string>& TestServer::requests() const
{
    return native->requests;
}

std::optional<std::string> TestServer::received(const std::string& header, const std::string& path) const
{
    const auto request = native->headers.find(path);
    if (request == native->headers.end())
        return std::nullopt;
    const auto found = request->second.find(header);
    return found == request->second.end() ? std::nullopt : std::optional(found->second);
}

std::string TestServer::method(const std::string& path) const
{
    return native->last.at(path).method;
}

std::string TestServer::body(const std::string& path) const
{
    return native->last.at(path).body;
}

std::string TestServer::version(const std::string& path) const
{
    return native->last.at(path).version;
}

std::string refusedOrigin()
{
    return TestServer().origin(); // a moment ago somebody listened
}

} // namespace LumoKit::Test
