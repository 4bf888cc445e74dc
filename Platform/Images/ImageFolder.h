#pragma once

#include <LumoKit/Platform/Foundation/Error.h>
#include <LumoKit/Platform/Foundation/Value.h>

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>

namespace LumoKit::detail {

/// Image files by text keys in a folder, for the user alone, within a limit for all together and for a certain time.
///
/// A file that is damaged, cut off, too old, or another than was asked for is deleted and counts as absent.
///
/// Thread: one at a time. Other processes may use the same folder.
class ImageFolder {
public:
    /// An empty folder's name stands for none, in which nothing is kept. Units of `limit`: bytes.
    ImageFolder(std::filesystem::path folder, std::uint64_t limit, std::chrono::seconds age);

    [[nodiscard]] std::optional<Data> read(const std::string& key);
    /// Keeps a file in place of the one that is there; those that were not used for longest make room for it. The folder
    /// is made, if it is not there.
    /// Errors: in the domain "POSIX"; then what was there is there.
    [[nodiscard]] std::expected<void, Error> write(const std::string& key, const Data& file);
    void remove(const std::string& key);
    void removeAll();

private:
    [[nodiscard]] std::filesystem::path fileOf(const std::string& key) const;
    void makeRoom(std::uint64_t bytes);

    const std::filesystem::path folder;
    const std::uint64_t limit;
    const std::chrono::seconds age;
    std::optional<std::uint64_t> used; // nothing until it was looked at
};

} // namespace LumoKit::detail
