#include "Service.h"

#include <glib-unix.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace {

struct Arguments {
    LumoSuite::Service::Options service;
    bool untilStdinCloses = false;
    bool help = false;
};

struct UnrefLoop {
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};

using LoopPointer = std::unique_ptr<GMainLoop, UnrefLoop>;

constexpr std::string_view usage =
    "usage: lumo-service [--port N] [--pages DIR] [--sign-in] [--sessions FILE] "
    "[--until-stdin-closes]\n";

std::optional<std::uint16_t> readPort(std::string_view text)
{
    std::uint16_t port = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return port;
}

std::expected<Arguments, std::string> readArguments(std::span<char*> words)
{
    Arguments arguments;
    arguments.service.pages = LUMO_SERVICE_PAGES;
    for (std::size_t index = 0; index < words.size(); ++index) {
        std::string_view word = words[index];
        bool takesValue = word == "--port" || word == "--pages" || word == "--sessions";
        if (takesValue && index + 1 == words.size())
            return std::unexpected(std::string(word) + " needs a value");
        if (word == "--port") {
            auto port = readPort(words[++index]);
            if (!port)
                return std::unexpected("\"" + std::string(words[index]) + "\" is not a port number");
            arguments.service.port = *port;
        } else if (word == "--pages") {
            arguments.service.pages = words[++index];
        } else if (word == "--sessions") {
            arguments.service.sessions = words[++index];
        } else if (word == "--sign-in") {
            arguments.service.signIn = true;
        } else if (word == "--until-stdin-closes") {
            arguments.untilStdinCloses = true;
        } else if (word == "--help") {
            arguments.help = true;
        } else {
            return std::unexpected("unknown argument \"" + std::string(word) + "\"");
        }
    }
    return arguments;
}

gboolean quit(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
}

// What arrives is of no interest; the end of it says that whoever started this program is gone.
gboolean drainInput(gint descriptor, GIOCondition, gpointer loop)
{
    char bytes[512];
    ssize_t count = ::read(descriptor, bytes, sizeof bytes);
    if (count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN)))
        return G_SOURCE_CONTINUE;
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
}

int fail(const std::string& message)
{
    std::fprintf(stderr, "lumo-service: %s\n", message.c_str());
    return 1;
}

int run(std::span<char*> words)
{
    auto arguments = readArguments(words);
    if (!arguments) {
        fail(arguments.error());
        std::fputs(usage.data(), stderr);
        return 2;
    }
    if (arguments->help)
        return std::fputs(usage.data(), stdout) < 0 ? 1 : 0;

    LoopPointer loop(g_main_loop_new(nullptr, FALSE));
    // Before the port is told, so that an early signal still ends the program in order.
    g_unix_signal_add(SIGTERM, quit, loop.get());
    g_unix_signal_add(SIGINT, quit, loop.get());
    std::signal(SIGPIPE, SIG_IGN);

    auto service = LumoSuite::Service::start(arguments->service);
    if (!service)
        return fail(service.error());
    if (arguments->untilStdinCloses)
        g_unix_fd_add(
            STDIN_FILENO, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), drainInput, loop.get());

    if (std::printf("listening on %s\n", (*service)->origin().c_str()) < 0 || std::fflush(stdout) != 0)
        return fail("cannot write to standard output");
    g_main_loop_run(loop.get());
    return 0;
}

} // namespace

int main(int count, char** words)
{
    try {
        return run(std::span(words + 1, count > 0 ? static_cast<std::size_t>(count - 1) : 0));
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
