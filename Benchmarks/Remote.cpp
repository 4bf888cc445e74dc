#include "Compare.h"

#include <LumoKit/Platform/Dispatch/DispatchSemaphore.h>
#include <LumoKit/Platform/Foundation/URLSession.h>

#include <libsoup/soup.h>

#include <future>
#include <string>
#include <thread>

namespace LumoKit::Bench {

namespace {

constexpr int downloads = 64;
constexpr int connections = 6;
const std::string body(1000, 'a');

/// A server on a thread of its own, for as long as the program runs.
class Server {
public:
    Server()
    {
        std::promise<std::string> ready;
        std::thread([&ready] {
            GMainContext* context = g_main_context_new();
            g_main_context_push_thread_default(context);
            SoupServer* server = soup_server_new(nullptr, nullptr);
            soup_server_add_handler(server, nullptr, &answer, nullptr, nullptr);
            soup_server_listen_local(server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr);
            GSList* addresses = soup_server_get_uris(server);
            const int port = g_uri_get_port(static_cast<GUri*>(addresses->data));
            g_slist_free_full(addresses, [](gpointer address) { g_uri_unref(static_cast<GUri*>(address)); });
            ready.set_value("http://127.0.0.1:" + std::to_string(port) + "/");
            while (true)
                g_main_context_iteration(context, TRUE);
        }).detach();
        address = ready.get_future().get();
    }

    std::string address;

private:
    static void answer(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer) noexcept
    {
        soup_server_message_set_status(message, 200, nullptr);
        soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_STATIC, body.data(), body.size());
    }
};

const std::string& address()
{
    static const auto& server = *new Server;
    return server.address;
}

/// Milliseconds that all downloads take, begun at once, until the last one's handler has run.
double ours()
{
    static URLSession& session = *new URLSession(URLSessionConfiguration::ephemeral());
    const URL url = *URL::parse(address());
    DispatchSemaphore ended(0);
    std::size_t bytes = 0;
    int left = downloads; // as bytes, on the session's queue
    const double seconds = secondsOf([&] {
        for (int index = 0; index < downloads; ++index)
            session
                .dataTask(url,
                    [&](const std::optional<Data>& data, const auto&, const auto&) {
                        bytes += data ? data->size() : 0;
                        if (--left == 0)
                            ended.signal();
                    })
                ->resume();
        ended.wait();
    });
    return bytes == downloads * body.size() ? seconds * 1000 : 1e9;
}

/// The same with nothing but the library, in this thread.
double bare()
{
    static GMainContext* const context = g_main_context_new();
    static SoupSession* session = nullptr;
    g_main_context_push_thread_default(context);
    if (!session) {
        session =
            soup_session_new_with_options("max-conns-per-host", connections, "max-conns", downloads, nullptr);
        soup_session_add_feature_by_type(session, SOUP_TYPE_COOKIE_JAR); // as ours has
    }
    struct Count {
        int left = downloads;
        std::size_t bytes = 0;
    } count;
    const double seconds = secondsOf([&] {
        for (int index = 0; index < downloads; ++index) {
            SoupMessage* message = soup_message_new("GET", address().c_str());
            soup_session_send_and_read_async(
                session, message, G_PRIORITY_DEFAULT, nullptr,
                [](GObject* source, GAsyncResult* result, gpointer data) {
                    auto* ended = static_cast<Count*>(data);
                    if (GBytes* read =
                            soup_session_send_and_read_finish(SOUP_SESSION(source), result, nullptr)) {
                        ended->bytes += g_bytes_get_size(read);
                        g_bytes_unref(read);
                    }
                    --ended->left;
                },
                &count);
            g_object_unref(message);
        }
        while (count.left > 0)
            g_main_context_iteration(context, TRUE);
    });
    g_main_context_pop_thread_default(context);
    return count.bytes == downloads * body.size() ? seconds * 1000 : 0;
}

} // namespace

std::vector<Row> remoteRows()
{
    return {{"remote/downloads-64", "ms", "libsoup", 1.1, 61, &ours, &bare}};
}

} // namespace LumoKit::Bench
