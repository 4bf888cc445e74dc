#include "Support/ServiceProcess.h"

#include <LumoKit/Platform/Dispatch/DispatchQueue.h>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>

extern char** environ;

namespace LumoSuite {

using namespace LumoKit;

namespace {

/// The first line that a child writes, within ten seconds.
std::expected<std::string, Error> firstLine(int output)
{
    std::string line;
    char character = 0;
    pollfd ready{output, POLLIN, 0};
    while (::poll(&ready, 1, 10'000) > 0 && ::read(output, &character, 1) == 1 && line.size() < 1000) {
        if (character == '\n')
            return line;
        line += character;
    }
    return std::unexpected(Error{"LumoSuite.Service", 1, "The service did not say where it listens"});
}

std::expected<std::string, Error> originIn(const std::expected<std::string, Error>& line)
{
    static constexpr std::string_view prefix = "listening on ";
    if (line && !line->starts_with(prefix))
        return std::unexpected(Error{"LumoSuite.Service", 2, "The service said: " + *line});
    return line ? std::expected<std::string, Error>(line->substr(prefix.size())) : line;
}

} // namespace

ServiceProcess::ServiceProcess(
    const std::filesystem::path& executable, std::vector<std::string> arguments, const Started& started)
{
    std::array<int, 2> toChild{};
    std::array<int, 2> fromChild{};
    if (::pipe2(toChild.data(), O_CLOEXEC) || ::pipe2(fromChild.data(), O_CLOEXEC)) {
        started(std::unexpected(Error{"LumoSuite.Service", errno, std::strerror(errno)}));
        return;
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, toChild[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, fromChild[1], STDOUT_FILENO);
    std::string program = executable.string();
    arguments.insert(arguments.begin(), program);
    arguments.emplace_back("--until-stdin-closes");
    std::vector<char*> words;
    for (std::string& argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    const int error = ::posix_spawn(&process, program.c_str(), &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(toChild[0]);
    ::close(fromChild[1]);
    input = toChild[1];
    if (error) {
        process = -1;
        ::close(fromChild[0]);
        started(std::unexpected(Error{"LumoSuite.Service", error, std::strerror(error)}));
        return;
    }
    // The wait for the service's word happens beside the main thread.
    DispatchQueue::create("suite.service")->async([output = fromChild[0], started] {
        auto origin = originIn(firstLine(output));
        ::close(output);
        DispatchQueue::main()->async([origin = std::move(origin), started] { started(origin); });
    });
}

ServiceProcess::~ServiceProcess()
{
    if (input >= 0)
        ::close(input);
    if (process > 0)
        ::waitpid(process, nullptr, 0);
}

} // namespace LumoSuite
