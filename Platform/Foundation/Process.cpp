#include "Commands.h"

#include <LumoKit/Platform/Foundation/FatalError.h>
#include <LumoKit/Platform/Foundation/Process.h>
#include <LumoKit/Platform/Native/Handles.h>
#include <LumoKit/Platform/Native/ObjectPtr.h>

#include <gio/gio.h>
#include <unistd.h>

#include <charconv>
#include <utility>

namespace LumoKit {

namespace {

Error failure(std::string description)
{
    return {"LumoKit.Process", 1, std::move(description)};
}

bool holdsNUL(const std::string& text)
{
    return text.find('\0') != text.npos;
}

} // namespace

struct Process::Native {
    std::filesystem::path launchPath;
    std::vector<std::string> arguments;
    std::optional<std::map<std::string, std::string>> environment;
    detail::ObjectPtr<GSubprocess> started;
};

Process::Process()
    : native(std::make_unique<Native>())
{
}

Process::~Process() = default;

void Process::setLaunchPath(std::filesystem::path launchPath)
{
    native->launchPath = std::move(launchPath);
}

void Process::setArguments(std::vector<std::string> arguments)
{
    native->arguments = std::move(arguments);
}

void Process::setEnvironment(std::map<std::string, std::string> environment)
{
    native->environment = std::move(environment);
}

std::expected<void, Error> Process::run()
{
    if (native->started)
        return std::unexpected(failure("the process was started before"));
    const auto launcher = detail::ObjectPtr<GSubprocessLauncher>::adopt(
        g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDIN_INHERIT));
    if (native->environment) {
        char* none[]{nullptr};
        g_subprocess_launcher_set_environ(launcher.get(), none);
        for (const auto& [name, value] : *native->environment) {
            if (name.empty() || name.contains('=') || holdsNUL(name) || holdsNUL(value))
                return std::unexpected(failure("\"" + name + "\" is no variable"));
            g_subprocess_launcher_setenv(launcher.get(), name.c_str(), value.c_str(), TRUE);
        }
    }
    if (const auto commands = detail::commandsFolder()) {
        const char* path = g_subprocess_launcher_getenv(launcher.get(), "PATH");
        const std::string places = commands->string() + (path && *path ? ":" + std::string(path) : "");
        g_subprocess_launcher_setenv(launcher.get(), "PATH", places.c_str(), TRUE);
        g_subprocess_launcher_setenv(
            launcher.get(), detail::askingProcessVariable, std::to_string(::getpid()).c_str(), TRUE);
    }
    const std::string program = native->launchPath.string();
    if (program.empty() || holdsNUL(program))
        return std::unexpected(failure("there is no program to start"));
    std::vector<const char*> words{program.c_str()};
    for (const std::string& argument : native->arguments) {
        if (holdsNUL(argument))
            return std::unexpected(failure("an argument has a NUL character in it"));
        words.push_back(argument.c_str());
    }
    words.push_back(nullptr);
    detail::GErrorPtr error;
    native->started = detail::ObjectPtr<GSubprocess>::adopt(
        g_subprocess_launcher_spawnv(launcher.get(), words.data(), error.out()));
    if (!native->started)
        return std::unexpected(failure(error ? error->message : "the process cannot be started"));
    return {};
}

void Process::launch()
{
    if (const auto started = run(); !started)
        fatalError(started.error().description);
}

bool Process::isRunning() const
{
    return processIdentifier() != 0;
}

pid_t Process::processIdentifier() const
{
    pid_t number = 0;
    const char* text = native->started ? g_subprocess_get_identifier(native->started.get()) : nullptr;
    if (const std::string_view digits = text ? text : ""; !digits.empty())
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

void Process::waitUntilExit()
{
    if (native->started)
        g_subprocess_wait(native->started.get(), nullptr, nullptr);
}

std::optional<int> Process::terminationStatus() const
{
    if (!native->started || isRunning())
        return std::nullopt;
    return g_subprocess_get_if_signaled(native->started.get())
        ? g_subprocess_get_term_sig(native->started.get())
        : g_subprocess_get_exit_status(native->started.get());
}

} // namespace LumoKit
