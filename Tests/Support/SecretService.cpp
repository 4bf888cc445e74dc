#include "Support/SecretService.h"

#include "Support/Waiting.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace LumoKit::Test {

namespace {

void end(pid_t& process)
{
    if (process < 0)
        return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
    process = -1;
}

} // namespace

SecretService::SecretService()
{
    writeInPlace(folder / "bus.conf",
        "<busconfig><type>session</type><listen>unix:dir=" + folder.path.string()
            + "</listen><policy context='default'><allow send_destination='*' eavesdrop='true'/>"
              "<allow eavesdrop='true'/><allow own='*'/></policy>"
              "</busconfig>");
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    daemon = run({"dbus-daemon", "--nofork", "--nopidfile", "--print-address=1",
                     "--config-file=" + (folder / "bus.conf").string()},
        -1, ends[1]);
    ::close(ends[1]);
    for (char character = 0; ::read(ends[0], &character, 1) == 1 && character != '\n';)
        address += character;
    ::close(ends[0]);
}

SecretService::~SecretService()
{
    stop();
    end(daemon);
}

void SecretService::start(bool unlocked)
{
    int password[2];
    if (::pipe2(password, O_CLOEXEC) != 0 || ::write(password[1], "open sesame", 11) != 11)
        throw std::runtime_error("no pipe");
    std::vector<std::string> words{"gnome-keyring-daemon", "--foreground", "--components=secrets"};
    if (unlocked)
        words.emplace_back("--unlock");
    service = run(words, password[0]);
    ::close(password[0]);
    ::close(password[1]);
    const std::vector<std::string> ask{"org.freedesktop.Secret.Service.ReadAlias", "default"};
    if (!waitForOthers([&] { return call(ask); }))
        throw std::runtime_error("no secret service");
}

void SecretService::stop()
{
    end(service);
}

void SecretService::pause() const
{
    ::kill(service, SIGSTOP);
}

void SecretService::resume() const
{
    ::kill(service, SIGCONT);
}

void SecretService::lock() const
{
    if (!call({"org.freedesktop.Secret.Service.Lock", "['/org/freedesktop/secrets/collection/login']"}))
        throw std::runtime_error("not locked");
}

void SecretService::stopBus()
{
    end(daemon);
}

pid_t SecretService::run(const std::vector<std::string>& words, int input, int output) const
{
    std::vector<std::string> all{"env", "DBUS_SESSION_BUS_ADDRESS=" + address};
    for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        all.push_back(std::string(name) + "=" + folder.path.string());
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> argv;
    for (auto& word : all)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0); // nobody's output
    if (input >= 0)
        posix_spawn_file_actions_adddup2(&actions, input, 0);
    if (output >= 0)
        posix_spawn_file_actions_adddup2(&actions, output, 1);
    else
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const int failure = ::posix_spawnp(&process, "env", &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::runtime_error("cannot run " + words.front());
    return process;
}

bool SecretService::call(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> words{"gdbus", "call", "--session", "--timeout=10",
        "--dest=org.freedesktop.secrets", "--object-path=/org/freedesktop/secrets", "--method"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    int status = 0;
    ::waitpid(run(words), &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace LumoKit::Test
