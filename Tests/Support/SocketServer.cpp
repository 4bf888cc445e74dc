#include "SocketServer.h"

#include <LumoKit/Platform/Foundation/FatalError.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace LumoKit::Test {

bool SocketServer::Connection::receiveHead()
{
    received.clear();
    char byte = 0;
    while (!received.ends_with("\r\n\r\n")) {
        if (::recv(descriptor, &byte, 1, 0) != 1)
            return false;
        received += byte;
    }
    return true;
}

bool SocketServer::Connection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

void SocketServer::Connection::waitForEnd()
{
    std::array<char, 4096> unread;
    while (::recv(descriptor, unread.data(), unread.size(), 0) > 0) { }
}

void SocketServer::Connection::reset()
{
    const linger now{1, 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    // Closed with what was not read: the other side gets a reset.
}

SocketServer::SocketServer(std::function<void(Connection&)> serve)
    : serve(std::move(serve))
    , listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof place;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&place), size) < 0 || ::listen(listener, 128) < 0
        || ::getsockname(listener, reinterpret_cast<sockaddr*>(&place), &size) < 0)
        fatalError("the test's server cannot listen");
    address = "http://127.0.0.1:" + std::to_string(ntohs(place.sin_port));
    accepting = std::thread([this] { accept(); });
}

SocketServer::~SocketServer()
{
    ::shutdown(listener, SHUT_RDWR);
    accepting.join();
    ::close(listener);
    {
        const std::lock_guard lock(mutex);
        for (const int descriptor : open)
            ::shutdown(descriptor, SHUT_RDWR);
    }
    for (std::thread& thread : threads)
        thread.join();
}

void SocketServer::accept()
{
    while (true) {
        const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0)
            return;
        ++count;
        {
            const std::lock_guard lock(mutex);
            open.push_back(descriptor);
        }
        threads.emplace_back([this, descriptor] {
            Connection connection(descriptor);
            serve(connection);
            const std::lock_guard lock(mutex);
            std::erase(open, descriptor);
            ::close(descriptor);
        });
    }
}

} // namespace LumoKit::Test
