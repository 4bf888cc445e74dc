#include "Compare.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace LumoKit::Bench {

namespace fs = std::filesystem;

namespace {

/// A small host that has been started; it ends when its standard input closes.
class Host {
public:
    explicit Host(const char* program)
    {
        const std::string path = fs::read_symlink("/proc/self/exe").parent_path() / program;
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        if (::pipe2(in.data(), O_CLOEXEC) || ::pipe2(out.data(), O_CLOEXEC))
            std::abort();
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        std::string name = path;
        std::array<char*, 2> arguments = {name.data(), nullptr};
        if (::posix_spawn(&process, path.c_str(), &actions, nullptr, arguments.data(), environ))
            std::abort();
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(in[0]);
        ::close(out[1]);
        input = in[1];
        output = out[0];
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host()
    {
        ::close(input);
        ::close(output);
        ::waitpid(process, nullptr, 0);
    }

    /// Blocks until the first message of its page.
    void waitForMessage() const
    {
        char byte = 0;
        if (::read(output, &byte, 1) != 1)
            std::abort();
    }

    pid_t process = -1;

private:
    int input = -1;
    int output = -1;
};

double millisecondsToMessage(const char* program)
{
    std::optional<Host> host;
    return secondsOf([&] {
        host.emplace(program);
        host->waitForMessage();
    }) * 1e3;
}

std::vector<pid_t> treeOf(pid_t root)
{
    std::multimap<pid_t, pid_t> children;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "stat");
        pid_t process = 0;
        std::string name;
        std::string state;
        pid_t parent = 0;
        if (status >> process >> name >> state >> parent)
            children.emplace(parent, process);
    }
    std::vector<pid_t> tree = {root};
    for (std::size_t index = 0; index < tree.size(); ++index)
        for (auto [at, end] = children.equal_range(tree[index]); at != end; ++at)
            tree.push_back(at->second);
    return tree;
}

/// Megabytes of a host and the engine's processes: each page counted by the share that each process has of
/// it.
double megabytesOf(const char* program)
{
    const Host host(program);
    host.waitForMessage();
    std::this_thread::sleep_for(
        std::chrono::milliseconds(700)); // until the engine has finished what comes after a load
    double kilobytes = 0;
    for (const pid_t process : treeOf(host.process)) {
        std::ifstream rollup("/proc/" + std::to_string(process) + "/smaps_rollup");
        for (std::string word; rollup >> word;)
            if (word == "Pss:") {
                double share = 0;
                rollup >> share;
                kilobytes += share;
                break;
            }
    }
    return kilobytes / 1024;
}

} // namespace

std::vector<Row> startRows()
{
    return {
        {"bridge/start", "ms", "the same host on the bare engine", 1.05, 21,
            [] { return millisecondsToMessage("bench-host-kit"); },
            [] { return millisecondsToMessage("bench-host-bare"); }},
        {"bridge/memory", "MB", "the same host on the bare engine", 1.03, 7,
            [] { return megabytesOf("bench-host-kit"); }, [] { return megabytesOf("bench-host-bare"); }},
    };
}

} // namespace LumoKit::Bench
