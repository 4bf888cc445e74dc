#include "WKURLSchemeTaskNative.h"

#include <utility>

namespace LumoKit {

using detail::ObjectPtr;

WKURLSchemeTask::WKURLSchemeTask(std::unique_ptr<Native> made)
    : native(std::move(made))
{
}

WKURLSchemeTask::~WKURLSchemeTask()
{
    didFail({"LumoKit.WKURLSchemeTask", 1, "The request was not answered"});
}

const URL& WKURLSchemeTask::url() const
{
    return native->url;
}

const std::string& WKURLSchemeTask::httpMethod() const
{
    return native->method;
}

void WKURLSchemeTask::didReceive(const Response& response)
{
    native->response = response;
}

void WKURLSchemeTask::didReceive(std::span<const std::byte> data)
{
    if (!native->ended)
        native->body.append(reinterpret_cast<const char*>(data.data()), data.size());
}

void WKURLSchemeTask::didFinish()
{
    if (std::exchange(native->ended, true))
        return;
    auto* body = new std::string(std::move(native->body));
    GBytes* bytes = g_bytes_new_with_free_func(
        body->data(), body->size(), +[](gpointer owned) { delete static_cast<std::string*>(owned); }, body);
    const auto stream = ObjectPtr<GInputStream>::adopt(g_memory_input_stream_new_from_bytes(bytes));
    const auto length = static_cast<gint64>(g_bytes_get_size(bytes));
    g_bytes_unref(bytes);
    const auto answer =
        ObjectPtr<WebKitURISchemeResponse>::adopt(webkit_uri_scheme_response_new(stream.get(), length));
    const Response& response = native->response;
    const std::string type = response.textEncoding.empty()
        ? response.mimeType
        : response.mimeType + "; charset=" + response.textEncoding;
    webkit_uri_scheme_response_set_content_type(answer.get(), type.c_str());
    webkit_uri_scheme_response_set_status(answer.get(), static_cast<guint>(response.statusCode), nullptr);
    webkit_uri_scheme_request_finish_with_response(native->request.get(), answer.get());
}

void WKURLSchemeTask::didFail(const Error& error)
{
    if (std::exchange(native->ended, true))
        return;
    GError* reported =
        g_error_new_literal(g_quark_from_string(error.domain.c_str()), error.code, error.description.c_str());
    webkit_uri_scheme_request_finish_error(native->request.get(), reported);
    g_error_free(reported);
}

} // namespace LumoKit
