// open PATH: starts the application of a bundle, or brings it to the front if it runs. Anything else is handed to the
// desktop.
//
// An application asks for itself when it is about to end and to be started again. There is one instance of it in a
// session, so that a start that came too early would be handed over to the one that ends, and be lost: this waits for
// its end first. An application that does not end after all is brought to the front.

#include "../Foundation/Commands.h"

#include <LumoKit/Platform/Foundation/Bundle.h>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

using namespace LumoKit;
namespace fs = std::filesystem;

namespace {

constexpr int patience = 60'000; // milliseconds

/// The process that asks, as long as it is there.
class Asking {
public:
    Asking()
    {
        const char* text = std::getenv(detail::askingProcessVariable);
        pid_t number = 0;
        if (!text || std::from_chars(text, text + std::strlen(text), number).ec != std::errc() || number <= 0)
            return;
        handle = static_cast<int>(::syscall(SYS_pidfd_open, number, 0));
        std::error_code gone;
        program = fs::read_symlink("/proc/" + std::to_string(number) + "/exe", gone);
    }
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;
    ~Asking()
    {
        if (handle >= 0)
            ::close(handle);
    }

    void waitForItsEnd() const
    {
        pollfd end{handle, POLLIN, 0};
        while (::poll(&end, 1, patience) < 0 && errno == EINTR) { }
    }

    fs::path program; // empty where it is gone

private:
    int handle = -1;
};

/// The application's own environment: without what was put in for this command.
void tidyEnvironment()
{
    ::unsetenv(detail::askingProcessVariable);
    const auto commands = detail::commandsFolder();
    const std::string path = std::getenv("PATH") ? std::getenv("PATH") : "";
    if (commands && path.starts_with(commands->string() + ":"))
        ::setenv("PATH", path.substr(commands->string().size() + 1).c_str(), 1);
}

int become(const char* program, const char* argument)
{
    ::execlp(program, program, argument, static_cast<char*>(nullptr));
    std::fprintf(stderr, "open: %s: %s\n", program, std::strerror(errno));
    return 1;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs("usage: open PATH\n", stderr);
        return 2;
    }
    std::error_code missing;
    const fs::path path = fs::canonical(arguments[1], missing);
    if (missing) {
        std::fprintf(stderr, "open: %s: %s\n", arguments[1], missing.message().c_str());
        return 1;
    }
    const Asking asking;
    auto program = Bundle(path).executablePath();
    if (!program && !asking.program.empty() && asking.program.parent_path() == path)
        program = asking.program; // outside of a bundle an application's path is its program's folder
    if (program && *program == asking.program)
        asking.waitForItsEnd();
    tidyEnvironment();
    return program ? become(program->c_str(), nullptr) : become("xdg-open", path.c_str());
}
