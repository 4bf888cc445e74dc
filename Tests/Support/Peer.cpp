#include "Peer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace LumoKit::Test {

Peer::Peer(const std::vector<std::string>& arguments, const std::string& name)
{
    int down[2]; // to the peer
    int up[2];
    if (::pipe2(down, O_CLOEXEC) != 0 || ::pipe2(up, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    input = down[1];
    output = up[0];
    ::signal(SIGPIPE, SIG_IGN); // a peer may be gone when it is asked
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, down[0], 0);
    posix_spawn_file_actions_adddup2(&actions, up[1], 1);
    std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
    std::vector<char*> argv{program.data()};
    auto words = arguments;
    for (auto& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const int failure = ::posix_spawn(&process, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(down[0]);
    ::close(up[1]);
    if (failure != 0)
        throw std::runtime_error("no peer");
}

Peer::~Peer()
{
    kill();
    ::close(input);
    ::close(output);
}

std::string Peer::ask(const std::string& command)
{
    const std::string line = command + "\n";
    if (::write(input, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        return {};
    while (unread.find('\n') == unread.npos) {
        pollfd readable{output, POLLIN, 0};
        if (::poll(&readable, 1, 20'000) != 1)
            return {};
        char bytes[4096];
        const ssize_t length = ::read(output, bytes, sizeof bytes);
        if (length <= 0)
            return {};
        unread.append(bytes, static_cast<std::size_t>(length));
    }
    std::string answer = unread.substr(0, unread.find('\n'));
    unread.erase(0, answer.size() + 1);
    return answer;
}

void Peer::kill()
{
    if (process < 0)
        return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
    process = -1;
}

std::string Peer::rest()
{
    std::string bytes = std::move(unread);
    unread.clear();
    char buffer[4096];
    pollfd readable{output, POLLIN, 0};
    while (::poll(&readable, 1, 0) == 1) {
        const ssize_t length = ::read(output, buffer, sizeof buffer);
        if (length <= 0)
            break;
        bytes.append(buffer, static_cast<std::size_t>(length));
    }
    return bytes;
}

} // namespace LumoKit::Test
