#pragma once

#include "TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

namespace LumoKit::Test {

/// An authority that signs certificates of servers, made for one test and trusted by nobody.
class TestAuthority {
public:
    struct Request {
        /// What the certificate is for: a DNS name.
        std::string name = "localhost";
        /// Hours from now.
        int begins = -1;
        int ends = 24;
    };

    TestAuthority();
    ~TestAuthority();

    /// Its own certificate, PEM.
    [[nodiscard]] std::filesystem::path file() const { return folder / "authority.pem"; }

    /// A certificate and its key, PEM.
    [[nodiscard]] std::string sign(const Request& request) const;

private:
    struct Native;
    TemporaryFolder folder;
    std::unique_ptr<Native> native;
};

} // namespace LumoKit::Test
