#include "LinkSession.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace LumoKit::Test {

namespace fs = std::filesystem;

namespace {

constexpr int patience = 30'000; // milliseconds

int openProcess(pid_t process)
{
    return static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
}

bool hasEnded(int process, int milliseconds)
{
    pollfd end{process, POLLIN, 0};
    return ::poll(&end, 1, milliseconds) == 1;
}

pid_t spawn(const fs::path& program, std::vector<std::string> arguments, int output)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output >= 0)
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    std::string name = program.string();
    std::vector<char*> words{name.data()};
    for (auto& argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    pid_t process = -1;
    const int failure = ::posix_spawnp(&process, name.c_str(), &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::runtime_error("cannot start " + name);
    return process;
}

int status(pid_t process)
{
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

LinkSession::LinkSession()
{
    for (const char* place : {"data", "config", "services"})
        fs::create_directory(folder / place);
    ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
    ::setenv("LINK_HOST_REPORT", (folder / "reports").c_str(), 1);
    ::setenv("LINK_HOST_GATE", (folder / "gate").c_str(), 1);
    setMode("");
    for (const char* pipe : {"reports", "gate"})
        ::mkfifo((folder / pipe).c_str(), 0600);
    reports = ::open((folder / "reports").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    gate = ::open((folder / "gate").c_str(), O_RDWR | O_CLOEXEC);
    std::ofstream(folder / "services" / "com.example.LinkHost.service")
        << "[D-BUS Service]\nName=com.example.LinkHost\nExec=" << host().string() << "\n";
    bus.emplace(folder / "services");
}

LinkSession::~LinkSession()
{
    static_cast<void>(rest());
    for (const int process : hosts) {
        ::syscall(SYS_pidfd_send_signal, process, SIGKILL, nullptr, 0);
        static_cast<void>(hasEnded(process, patience));
        ::close(process);
    }
    for (const pid_t child : children) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    ::close(reports);
    ::close(gate);
}

fs::path LinkSession::bundle()
{
    return fs::read_symlink("/proc/self/exe").parent_path() / "LinkHost.app";
}

fs::path LinkSession::executable(const fs::path& bundle)
{
    return bundle / "Contents" / "Linux" / "LinkHost";
}

fs::path LinkSession::sender()
{
    return fs::read_symlink("/proc/self/exe").parent_path() / "link-sender";
}

LinkSession::Outcome LinkSession::run(const fs::path& program, const std::vector<std::string>& arguments)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    const pid_t process = spawn(program, arguments, ends[1]);
    ::close(ends[1]);
    Outcome outcome;
    const int handle = openProcess(process);
    if (!hasEnded(handle, patience)) {
        ::kill(process, SIGKILL);
        status(process);
    } else {
        outcome.status = status(process);
    }
    ::close(handle);
    // What it started may have kept the pipe: what it wrote itself is there.
    char bytes[4096];
    pollfd readable{ends[0], POLLIN, 0};
    while (::poll(&readable, 1, 0) == 1) {
        const ssize_t length = ::read(ends[0], bytes, sizeof bytes);
        if (length <= 0)
            break;
        outcome.output.append(bytes, static_cast<std::size_t>(length));
    }
    ::close(ends[0]);
    return outcome;
}

pid_t LinkSession::start(const fs::path& program, const std::vector<std::string>& arguments)
{
    return children.emplace_back(spawn(program, arguments, -1));
}

std::optional<int> LinkSession::ended(pid_t process)
{
    const int handle = openProcess(process);
    const bool ended = hasEnded(handle, patience);
    ::close(handle);
    if (!ended)
        return std::nullopt;
    std::erase(children, process);
    return status(process);
}

bool LinkSession::startHost(const std::vector<std::string>& arguments)
{
    start(host(), arguments);
    return reported("launched").size() == 1;
}

bool LinkSession::registerHost(const std::string& scheme)
{
    return run(host(), {"--register", scheme}).status == 0;
}

bool LinkSession::receive(int milliseconds)
{
    pollfd readable{reports, POLLIN, 0};
    if (::poll(&readable, 1, milliseconds) != 1)
        return false;
    char bytes[65536];
    const ssize_t length = ::read(reports, bytes, sizeof bytes);
    if (length <= 0)
        return false;
    received.append(bytes, static_cast<std::size_t>(length));
    for (auto end = received.find('\n'); end != received.npos; end = received.find('\n')) {
        lines.push_back(received.substr(0, end));
        received.erase(0, end + 1);
        if (lines.back().starts_with("started "))
            if (const int process = openProcess(std::stoi(lines.back().substr(8))); process >= 0)
                hosts.push_back(process);
    }
    return true;
}

std::vector<std::string> LinkSession::reported(const std::string& beginning, std::size_t count)
{
    std::vector<std::string> found;
    for (std::size_t next = 0; found.size() < count;) {
        if (next == lines.size()) {
            if (!receive(patience))
                break;
        } else if (lines[next].starts_with(beginning)) {
            found.push_back(lines[next].substr(beginning.size()));
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(next));
        } else {
            ++next;
        }
    }
    return found;
}

std::vector<std::string> LinkSession::rest()
{
    while (receive(0)) { }
    return std::exchange(lines, {});
}

void LinkSession::openGate() const
{
    if (::write(gate, "!", 1) != 1)
        throw std::runtime_error("no gate");
}

} // namespace LumoKit::Test
