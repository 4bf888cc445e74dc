#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace LumoKit::Test {

/// A server on a free port of this machine that does what a test says with every connection, and what no proper server
/// does. Each connection is served on a thread of its own.
class SocketServer {
public:
    class Connection {
    public:
        explicit Connection(int descriptor)
            : descriptor(descriptor)
        {
        }

        /// Reads up to the empty line that ends a request's head; false when the connection ends before.
        bool receiveHead();
        /// False when nobody receives any more.
        bool send(std::string_view bytes);
        /// Waits until the other side ends the connection.
        void waitForEnd();
        /// Ends it as a broken network does.
        void reset();
        /// What was received last.
        [[nodiscard]] const std::string& head() const { return received; }

    private:
        const int descriptor;
        std::string received;
    };

    explicit SocketServer(std::function<void(Connection&)> serve);
    ~SocketServer();
    SocketServer(const SocketServer&) = delete;
    SocketServer& operator=(const SocketServer&) = delete;

    /// "http://127.0.0.1:port"
    [[nodiscard]] const std::string& origin() const { return address; }
    [[nodiscard]] int connections() const { return count; }

private:
    void accept();

    const std::function<void(Connection&)> serve;
    int listener = -1;
    std::string address;
    std::atomic<int> count = 0;
    std::mutex mutex;
    std::vector<int> open; // guarded by mutex
    std::vector<std::thread> threads; // of the accepting thread, until that has ended
    std::thread accepting;
};

} // namespace LumoKit::Test
