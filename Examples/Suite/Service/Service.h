#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace LumoSuite {

/// The loopback web service of the example suite: it serves the applications' pages and their data.
///
/// Mail is in memory and starts afresh with each service. The service trusts nothing that arrives: bodies are
/// limited, paths cannot leave the pages' directory, and other web pages can neither read nor change the
/// data.
///
/// Thread: everything runs on the GLib main context that is the thread-default one when `start` is called.
/// That context has to be run for requests to be answered, and the service has to be destroyed on the same
/// thread.
/// Lifetime: destroying the service closes the port and every connection.
class Service {
public:
    /// What a service is started with.
    struct Options {
        /// The directory that holds one folder of static files for each application, such as `inbox`.
        std::filesystem::path pages;
        /// The port on 127.0.0.1, where 0 lets the system choose a free one.
        std::uint16_t port = 0;
        /// Whether readers sign in, which they do with their address and the password "lumo". If not, everybody is
        /// the first one.
        bool signIn = false;
        /// Where the sessions of those who signed in are kept; without it they last as long as the service.
        std::optional<std::filesystem::path> sessions;
    };

    /// Starts to listen on 127.0.0.1.
    ///
    /// Errors: a sentence that says what failed, such as a pages' directory that cannot be opened or a port
    /// in use.
    static std::expected<std::unique_ptr<Service>, std::string> start(Options options);

    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// The port that the service listens on; never 0.
    std::uint16_t port() const;

    /// The web origin of everything that is served, such as `http://127.0.0.1:8080`, without a trailing
    /// slash.
    ///
    /// Source: RFC 6454, section 6.2.
    std::string origin() const;

    /// How many sessions the service has ended because a request was not as one of their own would be.
    std::size_t destroyedSessions() const;

private:
    struct Native;

    explicit Service(std::unique_ptr<Native> started);

    std::unique_ptr<Native> native;
};

} // namespace LumoSuite
