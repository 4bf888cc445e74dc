#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace LumoKit::Test {

/// Another process of this user: a program that lies beside the tests. It ends with this object,
/// and is told by lines of text what to do; see there.
class Peer {
public:
    explicit Peer(const std::vector<std::string>& arguments, const std::string& name = "preferences-peer");
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer();

    /// Sends a command and gives the line that answers; empty if none came within twenty seconds.
    std::string ask(const std::string& command);

    /// Kills it, by its process id, and waits for its end.
    void kill();

    /// Everything that it has written and nobody has read, up to its end if it was killed.
    [[nodiscard]] std::string rest();

private:
    pid_t process = -1;
    int input = -1;
    int output = -1;
    std::string unread;
};

} // namespace LumoKit::Test
