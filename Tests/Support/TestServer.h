#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit::Test {

/// A web server on a free port of this machine, answering from the main loop.
class TestServer {
public:
    struct Answer {
        int status = 200;
        std::string type = "text/html; charset=utf-8";
        std::string body;
        std::map<std::string, std::string> headers;
    };

    /// Over HTTP.
    TestServer();
    /// Over HTTPS, as "localhost", with a certificate and its key (PEM).
    explicit TestServer(const std::string& certificate);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    /// "http://127.0.0.1:port" or "https://localhost:port"
    [[nodiscard]] std::string origin() const;

    void serve(const std::string& path, Answer answer);
    void serveHTML(const std::string& path, const std::string& html) { serve(path, {.body = html}); }
    void redirect(const std::string& path, const std::string& to)
    {
        serve(path, {.status = 302, .headers = {{"Location", to}}});
    }

    /// The paths that were asked for, in their order.
    [[nodiscard]] const std::vector<std::string>& requests() const;
    /// The method of the last request for a path, its body, and its version as in "1.1".
    [[nodiscard]] std::string method(const std::string& path) const;
    [[nodiscard]] std::string body(const std::string& path) const;
    [[nodiscard]] std::string version(const std::string& path) const;
    /// What the last request for a path had in a header; nothing without the header or a request.
    [[nodiscard]] std::optional<std::string> received(
        const std::string& header, const std::string& path) const;

private:
    void listen(bool encrypted);

    struct Native;
    std::unique_ptr<Native> native;
};

/// The origin of a port of this machine on which nobody listens: connections to it are refused.
[[nodiscard]] std::string refusedOrigin();

} // namespace LumoKit::Test
