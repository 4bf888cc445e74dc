#include <LumoKit/Platform/Dispatch/MainThread.h>
#include <LumoKit/Platform/FileWatchers/FileWatcher.h>
#include <LumoKit/Platform/Native/Source.h>

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace LumoKit::FileWatcher {

namespace fs = std::filesystem;

namespace {

/// A file that is larger is read beside the main thread.
/// Units: bytes.
constexpr std::size_t readAtOnce = 262'144;

class Descriptor {
public:
    explicit Descriptor(int number)
        : number(number)
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }
    const int number;
};

/// A file as it was once: the hash of its contents, and nothing where there was no file that could be read.
/// Times and sizes do not tell: two writes within a tick of the kernel's clock leave the same behind, and a
/// file may be touched without a change.
using Snapshot = std::optional<std::size_t>;

struct Reading {
    Snapshot snapshot;
    std::optional<Data> contents;
};

/// The size of a file; nothing where there is none.
std::optional<std::size_t> sizeOf(const std::string& path)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return static_cast<std::size_t>(status.st_size);
}

Reading readNow(const std::string& path)
{
    const Descriptor file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)); // a pipe must not be waited for
    struct stat status{};
    if (file.number < 0 || ::fstat(file.number, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    Data contents(static_cast<std::size_t>(status.st_size));
    std::size_t filled = 0;
    while (true) { // until the end: the file may have grown or shrunk since its size was asked for
        if (filled == contents.size())
            contents.resize(filled + 4096);
        const ssize_t count = ::read(file.number, contents.data() + filled, contents.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return {};
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    contents.resize(filled);
    const std::string_view bytes(reinterpret_cast<const char*>(contents.data()), contents.size());
    return {std::hash<std::string_view>()(bytes), std::move(contents)};
}

/// The folders that lead to a file, each with the names in it that matter: what has to be watched. Links are
/// followed, and what is missing ends the way.
struct Route {
    std::map<std::string, std::set<std::string>> folders;
    /// Where the file is, or would be.
    std::string folder;
    std::string name;

    bool operator==(const Route&) const = default;
};

Route routeTo(const std::string& path)
{
    Route route;
    std::deque<std::string> left;
    for (const fs::path& part : fs::path(path).relative_path())
        left.push_back(part.string());
    fs::path folder = "/";
    constexpr int mostLinks = 40; // the kernel's own limit
    for (int links = 0; !left.empty();) {
        const std::string name = std::move(left.front());
        left.pop_front();
        if (name.empty() || name == ".")
            continue;
        if (name == "..") {
            folder = folder.parent_path();
            continue;
        }
        route.folders[folder.string()].insert(name);
        route.folder = folder.string();
        route.name = name;
        std::error_code missing;
        const fs::path entry = folder / name;
        const auto kind = fs::symlink_status(entry, missing).type();
        if (kind == fs::file_type::symlink && ++links <= mostLinks) {
            const fs::path target = fs::read_symlink(entry, missing);
            if (target.is_absolute())
                folder = "/";
            const fs::path parts = target.relative_path();
            std::vector<std::string> inserted;
            for (const fs::path& part : parts)
                inserted.push_back(part.string());
            left.insert(left.begin(), inserted.begin(), inserted.end());
        } else if (kind == fs::file_type::directory) {
            folder = entry;
        } else {
            break; // the file itself, or nothing
        }
    }
    return route;
}

constexpr std::uint32_t entries = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t itself = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;
constexpr std::uint32_t contents = IN_MODIFY | IN_CLOSE_WRITE;

} // namespace

struct Local::State : std::enable_shared_from_this<State> {
    State(const std::string& given, double interval, std::shared_ptr<DispatchQueue> results)
        : path(fs::absolute(given).string())
        , rest(interval)
        , queue(std::move(results))
    {
    }

    std::expected<void, Error> start();
    bool watchRoute();
    void readEvents();
    void lookSoon();
    void look();
    void finishLook(Reading reading);

    const std::string path;
    const double rest;
    const std::shared_ptr<DispatchQueue> queue;
    std::function<void(const RefreshResult&)> callback;

    std::optional<Descriptor> inotify;
    std::map<int, std::string> watched; // folders by their watch
    Route route;
    Snapshot last;
    bool looking = false; // a large file is being read
    bool lookAgain = false;
    bool soon = false; // a look is due when the file has rested
    std::shared_ptr<DispatchQueue> reader; // made for the first large file
    detail::Source events;
};

Local::Local(std::string path, double refreshInterval, std::shared_ptr<DispatchQueue> queue)
    : state(std::make_shared<State>(std::move(path), refreshInterval, std::move(queue)))
{
    assertMainThread();
}

Local::~Local() = default;

std::expected<void, Error> Local::start(std::function<void(const RefreshResult&)> callback)
{
    assertMainThread();
    if (state->callback)
        return std::unexpected(Error{"LumoKit.FileWatcher", 1, "The watcher was started already"});
    state->callback = std::move(callback);
    return state->start();
}

namespace {

Error systemError(const char* what)
{
    const int number = errno;
    return {"POSIX", number, std::string(what) + ": " + std::strerror(number)};
}

} // namespace

std::expected<void, Error> Local::State::start()
{
    inotify.emplace(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (inotify->number < 0)
        return std::unexpected(systemError("cannot watch files"));
    if (!watchRoute())
        return std::unexpected(systemError("cannot watch the file's folder"));
    GSource* source = g_unix_fd_source_new(inotify->number, G_IO_IN);
    const GUnixFDSourceFunc arrived = [](int, GIOCondition, gpointer data) noexcept -> gboolean {
        const auto alive = static_cast<State*>(data)->shared_from_this();
        alive->readEvents();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source, G_SOURCE_FUNC(arrived), this, nullptr); // the source goes with this state
    g_source_attach(source, nullptr);
    events = detail::Source::adopt(source);
    last = readNow(path).snapshot; // where changes count from
    return {};
}

/// Watches the folders that lead to the file as they are now. False when the kernel refuses.
bool Local::State::watchRoute()
{
    // What changes between finding the way and watching it is found by going it again.
    constexpr int patience = 100;
    for (int attempt = 0; attempt < patience; ++attempt) {
        route = routeTo(path);
        std::map<int, std::string> now;
        for (const auto& [folder, names] : route.folders) {
            std::uint32_t mask = IN_ONLYDIR | entries | IN_DELETE_SELF | IN_MOVE_SELF;
            if (folder == route.folder)
                mask |= contents;
            const int watch = ::inotify_add_watch(inotify->number, folder.c_str(), mask);
            if (watch >= 0)
                now.emplace(watch, folder);
            else if (errno == ENOSPC || errno == ENOMEM)
                return false;
        }
        for (const auto& [watch, folder] : watched)
            if (!now.contains(watch))
                ::inotify_rm_watch(inotify->number, watch);
        watched = std::move(now);
        if (routeTo(path) == route)
            break;
    }
    return true;
}

void Local::State::readEvents()
{
    bool moved = false; // the way may be another
    bool written = false; // and is finished
    bool writing = false;
    alignas(inotify_event) char buffer[16 * 1024];
    for (ssize_t count = 0; (count = ::read(inotify->number, buffer, sizeof buffer)) > 0;) {
        for (const char* at = buffer; at < buffer + count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            at += sizeof(inotify_event) + event->len;
            if (event->mask & IN_Q_OVERFLOW) {
                moved = true;
                continue;
            }
            const auto folder = watched.find(event->wd);
            if (folder == watched.end())
                continue; // of a watch that was given up
            if (event->mask & itself) {
                moved = true;
                continue;
            }
            const std::string name = event->len ? event->name : "";
            const auto names = route.folders.find(folder->second);
            if (names == route.folders.end() || !names->second.contains(name))
                continue;
            const bool isFile = folder->second == route.folder && name == route.name;
            if (event->mask & entries)
                moved = true;
            if (isFile && (event->mask & IN_CLOSE_WRITE))
                written = true;
            if (isFile && (event->mask & (IN_MODIFY | IN_CREATE)))
                writing = true; // a file that was just made is about to be written
        }
    }
    if (moved)
        watchRoute();
    if (written || (moved && !writing))
        look();
    else if (writing)
        lookSoon();
}

void Local::State::lookSoon()
{
    if (std::exchange(soon, true))
        return;
    DispatchQueue::main()->asyncAfter(dispatchTimeAfter(rest), [weak = weak_from_this()] {
        if (const auto alive = weak.lock(); alive && std::exchange(alive->soon, false))
            alive->look();
    });
}

void Local::State::look()
{
    if (looking) {
        lookAgain = true;
        return;
    }
    const auto size = sizeOf(path);
    if (!size || *size <= readAtOnce)
        return finishLook(readNow(path));
    looking = true;
    if (!reader)
        reader = DispatchQueue::create("file reader", DispatchQoS::userInitiated);
    reader->async([weak = weak_from_this(), path = path] {
        auto reading = std::make_shared<Reading>(readNow(path));
        DispatchQueue::main()->async([weak, reading] {
            const auto alive = weak.lock();
            if (!alive)
                return;
            alive->looking = false;
            alive->finishLook(std::move(*reading));
            if (std::exchange(alive->lookAgain, false))
                alive->look();
        });
    });
}

void Local::State::finishLook(Reading reading)
{
    if (std::exchange(last, reading.snapshot) == reading.snapshot)
        return;
    queue->async([weak = weak_from_this(), contents = std::move(reading.contents)]() mutable {
        if (const auto alive = weak.lock())
            alive->callback({true, std::move(contents)});
    });
}

} // namespace LumoKit::FileWatcher
