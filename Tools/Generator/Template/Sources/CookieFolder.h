#pragma once

#include <LumoKit/CookieJar/CookieJar.h>

#include <filesystem>

namespace Host {

/// Keeps cookies in a folder, one file an entry, which only the user can read. A file is replaced as a whole: whoever
/// is killed in the middle leaves what was there.
///
/// Thread: any.
class CookieFolder : public LumoKit::CookieJarStorage {
public:
    explicit CookieFolder(std::filesystem::path folder);

    [[nodiscard]] std::optional<LumoKit::Data> loadData(const std::string& key) override;
    void saveData(const std::string& key, const LumoKit::Data& data) override;

private:
    [[nodiscard]] std::filesystem::path file(const std::string& key) const;

    const std::filesystem::path folder;
};

} // namespace Host
