#include "PageFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace LumoSuite {

namespace {

constexpr off_t largestFile = 8 * 1024 * 1024;

class Descriptor {
public:
    explicit Descriptor(int number = -1)
        : number(number)
    {
    }

    Descriptor(Descriptor&& other) noexcept
        : number(std::exchange(other.number, -1))
    {
    }

    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }

    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }

    int get() const { return number; }
    bool valid() const { return number >= 0; }

private:
    int number;
};

bool isPlainName(std::string_view name)
{
    // A leading dot covers ".", ".." and hidden files.
    if (name.empty() || name.front() == '.')
        return false;
    return std::ranges::none_of(name, [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f || letter == '/' || letter == '\\';
    });
}

std::optional<std::vector<std::string>> plainNames(std::string_view path)
{
    std::vector<std::string> names;
    while (true) {
        auto slash = path.find('/');
        std::string_view name = path.substr(0, slash);
        bool last = slash == std::string_view::npos;
        if (last && name.empty())
            name = "index.html";
        if (!isPlainName(name))
            return std::nullopt;
        names.emplace_back(name);
        if (last)
            return names;
        path.remove_prefix(slash + 1);
    }
}

std::optional<std::string> readAll(const Descriptor& file)
{
    struct stat status{};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > largestFile)
        return std::nullopt;
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        ssize_t count = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    // An editor may have shortened the file since its size was asked for.
    bytes.resize(filled);
    return bytes;
}

} // namespace

struct PageFiles::Directory {
    Descriptor descriptor;
};

PageFiles::PageFiles(std::unique_ptr<Directory> opened)
    : directory(std::move(opened))
{
}

PageFiles::PageFiles(PageFiles&&) noexcept = default;
PageFiles& PageFiles::operator=(PageFiles&&) noexcept = default;
PageFiles::~PageFiles() = default;

std::expected<PageFiles, std::string> PageFiles::open(const std::filesystem::path& directory)
{
    Descriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.valid()) {
        std::string reason = std::generic_category().message(errno);
        return std::unexpected("cannot open the pages' directory \"" + directory.string() + "\": " + reason);
    }
    return PageFiles(std::make_unique<Directory>(Directory{std::move(descriptor)}));
}

std::optional<PageFile> PageFiles::read(std::string_view path) const
{
    auto names = plainNames(path);
    if (!names)
        return std::nullopt;

    // One name at a time, without following links: nothing can be swapped for a way out between check and
    // use.
    constexpr int always = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    Descriptor folder;
    int parent = directory->descriptor.get();
    for (std::size_t index = 0; index + 1 < names->size(); ++index) {
        folder = Descriptor(::openat(parent, (*names)[index].c_str(), always | O_DIRECTORY));
        if (!folder.valid())
            return std::nullopt;
        parent = folder.get();
    }
    Descriptor file(::openat(parent, names->back().c_str(), always));
    if (!file.valid())
        return std::nullopt;
    auto bytes = readAll(file);
    if (!bytes)
        return std::nullopt;
    return PageFile{std::move(*bytes), mediaType(names->back())};
}

std::string_view mediaType(std::string_view name)
{
    struct Entry {
        std::string_view extension;
        std::string_view type;
    };
    static constexpr std::array entries{
        Entry{"html", "text/html; charset=utf-8"},
        Entry{"css", "text/css; charset=utf-8"},
        Entry{"js", "text/javascript; charset=utf-8"},
        Entry{"mjs", "text/javascript; charset=utf-8"},
        Entry{"json", "application/json"},
        Entry{"webmanifest", "application/manifest+json"},
        Entry{"txt", "text/plain; charset=utf-8"},
        Entry{"svg", "image/svg+xml"},
        Entry{"png", "image/png"},
        Entry{"jpg", "image/jpeg"},
        Entry{"jpeg", "image/jpeg"},
        Entry{"gif", "image/gif"},
        Entry{"webp", "image/webp"},
        Entry{"ico", "image/vnd.microsoft.icon"},
        Entry{"woff2", "font/woff2"},
        Entry{"pdf", "application/pdf"},
    };
    auto dot = name.rfind('.');
    std::string extension(dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1));
    std::ranges::transform(extension, extension.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    });
    auto found = std::ranges::find(entries, std::string_view(extension), &Entry::extension);
    return found == entries.end() ? "application/octet-stream" : found->type;
}

} // namespace LumoSuite
