#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/URL.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace LumoKit {

class WKWebView;

/// A page's request for an address of the host's own scheme. It is answered with a response, any number of
/// pieces of data and the end, or with an error; now or later. A task that is released unanswered fails.
///
/// Thread: the main thread.
class WKURLSchemeTask {
public:
    struct Response {
        std::string mimeType = "application/octet-stream";
        /// Of a text type, such as "utf-8".
        std::string textEncoding;
        int statusCode = 200;
    };

    struct Native;
    explicit WKURLSchemeTask(std::unique_ptr<Native> native);
    ~WKURLSchemeTask();
    WKURLSchemeTask(const WKURLSchemeTask&) = delete;
    WKURLSchemeTask& operator=(const WKURLSchemeTask&) = delete;

    [[nodiscard]] const URL& url() const;
    /// "GET" in most cases.
    [[nodiscard]] const std::string& httpMethod() const;

    void didReceive(const Response& response);
    void didReceive(std::span<const std::byte> data);
    void didReceive(std::string_view data) { didReceive(std::as_bytes(std::span(data))); }
    /// Each ends the task; what follows is ignored.
    void didFinish();
    void didFail(const Error& error);

private:
    const std::unique_ptr<Native> native;
};

/// Answers the requests for a scheme of the host's own.
class WKURLSchemeHandler {
public:
    virtual ~WKURLSchemeHandler() = default;

    /// A page of `webView` asks for `task.url()`.
    /// Thread: the main thread.
    virtual void start(WKWebView& webView, const std::shared_ptr<WKURLSchemeTask>& task) = 0;
};

} // namespace LumoKit
