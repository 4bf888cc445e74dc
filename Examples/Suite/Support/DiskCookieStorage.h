#pragma once

#include <LumoKit/CookieJar/CookieJar.h>

#include <chrono>
#include <filesystem>
#include <mutex>

namespace LumoSuite {

/// Keeps cookies in a folder, one file an entry, which only the user can read.
///
/// A file is replaced as a whole: whoever is killed in the middle, and whoever fails, leaves what was there; a failure
/// is printed. Entries are keyed archives. One that is none, is larger than 64 MB, or is no file but a link or the
/// like, is moved aside, where it takes the place of what was moved before, and reads as nothing.
///
/// Thread: any. Several processes may use one folder.
class DiskCookieStorage : public LumoKit::CookieJarStorage {
public:
    /// Makes the folder for the user alone if there is none, and removes what killed processes left in it.
    explicit DiskCookieStorage(std::filesystem::path folder);

    /// The bytes under a key, which is any text.
    [[nodiscard]] std::optional<LumoKit::Data> loadData(const std::string& key) override;
    void saveData(const std::string& key, const LumoKit::Data& data) override;

    /// Removes an entry; nothing happens if there is none.
    void removeData(const std::string& key);

    /// When an entry was saved, by the file system's clock; nothing if there is none.
    [[nodiscard]] std::optional<std::chrono::sys_seconds> saved(const std::string& key) const;

private:
    [[nodiscard]] std::filesystem::path file(const std::string& key) const;
    void moveAside(const std::filesystem::path& file, const char* why);

    const std::filesystem::path folder;
    std::mutex mutex; // so that no entry is moved aside that was saved after it had been read
};

} // namespace LumoSuite
