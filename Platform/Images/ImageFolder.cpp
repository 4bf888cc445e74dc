#include "ImageFolder.h"

#include "../Foundation/UserFolders.h"

#include <LumoKit/Platform/Foundation/Files.h>
#include <LumoKit/Platform/Native/Handles.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace LumoKit::detail {

namespace fs = std::filesystem;

namespace {

/// How a file begins: this, and a checksum of what follows, which is the key, a NUL, and the image.
constexpr std::string_view mark = "LumoKit image 1\n";
constexpr std::size_t headLength = mark.size() + 8;
constexpr std::string_view suffix = ".image";

/// FNV-1a: it is damage that is looked for, and nobody's intention.
std::array<char, 8> checksum(std::string_view bytes)
{
    std::uint64_t sum = 0xCBF29CE484222325;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    std::array<char, 8> digits{};
    for (std::size_t at = 0; at < digits.size(); ++at)
        digits[at] = static_cast<char>(sum >> 8 * at & 0xFF);
    return digits;
}

std::string withHead(const std::string& key, const Data& file)
{
    std::string content;
    content.reserve(headLength + key.size() + 1 + file.size());
    content.append(mark).append(8, '\0').append(key).append(1, '\0');
    content.append(reinterpret_cast<const char*>(file.data()), file.size());
    std::ranges::copy(checksum(std::string_view(content).substr(headLength)), content.begin() + mark.size());
    return content;
}

std::optional<Data> withoutHead(const std::string& key, std::string_view content)
{
    if (!content.starts_with(mark) || content.size() <= headLength + key.size())
        return std::nullopt;
    const auto body = content.substr(headLength);
    if (!std::ranges::equal(checksum(body), content.substr(mark.size(), 8)) || !body.starts_with(key)
        || body[key.size()] != '\0')
        return std::nullopt;
    const auto file = std::as_bytes(std::span(body.substr(key.size() + 1)));
    return Data(file.begin(), file.end());
}

struct Entry {
    fs::path file;
    std::uint64_t size = 0;
    std::time_t written = 0;
    timespec
        used{}; // a file's time of reading, which is set by hand: many systems keep it no more than by the day
};

std::optional<Entry> entryAt(const fs::path& file)
{
    struct stat status{};
    if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return Entry{file, static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec, status.st_atim};
}

std::vector<Entry> entriesIn(const fs::path& folder)
{
    std::vector<Entry> entries;
    std::error_code failure;
    for (fs::directory_iterator item(folder, failure), end; !failure && item != end; item.increment(failure))
        if (item->path().filename().string().find(suffix)
            != std::string::npos) // what was left half written, too
            if (auto entry = entryAt(item->path()))
                entries.push_back(std::move(*entry));
    return entries;
}

void deleteFile(const fs::path& file)
{
    std::error_code ignored;
    fs::remove(file, ignored);
}

} // namespace

ImageFolder::ImageFolder(fs::path folder, std::uint64_t limit, std::chrono::seconds age)
    : folder(std::move(folder))
    , limit(limit)
    , age(age)
{
}

std::optional<Data> ImageFolder::read(const std::string& key)
{
    if (folder.empty())
        return std::nullopt;
    const auto file = fileOf(key);
    const auto entry = entryAt(file);
    if (!entry)
        return std::nullopt;
    std::optional<Data> image;
    if (entry->size <= limit && std::time(nullptr) - entry->written < age.count())
        if (const auto content = readFile(file))
            image = withoutHead(key, *content);
    if (!image) {
        remove(key);
        return std::nullopt;
    }
    const std::array<timespec, 2> times{{{0, UTIME_NOW}, {0, UTIME_OMIT}}};
    ::utimensat(AT_FDCWD, file.c_str(), times.data(), 0);
    return image;
}

std::expected<void, Error> ImageFolder::write(const std::string& key, const Data& file)
{
    if (folder.empty())
        return {};
    const std::string content = withHead(key, file);
    if (content.size() > limit)
        return {};
    const auto place = fileOf(key);
    const auto before = entryAt(place);
    makePrivateFolders(folder);
    if (auto written = writeFile(place, content, FileWriting::atomic); !written)
        return written;
    if (used)
        *used += content.size() - std::min<std::uint64_t>(before ? before->size : 0, *used + content.size());
    if (!used || *used > limit)
        makeRoom(limit - limit / 10); // not at each that comes then
    return {};
}

void ImageFolder::remove(const std::string& key)
{
    if (folder.empty())
        return;
    deleteFile(fileOf(key));
    used.reset();
}

void ImageFolder::removeAll()
{
    for (const Entry& entry : folder.empty() ? std::vector<Entry>() : entriesIn(folder))
        deleteFile(entry.file);
    used.reset();
}

fs::path ImageFolder::fileOf(const std::string& key) const
{
    const GText name(
        g_compute_checksum_for_string(G_CHECKSUM_SHA256, key.data(), static_cast<gssize>(key.size())));
    return folder / (name.get() + std::string(suffix));
}

/// Deletes what is too old, and, where all is more than the limit, those that were not used for longest until there are no
/// more than `bytes`.
void ImageFolder::makeRoom(std::uint64_t bytes)
{
    auto entries = entriesIn(folder);
    const auto now = std::time(nullptr);
    std::erase_if(entries, [&](const Entry& entry) {
        const bool isOld = now - entry.written >= age.count();
        if (isOld)
            deleteFile(entry.file);
        return isOld;
    });
    used = 0;
    for (const Entry& entry : entries)
        *used += entry.size;
    if (*used <= limit)
        return;
    std::ranges::sort(
        entries, {}, [](const Entry& entry) { return std::pair(entry.used.tv_sec, entry.used.tv_nsec); });
    for (const Entry& entry : entries) {
        if (*used <= bytes)
            break;
        deleteFile(entry.file);
        *used -= entry.size;
    }
}

} // namespace LumoKit::detail
