#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace LumoKit::Test {

/// A web server that takes what is uploaded to it, by path, and keeps nothing of it but its length and checksum, so
/// that the memory of the process is that of the host. Everything else is answered with one page.
class UploadServer {
public:
    explicit UploadServer(std::string page);
    ~UploadServer();
    UploadServer(const UploadServer&) = delete;
    UploadServer& operator=(const UploadServer&) = delete;

    /// "http://127.0.0.1:port"
    [[nodiscard]] std::string origin() const;

    struct Upload {
        std::size_t length = 0;
        std::string checksum; // SHA-256, in hexadecimal digits
        bool operator==(const Upload&) const = default;
    };
    /// What has arrived completely.
    [[nodiscard]] const std::map<std::string, Upload>& uploads() const;

private:
    struct Native;
    const std::unique_ptr<Native> native;
};

} // namespace LumoKit::Test
