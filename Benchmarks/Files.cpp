#include "Compare.h"

#include <LumoKit/Platform/FileWatchers/FileWatcher.h>

#include <fcntl.h>
#include <glib-unix.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

namespace LumoKit::Bench {

namespace {

namespace fs = std::filesystem;

const fs::path& file()
{
    static const fs::path made = [] {
        std::string pattern = fs::temp_directory_path() / "bench-XXXXXX";
        return fs::canonical(::mkdtemp(pattern.data())) / "watched.js";
    }();
    return made;
}

void writeTo(const fs::path& path)
{
    static int number = 0;
    const std::string text = "console.log(" + std::to_string(++number) + ")\n";
    const int handle = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (::write(handle, text.data(), text.size()) < 0)
        std::abort();
    ::close(handle);
}

void change(bool byRename)
{
    if (!byRename)
        return writeTo(file());
    const fs::path next = file().string() + ".next";
    writeTo(next);
    fs::rename(next, file());
}

int seen = 0;

/// Microseconds from a change until its contents are there, one at a time.
double latency(bool byRename)
{
    constexpr int changes = 200;
    return secondsOf([&] {
        for (int number = 0; number < changes; ++number) {
            const int before = seen;
            change(byRename);
            while (seen == before)
                g_main_context_iteration(nullptr, TRUE);
        }
    }) * 1e6
        / changes;
}

double ours(bool byRename)
{
    writeTo(file());
    FileWatcher::Local watcher(file(), 1.0 / 60, DispatchQueue::main());
    if (!watcher.start([](const FileWatcher::RefreshResult& result) { seen += result.contents.has_value(); }))
        std::abort();
    return latency(byRename);
}

std::string readAll(const fs::path& path)
{
    std::string bytes;
    const int handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status{};
    if (::fstat(handle, &status) == 0)
        bytes.resize(static_cast<std::size_t>(status.st_size));
    if (::read(handle, bytes.data(), bytes.size()) < 0)
        std::abort();
    ::close(handle);
    return bytes;
}

gboolean readEvents(int handle, GIOCondition, gpointer)
{
    alignas(inotify_event) char buffer[4096];
    const ssize_t length = ::read(handle, buffer, sizeof buffer);
    for (ssize_t offset = 0; offset < length;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
        if (event->len > 0 && file().filename() == event->name)
            seen += readAll(file()).empty() ? 0 : 1;
        offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    return G_SOURCE_CONTINUE;
}

/// What whoever needs nothing else would write: one watch on the folder, and a read of the file.
double bare(bool byRename)
{
    writeTo(file());
    const int handle = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ::inotify_add_watch(handle, file().parent_path().c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
    const guint source = g_unix_fd_add(handle, G_IO_IN, readEvents, nullptr);
    const double result = latency(byRename);
    g_source_remove(source);
    ::close(handle);
    return result;
}

} // namespace

std::vector<Row> fileRows()
{
    return {
        {"settings/file-in-place", "µs", "bare inotify", 1.3, 15, [] { return ours(false); },
            [] { return bare(false); }},
        {"settings/file-renamed", "µs", "bare inotify", 1.3, 15, [] { return ours(true); },
            [] { return bare(true); }},
    };
}

} // namespace LumoKit::Bench
