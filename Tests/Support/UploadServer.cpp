#include "UploadServer.h"

#include <LumoKit/Platform/Foundation/FatalError.h>

#include <libsoup/soup.h>

namespace LumoKit::Test {

struct UploadServer::Native {
    SoupServer* server = soup_server_new(nullptr, nullptr);
    std::string page;
    std::string origin;
    std::map<std::string, Upload> uploads;

    /// An upload that is under way.
    struct Arriving {
        Native* server;
        std::string path;
        std::size_t length = 0;
        GChecksum* checksum = g_checksum_new(G_CHECKSUM_SHA256);
        ~Arriving() { g_checksum_free(checksum); }
    };

    static void begin(
        SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) noexcept
    {
        if (g_str_equal(soup_server_message_get_method(message), "GET"))
            return;
        soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
        auto* arriving = new Arriving{static_cast<Native*>(self), path};
        g_object_set_data_full(
            G_OBJECT(message), "arriving", arriving,
            +[](gpointer done) { delete static_cast<Arriving*>(done); });
        g_signal_connect(message, "got-chunk",
            G_CALLBACK(+[](SoupServerMessage*, GBytes* chunk, gpointer into) {
                auto* upload = static_cast<Arriving*>(into);
                upload->length += g_bytes_get_size(chunk);
                g_checksum_update(upload->checksum,
                    static_cast<const guchar*>(g_bytes_get_data(chunk, nullptr)),
                    static_cast<gssize>(g_bytes_get_size(chunk)));
            }),
            arriving);
    }

    static void answer(
        SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer self) noexcept
    {
        auto* native = static_cast<Native*>(self);
        soup_server_message_set_status(message, 200, nullptr);
        if (auto* done = static_cast<Arriving*>(g_object_get_data(G_OBJECT(message), "arriving")))
            native->uploads[done->path] = {done->length, g_checksum_get_string(done->checksum)};
        else
            soup_server_message_set_response(
                message, "text/html", SOUP_MEMORY_COPY, native->page.data(), native->page.size());
    }
};

UploadServer::UploadServer(std::string page)
    : native(std::make_unique<Native>())
{
    native->page = std::move(page);
    if (!soup_server_listen_local(native->server, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr))
        fatalError("the test server cannot listen");
    soup_server_add_early_handler(native->server, nullptr, &Native::begin, native.get(), nullptr);
    soup_server_add_handler(native->server, nullptr, &Native::answer, native.get(), nullptr);
    GSList* addresses = soup_server_get_uris(native->server);
    native->origin =
        "http://127.0.0.1:" + std::to_string(g_uri_get_port(static_cast<GUri*>(addresses->data)));
    g_slist_free_full(addresses, [](gpointer address) { g_uri_unref(static_cast<GUri*>(address)); });
}

UploadServer::~UploadServer()
{
    soup_server_disconnect(native->server);
    g_object_unref(native->server);
}

std::string UploadServer::origin() const
{
    return native->origin;
}

const std::map<std::string, UploadServer::Upload>& UploadServer::uploads() const
{
    return native->uploads;
}

} // namespace LumoKit::Test
